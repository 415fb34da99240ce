#include "foundation/wildcard.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "foundation/wildcard_oracle.h"

namespace Brelt {
namespace {

/// All texts over `letters` of up to `longest` characters.
std::vector<std::string> allTexts(const std::string& letters, std::size_t longest) {
    std::vector<std::string> texts{""};
    for (std::size_t i = 0; i < texts.size() && texts[i].size() < longest; ++i) {
        for (const char letter : letters) {
            texts.push_back(texts[i] + letter);
        }
    }
    return texts;
}

::testing::AssertionResult agrees(const std::string& pattern, const std::string& text) {
    for (std::int32_t flags = 0; flags < 64; ++flags) {
        const int expected = WildcardOracle(text.c_str(), flags).match(pattern.c_str());
        if (wildcardMatchFlags(pattern.c_str(), text.c_str(), flags) != expected) {
            return ::testing::AssertionFailure()
                   << "pattern " << pattern << " text " << text << " flags " << flags
                   << " should give " << expected;
        }
    }
    return ::testing::AssertionSuccess();
}

TEST(Wildcard, AgreesWithTheRecursiveFormOnAllSmallPatternsAndTexts) {
    const std::vector<std::string> texts = allTexts("a.\\", 4);
    for (const std::string& pattern : allTexts("a*\\.", 4)) {
        for (const std::string& text : texts) {
            ASSERT_TRUE(agrees(pattern, text));
        }
    }
}

TEST(Wildcard, AgreesWithTheRecursiveFormOnAllRowsOfStarsAndSeparators) {
    const std::vector<std::string> texts = allTexts("a\\", 5);
    for (const std::string& pattern : allTexts("a*\\", 6)) {
        for (const std::string& text : texts) {
            ASSERT_TRUE(agrees(pattern, text));
        }
    }
}

TEST(Wildcard, AgreesWithTheRecursiveFormOnGeneratedPatterns) {
    constexpr unsigned seed = 20240817;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const std::vector<std::string> pieces = {
        "a",   "b",    "A",     ".",     "\\",   "\\\\", "*",   "*",   "**",  "*",  "?",
        "[ab", "[a-]", "[!a]",  "[^B-]", "[]",   "[!]",  "[-]", "\\*", "\\?", "\\", "[\\]a]",
        "[b-", "[\\",  "[a-\\", "[C-A]", "[!-]", "[.]",  "]",   "-",   "!",   "ab"};
    const std::string letters = R"(aabbAB..\\\*?]-)";
    const auto pick = [&random](std::size_t count) { return random() % count; };
    for (int round = 0; round < 20000; ++round) {
        std::string pattern;
        for (std::size_t left = pick(9); left > 0; --left) {
            pattern += pieces[pick(pieces.size())];
        }
        std::string text;
        for (std::size_t left = pick(9); left > 0; --left) {
            text += letters[pick(letters.size())];
        }
        ASSERT_TRUE(agrees(pattern, text));
    }
}

// The recursive form would not come to an end here.
TEST(Wildcard, ManyStarsAgainstALongTextEnd) {
    std::string pattern;
    for (int i = 0; i < 50; ++i) {
        pattern += "*a";
    }
    const std::string text(10000, 'a');
    const std::string separated = text + "\\" + text;
    for (const std::int32_t flags :
         {0, WildcardPathName, WildcardPrefixDirs, 63 & ~WildcardNoEscape}) {
        EXPECT_EQ(wildcardMatchFlags((pattern + "b").c_str(), text.c_str(), flags), 1) << flags;
        EXPECT_EQ(wildcardMatchFlags((pattern + "*").c_str(), text.c_str(), flags), 0) << flags;
        EXPECT_EQ(wildcardMatchFlags((pattern + "*\\\\b").c_str(), separated.c_str(), flags), 1)
            << flags;
    }
}

struct Case {
    const char* pattern;
    const char* text;
    std::int32_t flags;
    bool matches;
};

TEST(Wildcard, Table) {
    const Case cases[] = {
        {"", "", 0, true},
        {"", "a", 0, false},
        {"*", "", 0, true},
        {"***", "a.b", 0, true},
        {"?", "", 0, false},
        {"a*b", "ab", 0, true},
        {"ab", "abc", 0, false},
        {"*b\\\\*z", "b\\ba", WildcardPrefixDirs, false},
        {"*a\\\\*z", "a\\ba", WildcardPrefixDirs, true},
        {"*\\\\ab", "x\\", WildcardPrefixDirs, true},
        {"[ab", "a", 0, false},
        {"[]", "]", 0, false},
        {"[!]", "x", 0, true},
        {"[\\]]", "]", 0, true},
        {"[a!]", "!", 0, true},
        {"[-a]", "-", 0, true},
        {"[a-]", "-", 0, true},
        {"[c-a]", "b", 0, false},
        {"[!a]", "", 0, false},
        {"[\x80-\xFF]", "\xC3", 0, true},
        {"\\*", "*", 0, true},
        {"\\*", "\\x", 0, false},
        {"\\*", "\\x", WildcardNoEscape, true},
        {"a\\", "a\\", 0, true},
        {"[A-C]X", "bx", WildcardCaseFold, true},
        {"[a-c]", "B", 0, false},
        {"*b", "a\\b", WildcardPathName, false},
        {"a?b", "a\\b", WildcardPathName, false},
        {"*\\\\b", "a\\b", WildcardPathName, true},
        {"*\\a", "a\\a", WildcardPathName, false},
        {"a*", "ab\\c", WildcardPathName, false},
        {"a*", "ab\\c", WildcardPathName | WildcardLeadingDir, true},
        {"ab", "ab\\c", WildcardLeadingDir, true},
        {"*", ".a", WildcardPeriod, false},
        {"?a", ".a", WildcardPeriod, false},
        {"[.]a", ".a", WildcardPeriod, true},
        {"a\\\\*", "a\\.b", WildcardPeriod, true},
        {"a\\\\*", "a\\.b", WildcardPeriod | WildcardPathName, false},
        {"a\\\\b", "a", WildcardPrefixDirs, true},
        {"\\\\b", "", WildcardPrefixDirs, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(wildcardMatchFlags(c.pattern, c.text, c.flags), c.matches ? 0 : 1)
            << c.pattern << " on " << c.text << " with " << c.flags;
    }
}

TEST(Wildcard, BooleanFormTurnsTheResultAndTakesNull) {
    EXPECT_EQ(wildcardMatch("*.Example", "WWW.example", 0), 1);
    EXPECT_EQ(wildcardMatch("*.Example", "WWW.example", 1), 0);
    EXPECT_EQ(wildcardMatch("*.example", "example", 0), 0);
    EXPECT_EQ(wildcardMatch(nullptr, "a", 0), 0);
    EXPECT_EQ(wildcardMatch("a", nullptr, 0), 0);
}

}  // namespace
}  // namespace Brelt
