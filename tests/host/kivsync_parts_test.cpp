// The pure parts of kivsync: words for numbers, the progress line, what a person typed, and where
// the library is looked for.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "error_words.h"
#include "library.h"
#include "platform.h"
#include "progress_line.h"
#include "text.h"

namespace KivHost {
namespace {

TEST(ErrorWords, NumbersOfConnectionErrorsTurnIntoWords) {
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
    };
    for (const auto& c : cases) {
        EXPECT_EQ(explainMessage(c.message), c.words);
    }
}

TEST(ErrorWords, StatusesTurnIntoWordsAndOtherTextsStay) {
    EXPECT_EQ(explainMessage("Unexpected HTTP status (404)"),
              "Unexpected HTTP status (404): not found");
    EXPECT_EQ(explainMessage("Unexpected HTTP status (418)"), "Unexpected HTTP status (418)");
    EXPECT_EQ(explainMessage("a.tx (5) Access is denied.\r\n"), "a.tx (5) Access is denied.");
    EXPECT_EQ(explainMessage("Downloading \"\x1B[2J\" file failed"),
              "Downloading \"\\x1b[2J\" file failed");
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
    const struct {
        std::int32_t permille;
        std::int32_t tenths;
    } cases[] = {{-7, 0}, {0, 0}, {99, 0}, {100, 1}, {999, 9}, {1000, 10}, {2147483647, 10}};
    for (const auto& c : cases) {
        EXPECT_EQ(tenthsOf(c.permille), c.tenths) << c.permille;
    }
}

TEST(HostText, SlashesThatPeopleTypeComeOff) {
    EXPECT_EQ(withoutLastSlash("http://host/lib/"), "http://host/lib");
    EXPECT_EQ(withoutLastSlash("http://host/"), "http://host");
    EXPECT_EQ(withoutLastSlash("http://host/lib//"), "http://host/lib/");
    EXPECT_EQ(withoutLastSlash("http://"), "http://");
    EXPECT_EQ(withoutLastSlash(""), "");
    EXPECT_EQ(withoutOuterSlashes("/beta\\maps/"), "beta/maps");
    EXPECT_EQ(withoutOuterSlashes("//"), "");
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

}  // namespace
}  // namespace KivHost
