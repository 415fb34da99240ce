// Questions about paths, and the directories that lead to one, on any system.

#include "foundation/paths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "support/temp_directory.h"

using TestSupport::TempDirectory;

namespace {

std::string printed(const Brelt::ErrorChain& error) {
    return error.toCharString().cstr();
}

TEST(Paths, QuestionsTellFilesDirectoriesAndNothing) {
    const TempDirectory directory;
    directory.write("file", "x");
    EXPECT_TRUE(Brelt::fileExists(directory.text().c_str()));
    EXPECT_TRUE(Brelt::fileExists(directory.text("file").c_str()));
    EXPECT_FALSE(Brelt::fileExists(directory.text("missing").c_str()));
    EXPECT_EQ(Brelt::isDirectory(directory.text().c_str()), 1);
    EXPECT_EQ(Brelt::isDirectory(directory.text("file").c_str()), 0);
    EXPECT_EQ(Brelt::isDirectory(directory.text("missing").c_str()), 0);
    EXPECT_EQ(Brelt::isDirectory(nullptr), 0);
}

TEST(CreatePath, MakesAllLevelsWithEitherSeparator) {
    const TempDirectory directory;
    EXPECT_FALSE(Brelt::createPath((directory.text() + "/a\\b/c\\").c_str()));
    EXPECT_FALSE(Brelt::createPath((directory.text() + "\\a/b/d").c_str()));
    EXPECT_TRUE(directory.exists("a/b/c"));
    EXPECT_TRUE(directory.exists("a/b/d"));
    EXPECT_FALSE(Brelt::createPath((directory.text() + "/a/b").c_str()));
}

TEST(CreateFilePath, LeavesTheLastNameOut) {
    const TempDirectory directory;
    EXPECT_FALSE(Brelt::createFilePath((directory.text() + "/a/b/file.txt").c_str()));
    EXPECT_TRUE(directory.exists("a/b"));
    EXPECT_FALSE(directory.exists("a/b/file.txt"));
    EXPECT_FALSE(Brelt::createFilePath("name_without_directory.txt"));
    EXPECT_FALSE(std::filesystem::exists("name_without_directory.txt"));
}

TEST(CreatePath, NamesOfAnyScriptAreMade) {
    const TempDirectory directory;
    const std::string name = "gr\xC3\xBC\xC3\x9F_\xE6\x9C\xA8_\xF0\x9F\x98\x80";
    EXPECT_FALSE(Brelt::createPath((directory.text() + "/" + name + "/x").c_str()));
    EXPECT_TRUE(directory.exists(name + "/x"));
}

TEST(CreatePath, AFileAsTheLastNameIsInTheWay) {
    const TempDirectory directory;
    directory.write("b.txt", "kept");
    std::string path = directory.text("b.txt");
    const Brelt::ErrorChain error = Brelt::createPath(path.c_str());
    std::replace(path.begin(), path.end(), '/', '\\');
    EXPECT_EQ(printed(error),
              "[createPathImpl] 183: " + path + " already exists, but is not a valid directory");
    EXPECT_EQ(directory.read("b.txt"), "kept");
}

TEST(CreatePath, UnusableTextsAreRefused) {
    const char* const empty = "[createPathImpl] -1: Empty string argument";
    EXPECT_EQ(printed(Brelt::createPath(nullptr)), empty);
    EXPECT_EQ(printed(Brelt::createFilePath("")), empty);
    const TempDirectory directory;
    for (const std::size_t length : {std::size_t{260}, std::size_t{1500}}) {
        std::string path = directory.text() + "/a/";
        path.append(length - path.size(), 'b');
        EXPECT_EQ(printed(Brelt::createPath(path.c_str())),
                  "[createPathImpl] -1: Path length exceeds MAX_PATH");
    }
    EXPECT_FALSE(directory.exists("a"));
}

TEST(CreatePath, SeveralThreadsMayMakeTheSamePath) {
    const TempDirectory directory;
    const std::string path = directory.text() + "/a/b/c/d/e/f";
    std::vector<Brelt::ErrorChain> errors(4);
    std::vector<std::thread> threads;
    threads.reserve(errors.size());
    for (Brelt::ErrorChain& error : errors) {
        threads.emplace_back([&] { error = Brelt::createPath(path.c_str()); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const Brelt::ErrorChain& error : errors) {
        EXPECT_FALSE(error) << printed(error);
    }
    EXPECT_TRUE(directory.exists("a/b/c/d/e/f"));
}

}  // namespace
