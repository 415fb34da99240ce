// Each road of failure: what is reported, what is left, and that the next run heals it.

#include "support/downloader_fixture.h"

using namespace TestSupport;

namespace {

std::string status(int number) {
    return "[HttpDldDone::expectStatus] -1: Unexpected HTTP status (" + std::to_string(number) +
           ")";
}

std::string aborted(int code) {
    return "[HttpGetter::responseProgressCb] -1: Download aborted (" + std::to_string(code) + ")";
}

class DownloadFailure : public DownloadingTest {
protected:
    /// Seven small files; the last two are started when others have finished.
    void serveSeven(const Handler& handler = answer(ok("content"))) {
        std::string list;
        for (int i = 1; i <= 7; ++i) {
            list += std::string(i == 1 ? "[" : ",") + R"({"path":"f)" + std::to_string(i) + "\"}";
            server.on("/lib/f" + std::to_string(i), handler);
        }
        serve(list + "]");
    }

    /// The other four that run are held until the client has hung up behind the first one's answer,
    /// so that its outcome is what the feed phase sees.
    void firstFinishesFirst(const Response& first) {
        for (const char* name : {"/lib/f2", "/lib/f3", "/lib/f4", "/lib/f5"}) {
            server.on(name, breakAt(ok("late").bytes(), 0, Break::Stall));
        }
        server.on("/lib/f1", [this, first](Connection& client, const Request&) {
            client.send(first + std::pair<std::string, std::string>{"Connection", "close"});
            Request none;
            client.readRequest(none);
            server.release();
        });
    }

    bool progressEnded() const { return sink.lines().back() == "progressEnd"; }
};

TEST_F(DownloadFailure, DirectoryThatCannotBeMadeEndsTheRunBeforeTheNetwork) {
    params.targetDirectory.clear();
    EXPECT_EQ(download(), -1);
    EXPECT_EQ(sink.errorText(),
              "[DownloaderImpl::download] -1: Create download directory failed | "
              "[createPathImpl] -1: Empty string argument");
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(DownloadFailure, UnusableUrlIsReportedAndCanBeCorrected) {
    serve("[]");
    params.url = "ftp://127.0.0.1/lib";
    EXPECT_EQ(download(), -1);
    EXPECT_EQ(sink.errorText(),
              "[DownloaderImpl::initHttpGetter] -1: Could not use download URL "
              "\"ftp://127.0.0.1/lib\" | "
              "[DownloaderImpl::initHttpGetter] -1: Unkown addressing scheme");
    EXPECT_EQ(sink.of("logDebug").size(), 2U);
    params.url = server.url("/lib").c_str();
    EXPECT_EQ(checkForUpdate(), 1);
}

TEST_F(DownloadFailure, StampAndListThatDoNotComeLeaveTheDiskAlone) {
    const std::string stamp = "reportError [DownloaderImpl::readRemoteIdFile] -1: ";
    const std::string stampFailed = stamp + "Could not download remote stamp file | ";
    const struct {
        const char* target;
        Handler handler;
        std::string told;
    } cases[] = {
        {"/lib/id.txt", answer(withStatus(404)), stampFailed + status(404)},
        {"/lib/id.txt", answer(ok("")), stamp + "Remote stamp file is empty"},
        {"/lib/id.txt", breakAt("", 0, Break::Close),
         stampFailed + "[HttpGetter::responseErrorCb] -1: Connection error: reason=52 extraF="},
        {"/lib/filelist.json", redirectTo("/lib/id.txt"),
         "reportError [DownloaderImpl::downloadListFile] -1: Could not download list file | " +
             status(302)},
        {"/lib/filelist.json", answer(ok("")),
         "logError Incorrect size of json file list (0 bytes)"},
    };
    target.write("id.txt", "6");
    for (const auto& [name, handler, told] : cases) {
        SCOPED_TRACE(told);
        serve("[]");
        server.on(name, handler);
        EXPECT_EQ(download(), -1);
        EXPECT_EQ(sink.lines().back().substr(0, told.size()), told);
        EXPECT_EQ(localStamp(), "6");
    }
    EXPECT_EQ(server.requestCount("/lib/filelist.json"), 2);
}

TEST_F(DownloadFailure, RefusedRequestLeavesItsStageOpen) {
    serve("[]");
    params.subPath = "a\nb";
    server.on("/lib/a%0Ab/id.txt", ok("7"));
    EXPECT_EQ(download(), -1);
    EXPECT_EQ(sink.errorNodes().at(0),
              (ErrorLine{"DownloaderImpl::downloadListFile", -1,
                         "Could not download list file (request failed)"}));
    EXPECT_EQ(sink.lines().end()[-2], "progressBegin");
}

TEST_F(DownloadFailure, FailedResponseInTheFeedPhaseEndsTheFeeding) {
    serveSeven();
    firstFinishesFirst(withStatus(404, "nothing here"));
    EXPECT_EQ(download(), -1);
    EXPECT_EQ(
        sink.errorText(),
        "[DownloaderImpl::downloadFiles] -1: Downloading \"f1\" file failed | " + status(404));
    EXPECT_EQ(server.requestCount("/lib/f7"), 0);
    EXPECT_FALSE(target.exists("f2"));
    EXPECT_TRUE(progressEnded());
    EXPECT_EQ(localStamp(), "");

    serveSeven();
    EXPECT_EQ(download(), 0);
    EXPECT_EQ(target.read("f2"), "content");
    EXPECT_EQ(localStamp(), "7");
}

TEST_F(DownloadFailure, FailedResponseInTheDrainPhaseStandsAlone) {
    serve(R"([{"path":"f1"},{"path":"f2"}])");
    server.on("/lib/f1", withStatus(403));
    server.on("/lib/f2", withStatus(404));
    EXPECT_EQ(download(), -1);
    EXPECT_EQ(sink.errorText(), status(403));
    EXPECT_TRUE(progressEnded());
}

TEST_F(DownloadFailure, FailedSaveInTheFeedPhaseNamesTheNextEntry) {
    serveSeven();
    target.write("f1/x", "a directory in the file's place");
    firstFinishesFirst(ok("content"));
    EXPECT_EQ(download(), -1);
    const std::string told =
        "[DownloaderImpl::downloadFiles] -1: Requesting download for \"f6\" file failed | "
        "[DownloaderImpl::saveFile] -1: Could not create file \"f1\" | "
        "[PFileStream::Create] 5: (5) ";
    EXPECT_EQ(sink.errorText().substr(0, told.size()), told);
    EXPECT_EQ(sink.of("logInfo").back(), "Downloading file \"f6\" (0 bytes)");
    EXPECT_EQ(server.requestCount("/lib/f6"), 0);
}

TEST_F(DownloadFailure, AbortEndsEachRequestThatStillReceives) {
    serveSeven(sendEndlessBody());
    sink.abortAfterPolls(20, 7);
    EXPECT_EQ(download(), -1);
    const std::string told = sink.errorText();
    EXPECT_TRUE(told.ends_with(aborted(7))) << told;
    EXPECT_TRUE(server.waitForOpenConnections(0));
    sink.goOn();
    serveSeven();
    EXPECT_EQ(checkForUpdate(), 1);
    EXPECT_EQ(download(), 0);
}

TEST_F(DownloadFailure, AbortIsSeenWhileTheServerSaysNothing) {
    serve("[]");
    server.on("/lib/id.txt", breakAt(ok("7").bytes(), 10, Break::Stall));
    sink.abortAfterPolls(0, 3);
    EXPECT_EQ(download(), -1);
    EXPECT_EQ(sink.errorText(),
              "[DownloaderImpl::readRemoteIdFile] -1: Could not download remote stamp file | " +
                  aborted(3));
}

/// A host that breaks its promise not to throw.
TEST_F(DownloadFailure, ExceptionOfTheHostNeverLeavesAnEntry) {
    serveSeven();
    sink.onLine([](const std::string& line) {
        if (line.find("logInfo Saving file") == 0) {
            throw std::runtime_error("host trouble");
        }
    });
    EXPECT_EQ(download(), -1);
    EXPECT_EQ(sink.errorText(), "[DownloaderImpl::download] -1: host trouble");
    sink.onLine({});
    EXPECT_EQ(download(), 0);
}

}  // namespace
