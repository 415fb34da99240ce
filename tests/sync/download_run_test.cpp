// Whole runs against a server: what the host is told in which order, and what lies on disk.

#include <algorithm>

#include "support/downloader_fixture.h"
#include "support/sample_library.h"

using namespace TestSupport;

namespace {

class DownloadRun : public DownloadingTest {
protected:
    /// A stage from its first line to its end, with what comes within.
    static void addStage(Lines& lines, const std::string& text, const Lines& within = {}) {
        lines.insert(lines.end(), {"setProgressText " + text, "setProgressRange 1000",
                                   "setProgress 0", "progressBegin"});
        lines.insert(lines.end(), within.begin(), within.end());
        lines.emplace_back("progressEnd");
    }

    Lines upToStamp() const {
        Lines lines = {"logDebug Remote address: \"" + server.url("/lib") + "\"",
                       "logDebug Target directory: \"" + target.text() + "\"",
                       "logInfo Creating download directory",
                       "logDebug HTTP proxy disabled. Using direct connection.",
                       "logInfo Downloading remote stamp file"};
        addStage(lines, "Accessing stamp");
        lines.push_back("logInfo Opening local stamp file \"" + target.text() + "/id.txt\"");
        return lines;
    }
};

TEST_F(DownloadRun, CompleteRunTellsItsStepsInOrder) {
    serve(R"([{"path":"a.tx","size":3},{"path":"b/c.tx","size":9,"jpegSize":5}])",
          {{"a.tx", "abc"}, {"b/c.jpeg.tx", "lossy"}});
    target.write("id.txt", "6");
    target.write("a.tx", "older and longer");
    EXPECT_EQ(download(), 0);
    Lines expected = upToStamp();
    expected.emplace_back("logInfo Local and remote stamp files are different.");
    addStage(expected, "Getting file list");
    expected.insert(
        expected.end(),
        {"setProgressText Downloading files", "setProgress 0",
         "setProgressText Downloading files (0MB / 0MB)", "setProgressRange 1000", "setProgress 0",
         "progressBegin", "logInfo Downloading file \"a.tx\" (3 bytes)",
         "logInfo Downloading file \"b/c.jpeg.tx\" (5 bytes)", "progressEnd"});
    EXPECT_EQ(sink.steps(), expected);
    EXPECT_EQ(sink.of("setProgress").back(), "1000");
    EXPECT_EQ(target.read("a.tx"), "abc");
    EXPECT_EQ(target.read("b/c.tx"), "lossy");
    EXPECT_EQ(localStamp(), "7");
}

TEST_F(DownloadRun, SecondRunFindsEqualStampsAndFetchesNothingElse) {
    serve("[]");
    EXPECT_EQ(checkForUpdate(), 1);
    EXPECT_EQ(sink.of("logInfo").back().find(
                  "Opening local stamp file failed: [PFileStream::Open] 2: (2) "),
              0U);
    EXPECT_EQ(sink.errorText(), "");
    EXPECT_FALSE(target.exists("id.txt"));
    EXPECT_EQ(download(), 0);
    EXPECT_EQ(checkForUpdate(), 0);
    sink.clear();
    EXPECT_EQ(download(), 0);
    Lines expected = upToStamp();
    std::erase(expected, "logDebug HTTP proxy disabled. Using direct connection.");
    expected.emplace_back("logInfo Local and remote stamp files match. Nothing to do.");
    EXPECT_EQ(sink.steps(), expected);
    EXPECT_EQ(server.requestCount("/lib/filelist.json"), 1);
}

TEST_F(DownloadRun, FinishedFilesAreSavedWhileOthersAreFed) {
    const SampleLibrary library = SampleLibrary::generated(40, 40'000);
    server.serve("/lib", library.served());
    EXPECT_EQ(download(), 0);
    EXPECT_EQ(differences(library.expected(), readTree(target.path())), Lines{});
    const Lines infos = sink.of("logInfo");
    const auto isSaving = [](const std::string& line) { return line.starts_with("Saving file "); };
    EXPECT_EQ(std::ranges::count_if(infos, isSaving), 40 - 5);
}

TEST_F(DownloadRun, FiveRequestsRunAtOnceAndUnknownSizesShowNoFigures) {
    serve(R"([{"path":"1"},{"path":"2"},{"path":"3"},{"path":"4"},{"path":"5"}])");
    constexpr std::size_t withStampAndList = 7;
    for (const char* name : {"/lib/1", "/lib/2", "/lib/3", "/lib/4", "/lib/5"}) {
        server.on(name, onceAsked(server, withStampAndList, answer(ok(name))));
    }
    EXPECT_EQ(download(), 0);
    EXPECT_EQ(target.read("5"), "/lib/5");
    EXPECT_EQ(sink.of("setProgress"), (Lines{"0", "0", "0"}));
}

TEST_F(DownloadRun, ResponseOfAnotherSizeThanListedIsSavedAsItCame) {
    serve(R"([{"path":"more","size":2},{"path":"none","size":50}])",
          {{"more", std::string(2'500'000, 'm')}, {"none", ""}});
    EXPECT_EQ(download(), 0);
    EXPECT_EQ(target.read("more").size(), 2'500'000U);
    EXPECT_EQ(target.read("none"), "");
    EXPECT_GT(std::stoll(sink.of("setProgress").back()), 1000);
}

TEST_F(DownloadRun, MegabytesAreShownAsTheyChange) {
    serve(R"([{"path":"f","size":2500000}])", {{"f", std::string(2'500'000, 'm')}});
    EXPECT_EQ(download(), 0);
    Lines texts = sink.of("setProgressText");
    texts.erase(texts.begin(), texts.begin() + 3);
    EXPECT_EQ(texts, (Lines{"Downloading files (0MB / 2MB)", "Downloading files (1MB / 2MB)",
                            "Downloading files (2MB / 2MB)"}));
}

TEST_F(DownloadRun, HostileSizesSaturate) {
    serve(R"([{"path":"a","size":9223372036854775807},{"path":"b","size":9223372036854775807},
              {"path":"c","size":-9223372036854775808}])",
          {{"a", "a"}, {"b", "b"}, {"c", "c"}});
    EXPECT_EQ(download(), 0);
    serve(R"([{"path":"a","size":1}])", {{"a", std::string(3'000'000, 'a')}});
    server.on("/lib/id.txt", ok("8"));
    EXPECT_EQ(download(), 0);
    EXPECT_EQ(sink.of("setProgress").back(), "2147483647");
}

TEST_F(DownloadRun, SubPathMovesTheStampAndTheListButNoFile) {
    params.subPath = "be ta";
    server.serve("/lib", {{"be ta/id.txt", "7 \r\n"}, {"a", "A"}, {"be ta/b", "B"}});
    server.on("/be ta/lib/filelist.json", ok(R"([{"path":"a"}])"));
    // The stamp's directory comes with the files below it, or not at all.
    EXPECT_EQ(download(), -1);
    const Lines errors = sink.of("logError");
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_EQ(errors[0].find("Creating local stamp file failed: [PFileStream::Create] 3: (3) "), 0U)
        << errors[0];
    server.on("/be ta/lib/filelist.json", ok(R"([{"path":"a"},{"path":"be ta/b"}])"));
    EXPECT_EQ(download(), 0);
    EXPECT_EQ(server.targets().at(1), "/be ta/lib/filelist.json");
    EXPECT_EQ(readTree(target.path()),
              (Tree{{"a", "A"}, {"be ta/b", "B"}, {"be ta/id.txt", "7 \r\n"}}));
}

TEST_F(DownloadRun, ChangedDirectoryTakesEffectAndChangedUrlDoesNot) {
    serve("[]");
    EXPECT_EQ(download(), 0);
    params.targetDirectory = target.text("other").c_str();
    params.url = "ftp://nowhere.invalid/x";
    params.proxyMode = ProxyModeAddress;
    params.proxyAddress = "127.0.0.1:1";
    EXPECT_EQ(download(), 0);
    EXPECT_EQ(target.read("other/id.txt"), "7");
}

TEST_F(DownloadRun, OnlyOneHeaderIsSent) {
    serve("[]");
    EXPECT_EQ(download(), 0);
    EXPECT_EQ(server.requests().at(0).head,
              "GET /lib/id.txt HTTP/1.1\r\nHost: " + server.address() +
                  "\r\nUser-Agent: kivdownloader\r\n\r\n");
    EXPECT_EQ(server.connections(), 1);
}

}  // namespace
