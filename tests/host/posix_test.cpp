// What only POSIX has: a terminal of the test's own, Ctrl-C from outside, proxies in the
// environment, links, and names that are no Unicode, hold control characters or differ in case
// alone.

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <stdexcept>

#include "fixtures.h"

namespace KivHost {
namespace {

TEST_F(Programs, NamesFromTheServerNeverReachTheTerminalRaw) {
    serveFile("a\x1B[31m\r\n\t\x7F\xC2\x9B\xFF\xC3 \xC3\xA9\xC2\xA0.tx");
    const Outcome outcome = sync({"-v", url(), copy()});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.output.find_first_of("\x1B\r\t\x7F\x9B\xFF"), std::string::npos);
    EXPECT_TRUE(holds(outcome.output,
                      "Downloading file \"a\\x1b[31m\\x0d\\x0a\\x09\\x7f\\xc2\\x9b\\xff\\xc3 "
                      "\xC3\xA9\xC2\xA0.tx\" (7 bytes)"));
}

TEST_F(Programs, ATerminalGetsProgressInsteadOfALineForEachFile) {
    if (run("script", {"-qefc", "true", "/dev/null"}).code != 0) {
        GTEST_SKIP() << "no pseudo terminal can be made here";
    }
    serveFile("maps/a.tx");
    const std::string command = "'" + program("kivsync") + "' '" + url() + "' '" + copy() + "'";
    const Outcome outcome = run("script", {"-qefc", command, "/dev/null"});
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_TRUE(holds(outcome.output, "\rDownloading files (0MB / 0MB)"));
    EXPECT_TRUE(lacks(outcome.output, "Downloading file \""));
    EXPECT_TRUE(holds(outcome.output, "Up to date: 1 files fetched."));
}

TEST_F(Programs, CtrlCStopsARunThatTheNextOneHeals) {
    library.add("a.tx", "first").add("b.tx", "second");
    server.serve("/lib", library.served());
    const std::string response = ok("second").bytes();
    server.on("/lib/b.tx", breakAt(response, response.size() - 3, Break::Stall));
    ChildProcess child({program("kivsync"), url(), copy()}, directory.path() / "output",
                       environment());
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

TEST_F(Programs, TheEnvironmentsProxyIsTheSystems) {
    const std::string address = server.address();
    server.on("http://library.invalid/lib/id.txt", ok("stamp"));
    const struct {
        Words arguments;
        Words environment;
        int code;
    } cases[] = {
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

TEST_F(Publishing, NamesOutsideUtf8StopBeforeAnythingIsWritten) {
    tree.write("bad\xFF.tx", "x");
    EXPECT_THROW(publishWith(), std::runtime_error);
    EXPECT_FALSE(tree.exists("filelist.json"));
}

TEST_F(Publishing, WhatIsLeftOutOrTroublesReadersIsTold) {
    tree.write("maps/a.tx", "x");
    tree.write("maps/A.tx", "x");
    tree.write("nul.tx", "x");
    std::filesystem::create_directory_symlink("maps", tree.path() / "linked");
    std::filesystem::create_symlink("nowhere", tree.path() / "dangling");
    FileRules rules("always");
    rules.add("*.png=none");
    publishWith(rules);
    EXPECT_EQ(tree.read("filelist.json"), R"([
{"download":"always","path":"maps/A.tx","size":1},
{"download":"always","path":"maps/a.tx","size":1},
{"download":"always","path":"nul.tx","size":1}
]
)");
    for (const char* word : {"linked", "dangling", "nul.tx", "one file", "*.png"}) {
        EXPECT_TRUE(std::ranges::any_of(warnings, [&](const std::string& warning) {
            return warning.find(word) != std::string::npos;
        })) << word;
    }
    EXPECT_EQ(warnings.size(), 5U);
}

}  // namespace
}  // namespace KivHost
