// The shape of a path, questions about it, and the directories that lead to one, on any system.

#include "foundation/paths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "foundation/texts.h"
#include "support/temp_directory.h"

using Brelt::createFilePath;
using Brelt::createPath;
using Brelt::normalizePath;
using TestSupport::printed;

namespace {

TEST(NormalizePath, GivesTheOneShapeForBothSeparators) {
    for (const char* const row :
         {// Separators.
          R"(a/b -> a\b)", R"(a\\b -> a\b)", R"(a\/\b -> a\b)",
          R"(//server//share -> \\server\share)", R"(///a -> \\\a)", R"(a\ -> a)", R"(\ -> \)",
          R"(\\ -> \\)", R"(C:\ -> C:)", R"(\a -> \a)",
          // Single dots.
          R"(a\.\b -> a\b)", R"(.\a -> .\a)", R"(. -> .)", R"(a\b\. -> a\b)", R"(\. -> \.)",
          R"(.\. -> .)", R"(a\.b\c -> a\.b\c)", R"(a\b.\c -> a\b.\c)", R"(.x.x\.\. -> .x.x\.)",
          R"(.\.\a -> .\a)",
          // Double dots.
          R"(.. -> ..)", R"(... -> ...)", R"(a\...\b -> a\...\b)", R"(a\b\..\c -> a\c)",
          R"(\a\b\..\..\c -> \c)", R"(C:\a\..\b -> C:\b)", R"(a\..\c -> a\c)",
          R"(x\..\..\a -> x\a)", R"(..\a -> ..\a)", R"(..\..\a -> ..\..\a)", R"(\..\a -> \a)",
          R"(\a\..\..\c -> \c)", R"(\\..\a -> \\\a)", R"(a\b\.. -> a)", R"(a\.. -> a\..)",
          R"(\a\.. -> )", R"(\a\..\.. -> \..)", R"(\.. -> \..)", R"(.\..\a -> .\..\a)",
          R"(\...\..\a -> \...\a)", R"(a\..x\..\b -> a\..x\b)", R"(..x\..\a -> ..x\..\a)",
          R"(..\.. -> ..\..)",
          // The end is judged by the buffer at its former length: what a shortened text left
          // behind counts.
          R"(\.\ -> )", R"(\..\ -> )", R"(a\.\. -> a\.)"}) {
        const auto [text, result] = TestSupport::bothSides(row);
        EXPECT_EQ(normalizePath(text.c_str()), result.c_str()) << row;
        std::string slashed = text;
        std::replace(slashed.begin(), slashed.end(), '\\', '/');
        EXPECT_EQ(normalizePath(slashed.c_str()), result.c_str()) << row;
    }
    EXPECT_STREQ(normalizePath(nullptr).ptr(), "");
    EXPECT_STREQ(normalizePath("").ptr(), "");
}

TEST(NormalizePath, NeverGrowsNorLeavesOtherSeparators) {
    constexpr char alphabet[] = {'a', '.', '\\', '/'};
    for (int code = 1; code < 1 << 16; ++code) {
        std::string text;
        for (int rest = code; rest > 1; rest >>= 2) {
            text += alphabet[rest & 3];
        }
        const std::string result = normalizePath(text.c_str()).cstr();
        ASSERT_LE(result.size(), text.size()) << text;
        ASSERT_EQ(result.find('/'), std::string::npos) << text;
        ASSERT_EQ(result.find("\\\\", 2), std::string::npos) << text;
    }
    std::string longText;
    for (int i = 0; i < 20000; ++i) {
        longText += "/ab/../c";
    }
    EXPECT_EQ(normalizePath(longText.c_str()).length(), 20000 * 2);
}

class Paths : public testing::Test {
protected:
    const TestSupport::TempDirectory directory;
    const std::string base = directory.text();
};

TEST_F(Paths, TellFilesDirectoriesAndNothingApart) {
    directory.write("file", "x");
    EXPECT_TRUE(Brelt::fileExists(base.c_str()));
    EXPECT_TRUE(Brelt::fileExists((base + "/file").c_str()));
    EXPECT_FALSE(Brelt::fileExists((base + "/missing").c_str()));
    EXPECT_EQ(Brelt::isDirectory(base.c_str()), 1);
    EXPECT_EQ(Brelt::isDirectory((base + "/file").c_str()), 0);
    EXPECT_EQ(Brelt::isDirectory((base + "/missing").c_str()), 0);
    EXPECT_EQ(Brelt::isDirectory(nullptr), 0);
    std::string path = base + "/file";
    const Brelt::ErrorChain error = createPath(path.c_str());
    std::replace(path.begin(), path.end(), '/', '\\');
    EXPECT_EQ(printed(error),
              "[createPathImpl] 183: " + path + " already exists, but is not a valid directory");
    EXPECT_EQ(directory.read("file"), "x");
}

TEST_F(Paths, AreMadeWithEitherSeparatorAndInAnyScript) {
    const std::string name = "gr\xC3\xBC\xC3\x9F_\xE6\x9C\xA8_\xF0\x9F\x98\x80";
    EXPECT_FALSE(createPath((base + "/a\\b/c\\").c_str()));
    EXPECT_FALSE(createPath((base + "\\a/b/" + name).c_str()));
    EXPECT_FALSE(createPath((base + "/a/b").c_str()));
    EXPECT_TRUE(directory.exists("a/b/c"));
    EXPECT_TRUE(directory.exists("a/b/" + name));
    EXPECT_FALSE(createFilePath((base + "/x/y/file.txt").c_str()));
    EXPECT_TRUE(directory.exists("x/y"));
    EXPECT_FALSE(directory.exists("x/y/file.txt"));
    EXPECT_FALSE(createFilePath("name_without_directory.txt"));
    EXPECT_FALSE(std::filesystem::exists("name_without_directory.txt"));
}

TEST_F(Paths, UnusableTextsAreRefused) {
    const char* const empty = "[createPathImpl] -1: Empty string argument";
    EXPECT_EQ(printed(createPath(nullptr)), empty);
    EXPECT_EQ(printed(createFilePath("")), empty);
    for (const std::size_t length : {std::size_t{260}, std::size_t{1500}}) {
        std::string path = base + "/a/";
        path.append(length - path.size(), 'b');
        EXPECT_EQ(printed(createPath(path.c_str())),
                  "[createPathImpl] -1: Path length exceeds MAX_PATH");
    }
    EXPECT_FALSE(directory.exists("a"));
}

TEST_F(Paths, SeveralThreadsMayMakeTheSamePath) {
    const std::string path = base + "/a/b/c/d/e/f";
    std::vector<Brelt::ErrorChain> errors(4);
    std::vector<std::thread> threads;
    threads.reserve(errors.size());
    for (Brelt::ErrorChain& error : errors) {
        threads.emplace_back([&] { error = createPath(path.c_str()); });
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
