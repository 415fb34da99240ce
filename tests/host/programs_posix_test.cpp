// The programs where only POSIX has it: terminals, signals, proxies in the environment, and control
// characters in names of files.

#include "programs.h"

#include <csignal>
#include <filesystem>

namespace KivHost {
namespace {

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
    const std::string response = TestSupport::ok("second").bytes();
    server.on("/lib/b.tx",
              TestSupport::breakAt(response, response.size() - 3, TestSupport::Break::Stall));
    TestSupport::ChildProcess child({program("kivsync"), url(), copy()},
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

TEST_F(Programs, TheEnvironmentsProxyIsTheSystems) {
    const std::string address = server.address();
    server.on("http://library.invalid/lib/id.txt", TestSupport::ok("stamp"));
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

}  // namespace
}  // namespace KivHost
