// kivsync and kivpublish as a person meets them: started as processes, judged by what they print,
// by their exit codes and by the trees they leave.

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/sample_library.h"
#include "support/scripted_server.h"
#include "support/server_scripts.h"
#include "support/temp_directory.h"

namespace KivHost {
namespace {

using testing::AssertionFailure;
using testing::AssertionResult;
using testing::AssertionSuccess;
using TestSupport::SampleLibrary;
using Words = std::vector<std::string>;

const std::string programs = KIV_PROGRAM_DIRECTORY;

AssertionResult holds(const std::string& text, const std::string& part) {
    if (text.find(part) != std::string::npos) {
        return AssertionSuccess();
    }
    return AssertionFailure() << "no \"" << part << "\" in:\n" << text;
}

AssertionResult lacks(const std::string& text, const std::string& part) {
    if (text.find(part) == std::string::npos) {
        return AssertionSuccess();
    }
    return AssertionFailure() << "\"" << part << "\" in:\n" << text;
}

struct Outcome {
    int code = -1;
    std::string output;
};

class Programs : public testing::Test {
protected:
    /// Without the proxy that the machine may have set up for itself.
    static Words environment(Words more = {}) {
        for (const char* name : {"http_proxy", "https_proxy", "all_proxy", "no_proxy",
                                 "HTTPS_PROXY", "ALL_PROXY", "NO_PROXY"}) {
            more.insert(more.begin(), name);
        }
        return more;
    }

    Outcome run(const std::string& program, Words arguments, const Words& more = {}) {
        arguments.insert(arguments.begin(), program);
        TestSupport::ChildProcess child(arguments, directory.path() / "output", environment(more));
        Outcome outcome;
        outcome.code = child.wait();
        outcome.output = child.output();
        return outcome;
    }
    Outcome sync(const Words& arguments, const Words& more = {}) {
        return run(programs + "/kivsync", arguments, more);
    }

    std::string url() const { return server.url("/lib"); }
    std::string copy() const { return directory.text("copy"); }
    TestSupport::Tree copied() const { return TestSupport::readTree(directory.path() / "copy"); }

    TestSupport::TempDirectory directory;
    TestSupport::ScriptedServer server;
    SampleLibrary library;
};

TEST_F(Programs, ExitCodesTellHowItWent) {
    library.add("maps/a.tx", "content");
    server.serve("/lib", library.served());
    EXPECT_EQ(sync({"--check", url(), copy()}).code, 1);
    EXPECT_FALSE(directory.exists("copy"));
    EXPECT_EQ(sync({url(), copy()}).code, 0);
    EXPECT_EQ(sync({"--check", url(), copy()}).code, 0);
    EXPECT_EQ(sync({server.url("/elsewhere"), copy()}).code, 2);
    EXPECT_EQ(sync({"--check", server.url("/elsewhere"), copy()}).code, 2);
    EXPECT_EQ(sync({"ftp://127.0.0.1/lib", copy()}).code, 2);
    EXPECT_EQ(copied(), library.expected());
}

TEST_F(Programs, BadUsageIsAFailureWithWords) {
    const Words cases[] = {
        {},        {"http://127.0.0.1/"},     {"a", "b", "c"},        {"", "b"},
        {"a", ""}, {"--proxy", "", "a", "b"}, {"-q", "-v", "a", "b"}, {"--nonsense", "a", "b"},
    };
    for (const Words& arguments : cases) {
        const Outcome outcome = sync(arguments);
        EXPECT_EQ(outcome.code, 2) << outcome.output;
        EXPECT_TRUE(holds(outcome.output, "--help"));
    }
    EXPECT_EQ(sync({"--help"}).code, 0);
    EXPECT_TRUE(holds(sync({"--version"}).output, "kivsync "));
    EXPECT_EQ(run(programs + "/kivpublish", {}).code, 2);
    EXPECT_EQ(run(programs + "/kivpublish", {directory.text("nowhere")}).code, 2);
    EXPECT_EQ(run(programs + "/kivpublish", {directory.text(), "--rule", "x=often"}).code, 2);
}

TEST_F(Programs, QuietSaysNothingButFailures) {
    library.add("maps/a.tx", "content");
    server.serve("/lib", library.served());
    EXPECT_EQ(sync({"--quiet", url(), copy()}).output, "");
    const Outcome failed = sync({"--quiet", server.url("/elsewhere"), copy()});
    EXPECT_EQ(failed.output,
              "kivsync: Could not download remote stamp file\n"
              "  because: Unexpected HTTP status (404): not found\n"
              "kivsync: \"" +
                  copy() + "\" isn't up to date; the next run starts over\n");
}

TEST_F(Programs, VerboseTellsTheRoadAndTheTrace) {
    server.serve("/lib", library.served());
    const std::string direct = sync({"-v", "--proxy", "direct", url(), copy()}).output;
    EXPECT_TRUE(holds(direct, "Remote address: \"" + url() + "\""));
    EXPECT_TRUE(holds(direct, "HTTP proxy disabled. Using direct connection."));
    EXPECT_TRUE(holds(sync({"-v", url(), copy()}).output, "Using system proxy settings."));
    EXPECT_TRUE(holds(sync({"-v", server.url("/elsewhere"), copy()}).output,
                      "trace: [DownloaderImpl::readRemoteIdFile] -1: Could not"));
}

TEST_F(Programs, APersonsSlashesComeOff) {
    server.serve("/lib", library.served());
    EXPECT_EQ(sync({url() + "/", copy() + "/"}).code, 0);
    EXPECT_EQ(server.targets().front(), "/lib/id.txt");
}

TEST_F(Programs, NamesFromTheServerNeverReachTheTerminalRaw) {
    library.add("a\x1B[31m\r\n.tx", "content");
    server.serve("/lib", library.served());
    const Outcome outcome = sync({"-v", url(), copy()});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_TRUE(lacks(outcome.output, "\x1B"));
    EXPECT_TRUE(lacks(outcome.output, "\r"));
    EXPECT_TRUE(holds(outcome.output, "Downloading file \"a\\x1b[31m\\x0d\\x0a.tx\" (7 bytes)"));
}

TEST_F(Programs, ATerminalGetsProgressInsteadOfALineForEachFile) {
    if (run("script", {"-qefc", "true", "/dev/null"}).code != 0) {
        GTEST_SKIP() << "no pseudo terminal can be made here";
    }
    library.add("maps/a.tx", "content");
    server.serve("/lib", library.served());
    const std::string command = "'" + programs + "/kivsync' '" + url() + "' '" + copy() + "'";
    const Outcome outcome = run("script", {"-qefc", command, "/dev/null"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_TRUE(holds(outcome.output, "\rDownloading files (0MB / 0MB)"));
    EXPECT_TRUE(lacks(outcome.output, "Downloading file \""));
    EXPECT_TRUE(holds(outcome.output, "Up to date: 1 files fetched."));
}

TEST_F(Programs, CtrlCStopsARunThatTheNextOneHeals) {
    library.add("a.tx", "first").add("b.tx", "second");
    server.serve("/lib", library.served());
    const std::string response = TestSupport::ok("second").bytes();
    server.on("/lib/b.tx",
              TestSupport::breakAt(response, response.size() - 3, TestSupport::Break::Stall));
    TestSupport::ChildProcess child({programs + "/kivsync", url(), copy()},
                                    directory.path() / "output", environment());
    ASSERT_TRUE(server.waitForRequests(4));
    child.signal(SIGINT);
    EXPECT_EQ(child.wait(), 130);
    EXPECT_TRUE(holds(child.output(), "Stopped."));
    EXPECT_TRUE(lacks(child.output(), "because"));
    EXPECT_FALSE(directory.exists("copy/id.txt"));

    server.serve("/lib", library.served());
    EXPECT_EQ(sync({url(), copy()}).code, 0);
    EXPECT_EQ(copied(), library.expected());
}

TEST_F(Programs, AStageThatTheLibraryLeavesOpenIsNoTrouble) {
    library.add("a.tx", "content");
    server.serve("/lib", library.served());
    server.on("/lib/a%01/id.txt", TestSupport::ok("stamp"));
    const Outcome outcome = sync({"--sub-path", "a\x01", url(), copy()});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_TRUE(holds(outcome.output, "Could not download list file (request failed)"));
}

TEST_F(Programs, TheProxyIsTheOneThatWasAskedFor) {
    const std::string address = server.address();
    server.on("http://library.invalid/lib/id.txt", TestSupport::ok("stamp"));
    const struct {
        Words arguments;
        Words environment;
        int code;
    } cases[] = {
        {{"--proxy", address}, {}, 1},
        {{"--proxy", "http://" + address + "/"}, {}, 1},
        {{"--proxy", "system"}, {"http_proxy=http://" + address}, 1},
        {{}, {"http_proxy=http://" + address}, 1},
        {{}, {"http_proxy=http://" + address, "no_proxy=library.invalid"}, 2},
        {{"--proxy", "direct"}, {"http_proxy=http://" + address}, 2},
    };
    for (const auto& c : cases) {
        Words arguments = c.arguments;
        arguments.insert(arguments.end(), {"--check", "http://library.invalid/lib", copy()});
        const Outcome outcome = sync(arguments, c.environment);
        EXPECT_EQ(outcome.code, c.code) << outcome.output;
    }
}

TEST_F(Programs, WithoutItsLibraryKivsyncSaysSo) {
    std::filesystem::copy_file(programs + "/kivsync", directory.path() / "kivsync");
    const Outcome outcome = run(directory.text("kivsync"), {url(), copy()});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_TRUE(holds(outcome.output, "kivsync: the library can't be loaded: "));
}

/// The server's files as a reader has them: lossy variants in the place of full files.
TestSupport::Tree asReceived(TestSupport::Tree tree) {
    const std::string lossyEnd = ".jpeg.tx";
    const TestSupport::Tree all = tree;
    for (const auto& [name, content] : all) {
        if (name.ends_with(lossyEnd)) {
            tree[name.substr(0, name.size() - lossyEnd.size()) + ".tx"] = content;
            tree.erase(name);
        }
    }
    tree.erase("filelist.json");
    return tree;
}

TEST_F(Programs, WhatKivpublishMakesKivsyncTakes) {
    SampleLibrary::generated(60, 3000).writeTo(directory.path() / "server");
    directory.write("server/maps/lossy \xC3\xA9.tx", "full");
    directory.write("server/maps/lossy \xC3\xA9.jpeg.tx", "small");
    directory.write("server/drafts/unready.txt", "x");
    const Outcome published =
        run(programs + "/kivpublish", {directory.text("server"), "--rule", "drafts/**=none"});
    ASSERT_EQ(published.code, 0) << published.output;

    TestSupport::Tree files = TestSupport::readTree(directory.path() / "server");
    server.serve("/lib", files);
    const Outcome synced = sync({url(), copy()});
    EXPECT_EQ(synced.code, 0) << synced.output;
    files.erase("drafts/unready.txt");
    EXPECT_EQ(TestSupport::differences(asReceived(files), copied()), Words{});
}

TEST_F(Programs, APublishedSubPathIsTakenAlone) {
    directory.write("server/outside.txt", "x");
    directory.write("server/beta/maps/a.tx", "inside");
    const Outcome published =
        run(programs + "/kivpublish", {"--sub-path", "beta/", directory.text("server")});
    ASSERT_EQ(published.code, 0) << published.output;

    TestSupport::Tree files = TestSupport::readTree(directory.path() / "server");
    server.serve("/lib", files);
    server.on("/beta/lib/filelist.json", TestSupport::ok(files.at("beta/filelist.json")));
    EXPECT_EQ(sync({"--sub-path", "beta", url(), copy()}).code, 0);
    files.erase("outside.txt");
    files.erase("beta/filelist.json");
    EXPECT_EQ(TestSupport::differences(files, copied()), Words{});
}

}  // namespace
}  // namespace KivHost
