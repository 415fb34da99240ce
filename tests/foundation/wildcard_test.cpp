#include "foundation/wildcard.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "foundation/texts.h"
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

testing::AssertionResult agrees(const std::string& pattern, const std::string& text) {
    for (std::int32_t flags = 0; flags < 64; ++flags) {
        const int expected = WildcardOracle(text.c_str(), flags).match(pattern.c_str());
        if (wildcardMatchFlags(pattern.c_str(), text.c_str(), flags) != expected) {
            return testing::AssertionFailure()
                   << pattern << " on " << text << " with " << flags << " should give " << expected;
        }
    }
    return testing::AssertionSuccess();
}

void agreeAll(const std::vector<std::string>& patterns, const std::vector<std::string>& texts) {
    for (const std::string& pattern : patterns) {
        for (const std::string& text : texts) {
            ASSERT_TRUE(agrees(pattern, text));
        }
    }
}

TEST(Wildcard, AgreesWithTheRecursiveFormOnAllSmallPatternsAndTexts) {
    agreeAll(allTexts("a*\\.", 4), allTexts("a.\\", 4));
    agreeAll(allTexts("a*\\", 6), allTexts("a\\", 5));
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

TEST(Wildcard, Table) {
    using Rows = std::vector<std::string>;
    constexpr std::int32_t path = WildcardPathName;
    // Flags; patterns and texts that match under them; and others.
    const std::tuple<std::int32_t, Rows, Rows> groups[] = {
        {0,
         {" -> ", "* -> ", "*** -> a.b", "a*b -> ab", "[!] -> x", R"([\]] -> ])", "[a!] -> !",
          "[-a] -> -", "[a-] -> -", "[\x80-\xFF] -> \xC3", R"(\* -> *)", R"(a\ -> a\)"},
         {" -> a", "? -> ", "ab -> abc", "[ab -> a", "[] -> ]", "[c-a] -> b", "[!a] -> ",
          R"(\* -> \x)", "[a-c] -> B"}},
        {WildcardNoEscape, {R"(\* -> \x)"}, {}},
        {WildcardCaseFold, {"[A-C]X -> bx"}, {}},
        {path,
         {R"(*\\b -> a\b)"},
         {R"(*b -> a\b)", R"(a?b -> a\b)", R"(*\a -> a\a)", R"(a* -> ab\c)"}},
        {WildcardLeadingDir, {R"(ab -> ab\c)"}, {}},
        {path | WildcardLeadingDir, {R"(a* -> ab\c)"}, {}},
        {WildcardPeriod, {"[.]a -> .a", R"(a\\* -> a\.b)"}, {"* -> .a", "?a -> .a"}},
        {path | WildcardPeriod, {}, {R"(a\\* -> a\.b)"}},
        {WildcardPrefixDirs,
         {R"(*a\\*z -> a\ba)", R"(*\\ab -> x\)", R"(a\\b -> a)"},
         {R"(*b\\*z -> b\ba)", R"(\\b -> )"}}};
    const auto result = [](const std::string& row, std::int32_t flags) {
        const auto [pattern, text] = TestSupport::bothSides(row);
        return wildcardMatchFlags(pattern.c_str(), text.c_str(), flags);
    };
    for (const auto& [flags, matching, others] : groups) {
        for (const std::string& row : matching) {
            EXPECT_EQ(result(row, flags), 0) << row << " with " << flags;
        }
        for (const std::string& row : others) {
            EXPECT_EQ(result(row, flags), 1) << row << " with " << flags;
        }
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
