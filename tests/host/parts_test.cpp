// The pure parts of the programs: words for numbers, the progress line, what a person typed, where
// the library is looked for, rules of files, and names that trouble readers.

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "error_words.h"
#include "file_rules.h"
#include "library.h"
#include "name_checks.h"
#include "platform.h"
#include "progress_line.h"
#include "text.h"

namespace KivHost {
namespace {

TEST(ErrorWords, NumbersTurnIntoWordsAndOtherTextsStay) {
    const std::string refused = std::system_category().message(111);
    const struct {
        const char* message;
        std::string words;
    } cases[] = {
        {"Connection error: reason=7 extraF=0 underlying=111",
         "Connection error: could not connect (code 7; system error 111, " + refused + ")"},
        {"Connection error: reason=28 extraF=0 underlying=0",
         "Connection error: it took too long (code 28)"},
        {"Connection error: reason=60 extraF=4000 underlying=10",
         "Connection error: the server's certificate isn't trusted (code 60; certificate check 10, "
         "it has expired)"},
        {"Connection error: reason=60 extraF=4000 underlying=4000",
         "Connection error: the server's certificate isn't trusted (code 60; certificate check "
         "4000)"},
        {"Connection error: reason=56 extraF=2000 underlying=407",
         "Connection error: receiving failed (code 56; the proxy's answer 407, the proxy wants a "
         "password)"},
        {"Connection error: reason=4000 extraF=0 underlying=0",
         "Connection error: the transfer failed (code 4000)"},
        {"Connection error: something else", "Connection error: something else"},
        {"Connection error: reason=x underlying=1", "Connection error: reason=x underlying=1"},
        {"Unexpected HTTP status (404)", "Unexpected HTTP status (404): not found"},
        {"Unexpected HTTP status (418)", "Unexpected HTTP status (418)"},
        {"a.tx (5) Access is denied.\r\n", "a.tx (5) Access is denied."},
        {"Downloading \"\x1B[2J\" file failed", "Downloading \"\\x1b[2J\" file failed"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(explainMessage(c.message), c.words);
    }
}

TEST(ErrorWords, ATraceReadsFromWhatWasTriedToItsCause) {
    Brelt::ErrorChain chain = Brelt::ErrorChain::make("f", -1, "Unexpected HTTP status (%d)", 500);
    chain.push("g", 5, nullptr);
    chain.push("h", -1, "Could not download list file");
    EXPECT_EQ(explainTrace(chain),
              (std::vector<std::string>{"Could not download list file", "code 5",
                                        "Unexpected HTTP status (500): the server failed"}));
    EXPECT_TRUE(explainTrace({}).empty());
}

TEST(ProgressLine, FillsTheLineAndNeverMore) {
    EXPECT_EQ(progressLine("Files", 0, 12), "Files      ");
    EXPECT_EQ(progressLine("Files", 500, 30), "Files [#######........]  50 %");
    EXPECT_EQ(progressLine("Files", 999, 20), "Files  99 %        ");
    EXPECT_EQ(progressLine("Files", 1, 40).substr(0, 8), "Files [.");
    EXPECT_EQ(progressLine("Files", 2147483647, 40).find(".]"), std::string::npos);
    for (const std::int32_t columns : {-5, 0, 1, 2, 3, 10, 25, 80, 500}) {
        for (const std::int32_t permille : {-1, 0, 1, 1000, 5000}) {
            const std::string line =
                progressLine("Downloading files (1MB / 2MB)", permille, columns);
            EXPECT_EQ(line.size(), static_cast<std::size_t>(columns < 2 ? 1 : columns - 1));
        }
    }
}

TEST(ProgressLine, TenthsStayBetweenNoneAndTen) {
    std::vector<std::int32_t> tenths;
    for (const std::int32_t permille : {-7, 0, 99, 100, 999, 1000, 2147483647}) {
        tenths.push_back(tenthsOf(permille));
    }
    EXPECT_EQ(tenths, (std::vector<std::int32_t>{0, 0, 0, 1, 9, 10, 10}));
}

TEST(LibrarySearch, BesideTheProgramThenInTheLibraryFolderThenBySystem) {
    const std::filesystem::path root = std::filesystem::current_path().root_path();
    const auto candidates = libraryCandidates(root / "kiv" / "bin");
    ASSERT_GE(candidates.size(), 3U);
    EXPECT_EQ(candidates[0], root / "kiv" / "bin" / libraryFileName);
    EXPECT_EQ(candidates[1], root / "kiv" / "lib" / libraryFileName);
    EXPECT_EQ(candidates.back(), libraryFileName);
    EXPECT_EQ(libraryCandidates("").size(), 1U);
}

TEST(HostText, SoundAndUnsoundUtf8AreToldApart) {
    for (const char* sound : {"", "plain", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x8E\xA8",
                              "\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_TRUE(isUtf8(sound)) << sound;
    }
    for (const char* unsound :
         {"\x80", "a\xC3", "\xC3(", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
          "\xF8\x88\x80\x80\x80", "\xFF", "\xE2\x82"}) {
        EXPECT_FALSE(isUtf8(unsound)) << printable(unsound);
    }
}

TEST(NameChecks, NamesThatNoListCanHold) {
    EXPECT_EQ(reasonAgainstName("maps/\xC3\xA9 b:?.tx"), "");
    EXPECT_NE(reasonAgainstName("maps/\xFF.tx"), "");
    EXPECT_NE(reasonAgainstName("maps\\a.tx"), "");
}

TEST(NameChecks, NamesThatWindowsTakesElsewhere) {
    for (const char* name : {"a.tx", "maps/con-fusion.tx", "common/com10", "nully/x", "lpt/com",
                             "sub/ID.TXT", "id.txt", ".hidden", "a b"}) {
        EXPECT_TRUE(troublesOfName(name).empty()) << name;
    }
    for (const char* name :
         {"nul", "maps/CON.tx", "Aux.a.b", "com1/x.tx", "LPT9 .tx", "com\xC2\xB9.tx", "conin$",
          "a:b", "maps./a.tx", "a ", "a/b ./c", "what?.tx", "a\tb", "ID.TXT"}) {
        EXPECT_EQ(troublesOfName(name).size(), 1U) << name;
    }
    EXPECT_EQ(troublesOfName(std::string(201, 'n')).size(), 1U);
}

TEST(FileRules, PatternsMatchByTheirTable) {
    const struct {
        const char* pattern;
        std::vector<const char*> matching;
        std::vector<const char*> others;
    } cases[] = {
        {"a.tx", {"a.tx", "maps/a.tx"}, {"a.txt"}},
        {"*.tx", {"maps/deep/a.tx"}, {}},
        {"*", {"maps/a.tx"}, {}},
        {"a*b*c", {"axxbxbyc"}, {"axxbxby"}},
        {"?.tx", {"a.tx", "\xC3\xA9.tx"}, {".tx"}},
        {"??.tx", {}, {"\xC3\xA9.tx"}},
        {"maps/*.tx", {"maps/a.tx"}, {"maps/deep/a.tx", "more/maps/a.tx"}},
        {"maps/**", {"maps/deep/a.tx"}, {"maps"}},
        {"maps/**.tx", {"maps/deep/a.tx"}, {}},
        {"maps?a.tx", {}, {"maps/a.tx"}},
        {"m?ps/a.tx", {"maps/a.tx"}, {}},
        {"/a.tx", {"a.tx"}, {"maps/a.tx"}},
        {"", {}, {"a.tx"}},
    };
    for (const auto& [pattern, matching, others] : cases) {
        for (const char* path : matching) {
            EXPECT_TRUE(matchesPattern(pattern, path)) << pattern << " on " << path;
        }
        for (const char* path : others) {
            EXPECT_FALSE(matchesPattern(pattern, path)) << pattern << " on " << path;
        }
    }
}

TEST(FileRules, ManyStarsEndAtOnce) {
    std::string pattern;
    for (int count = 0; count < 60; ++count) {
        pattern += "*a";
    }
    EXPECT_FALSE(matchesPattern(pattern + "b", std::string(5000, 'a')));
}

TEST(FileRules, FirstMatchWinsAndTheRestGetsTheFallback) {
    FileRules rules("always");
    rules.add("maps/keep.tx=none");
    rules.add("maps/**=missing");
    rules.add("name=with=equals=none");
    EXPECT_EQ(rules.ruleFor("maps/keep.tx"), "none");
    EXPECT_EQ(rules.ruleFor("maps/other.tx"), "missing");
    EXPECT_EQ(rules.ruleFor("readme.txt"), "always");
    EXPECT_EQ(rules.unusedPatterns(), std::vector<std::string>{"name=with=equals"});
}

TEST(FileRules, WhatIsNoRuleIsRefused) {
    FileRules rules("always");
    for (const char* text : {"", "always", "=always", "*.tx=", "*.tx=Always", "*.tx=sometimes"}) {
        EXPECT_THROW(rules.add(text), std::invalid_argument) << text;
    }
}

}  // namespace
}  // namespace KivHost
