// Paths on Windows: drives, servers, and what the system answers on the way.

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "foundation/paths.h"
#include "foundation/pfile_stream.h"
#include "support/system_facts.h"
#include "support/temp_directory.h"

using TestSupport::TempDirectory;

namespace {

std::string printed(const Brelt::ErrorChain& error) {
    return error.toCharString().cstr();
}

/// A drive that isn't there, such as "Q:".
std::string freeDrive() {
    std::string drive = "Z:";
    while ((::GetLogicalDrives() >> (drive[0] - 'A') & 1) != 0) {
        --drive[0];
    }
    return drive;
}

TEST(WindowsPaths, LevelsBehindADriveAreMadeWithBackslashes) {
    const TempDirectory directory;
    const std::string root = directory.path().string();
    ASSERT_EQ(root.substr(1, 2), ":\\");
    EXPECT_FALSE(Brelt::createPath((root + R"(\a\b\)").c_str()));
    EXPECT_FALSE(Brelt::createPath((root + R"(\a\c)").c_str()));
    EXPECT_EQ(Brelt::isDirectory((root + R"(\a\b)").c_str()), 1);
    EXPECT_EQ(Brelt::isDirectory((root + R"(\A\C\)").c_str()), 1);
    EXPECT_FALSE(Brelt::createPath(root.substr(0, 3).c_str()));
}

TEST(WindowsPaths, MissingDriveIsToldAtItsFirstLevel) {
    const std::string drive = freeDrive();
    // Wine finds a file missing there, Windows the way to it.
    const std::string code = TestSupport::runsUnderWine() ? "2" : "3";
    const std::string text = printed(Brelt::createPath((drive + R"(\a\b)").c_str()));
    EXPECT_TRUE(
        text.starts_with("[createPathImpl] " + code + ": " + drive + "\\a\\ (" + code + ") "))
        << text;
    EXPECT_FALSE(Brelt::fileExists((drive + "\\").c_str()));
}

TEST(WindowsPaths, ServerThatHasNoSuchShareIsToldAtTheShare) {
    const Brelt::ErrorChain error = Brelt::createPath(R"(\\localhost\kiv_no_such_share\a\)");
    EXPECT_GT(error.codeAt(0), 0);
    const std::string text = printed(error);
    EXPECT_NE(text.find(R"( \\localhost\kiv_no_such_share\ ()"), std::string::npos) << text;
    EXPECT_FALSE(Brelt::fileExists(R"(\\localhost\kiv_no_such_share\a)"));
    Brelt::PFileStream stream;
    EXPECT_GT(stream.Create(R"(\\localhost\kiv_no_such_share\a)", 3).codeAt(0), 0);
    EXPECT_EQ(stream.IsOpen(), 0);
}

TEST(WindowsPaths, FileOfALongestPathIsMadeAndOneByteMoreIsRefused) {
    const TempDirectory directory;
    std::string path = directory.path().string() + "\\";
    path += std::string(200 - path.size(), 'd') + "\\";
    path.append(259 - path.size(), 'f');
    ASSERT_FALSE(Brelt::createFilePath(path.c_str()));
    Brelt::PFileStream stream;
    const Brelt::ErrorChain error = stream.Create(path.c_str(), 3);
    EXPECT_FALSE(error) << printed(error);
    EXPECT_EQ(printed(Brelt::createFilePath((path + "f").c_str())),
              "[createPathImpl] -1: Path length exceeds MAX_PATH");
}

// The trailing separator hides the file from the question, and making the directory says that it is
// there already, which counts as success. So the file to be made inside tells.
TEST(WindowsPaths, FileInADirectorysPlaceIsFoundByTheFileInside) {
    const TempDirectory directory;
    directory.write("file", "kept");
    const std::string inside = directory.path().string() + R"(\file\x)";
    EXPECT_FALSE(Brelt::createFilePath(inside.c_str()));
    Brelt::PFileStream stream;
    EXPECT_EQ(stream.Create(inside.c_str(), 3).codeAt(0), 3);
    EXPECT_EQ(directory.read("file"), "kept");
}

}  // namespace
