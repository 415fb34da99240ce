// Names in a list that Windows would take elsewhere, in whole runs.

#include <string>

#include "support/downloader_fixture.h"

using namespace TestSupport;

namespace {

class RefusedNames : public DownloadingTest {
protected:
    /// The entry stands behind a sound one, of which nothing may be fetched either.
    void serveEntry(const std::string& path) {
        serve(R"([{"path":"a.tx","size":3},{"path":")" + path + R"(","size":3}])",
              {{"a.tx", "abc"}, {path, "xyz"}});
    }
};

TEST_F(RefusedNames, EndTheRunBeforeAnythingIsFetched) {
    target.write("id.txt", "6");
    for (const std::string path :
         {"a.tx:stream", "C:/elsewhere", "nul", "NUL.tx", "maps/aux.tx", "com1", "maps/LPT9.tx/b",
          "con .txt", "COM\xC2\xB9", "CONIN$", "end.", "end ", "maps./a.tx", "id.txt.", "id.txt ",
          "...", "id.txt::$DATA"}) {
        serveEntry(path);
        sink.clear();
        EXPECT_EQ(download(), -1) << path;
        EXPECT_EQ(sink.of("reportError"), Lines{"[DownloaderImpl::parseListFile] -1: Path \"" +
                                                path + "\" leaves the target directory"})
            << path;
        EXPECT_EQ(localStamp(), "6") << path;
        EXPECT_FALSE(target.exists("a.tx")) << path;
    }
    EXPECT_EQ(server.requestCount("/lib/a.tx"), 0);
}

TEST_F(RefusedNames, StampInAnotherCaseIsDroppedWithAWarning) {
    serveEntry("ID.TXT");
    EXPECT_EQ(download(), 0);
    EXPECT_EQ(sink.of("reportWarning"),
              Lines{"DownloaderImpl::parseListFile -1 Path \"ID.TXT\" is the local stamp. Entry "
                    "ignored."});
    EXPECT_EQ(localStamp(), "7");
    EXPECT_EQ(target.read("a.tx"), "abc");
}

TEST_F(RefusedNames, NamesThatOnlyLookLikeThemAreTaken) {
    serveEntry("console/.com/lpt10/nulls.tx");
    EXPECT_EQ(download(), 0);
    EXPECT_EQ(target.read("console/.com/lpt10/nulls.tx"), "xyz");
}

TEST_F(RefusedNames, CharactersThatNoFileHasFailInTheirSave) {
    serveEntry("what?.tx");
    server.on("/lib/what%3F.tx", ok("xyz"));
    EXPECT_EQ(download(), -1);
    const std::string error = sink.of("reportError").at(0);
    EXPECT_NE(error.find("Could not create file \"what?.tx\" | [PFileStream::Create] 123: (123) "),
              std::string::npos)
        << error;
    EXPECT_EQ(localStamp(), "");
}

}  // namespace
