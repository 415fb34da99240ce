// kivsync and kivpublish as a person meets them: started as processes, judged by what they print,
// by their exit codes and by the trees they leave.

#include "fixtures.h"

#include <filesystem>

namespace KivHost {
namespace {

TEST_F(Programs, ExitCodesTellHowItWent) {
    serveFile("maps/a.tx");
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
    EXPECT_EQ(run(program("kivpublish"), {}).code, 2);
    EXPECT_EQ(run(program("kivpublish"), {directory.text("nowhere")}).code, 2);
    EXPECT_EQ(run(program("kivpublish"), {directory.text(), "--rule", "x=often"}).code, 2);
}

TEST_F(Programs, QuietSaysNothingButFailures) {
    serveFile("maps/a.tx");
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

TEST_F(Programs, TheProxyIsTheOneThatWasAskedFor) {
    const std::string address = server.address();
    server.on("http://library.invalid/lib/id.txt", ok("stamp"));
    for (const std::string& proxy : {address, "http://" + address + "/"}) {
        const Outcome outcome =
            sync({"--proxy", proxy, "--check", "http://library.invalid/lib", copy()});
        EXPECT_EQ(outcome.code, 1) << outcome.output;
    }
}

TEST_F(Programs, AStageThatTheLibraryLeavesOpenIsNoTrouble) {
    serveFile("a.tx");
    server.on("/lib/a%01/id.txt", ok("stamp"));
    const Outcome outcome = sync({"--sub-path", "a\x01", url(), copy()});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_TRUE(holds(outcome.output, "Could not download list file (request failed)"));
}

TEST_F(Programs, WithoutItsLibraryKivsyncSaysSo) {
    std::filesystem::copy_file(program("kivsync"), directory.path() / "kivsync.exe");
    const Outcome outcome = run(directory.text("kivsync.exe"), {url(), copy()});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_TRUE(holds(outcome.output, "kivsync: the library can't be loaded: "));
}

/// The server's files as a reader has them: lossy variants in the place of full files.
Tree asReceived(Tree tree) {
    const std::string lossyEnd = ".jpeg.tx";
    const Tree all = tree;
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
    directory.write("server", SampleLibrary::generated(60, 3000).served());
    directory.write("server/maps/lossy \xC3\xA9.tx", "full");
    directory.write("server/maps/lossy \xC3\xA9.jpeg.tx", "small");
    directory.write("server/drafts/unready.txt", "x");
    const Outcome published =
        run(program("kivpublish"), {directory.text("server"), "--rule", "drafts/**=none"});
    ASSERT_EQ(published.code, 0) << published.output;

    Tree files = readTree(directory.path() / "server");
    server.serve("/lib", files);
    const Outcome synced = sync({url(), copy()});
    EXPECT_EQ(synced.code, 0) << synced.output;
    files.erase("drafts/unready.txt");
    EXPECT_EQ(differences(asReceived(files), copied()), Words{});
}

TEST_F(Programs, APublishedSubPathIsTakenAlone) {
    directory.write("server/outside.txt", "x");
    directory.write("server/beta/maps/a.tx", "inside");
    const Outcome published =
        run(program("kivpublish"), {"--sub-path", "beta/", directory.text("server")});
    ASSERT_EQ(published.code, 0) << published.output;

    Tree files = readTree(directory.path() / "server");
    server.serve("/lib", files);
    server.on("/beta/lib/filelist.json", ok(files.at("beta/filelist.json")));
    EXPECT_EQ(sync({"--sub-path", "/beta\\", url(), copy()}).code, 0);
    files.erase("outside.txt");
    files.erase("beta/filelist.json");
    EXPECT_EQ(differences(files, copied()), Words{});
}

}  // namespace
}  // namespace KivHost
