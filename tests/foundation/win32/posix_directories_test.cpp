// The stand-in's calls on names: attributes, searches, new directories.

#include <gtest/gtest.h>

#include "posix_test_support.h"

using TestSupport::TempDirectory;
using TestSupport::wide;

namespace {

/// The attributes, or the last error with the sign turned.
std::int64_t attributesOrError(const std::string& name) {
    const DWORD attributes = GetFileAttributesW(wide(name).c_str());
    return attributes == INVALID_FILE_ATTRIBUTES ? -std::int64_t{GetLastError()} : attributes;
}

DWORD errorOfCreateDirectory(const std::string& name) {
    return CreateDirectoryW(wide(name).c_str(), nullptr) != FALSE ? 0 : GetLastError();
}

TEST(PosixAttributes, TellDirectoriesFromAllElse) {
    const TempDirectory directory;
    directory.write("sub/file", "x");
    std::filesystem::create_symlink("nowhere", directory.path() / "dangling");
    std::filesystem::create_directory_symlink("sub", directory.path() / "link");
    const std::string base = directory.text();
    EXPECT_EQ(attributesOrError(base + "/sub"), FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(attributesOrError(base + "\\sub\\\\"), FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(attributesOrError(base + "\\link\\"), FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(attributesOrError("\\"), FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(attributesOrError(base + "/sub/file"), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(attributesOrError(base + "/dangling"), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(attributesOrError(base + "/missing"), -std::int64_t{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(attributesOrError(base + "/missing/x"), -std::int64_t{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(attributesOrError(""), -std::int64_t{ERROR_PATH_NOT_FOUND});
}

TEST(PosixAttributes, ASeparatorBehindTheNameDoesntHideAFile) {
    const TempDirectory directory;
    directory.write("file", "x");
    EXPECT_EQ(attributesOrError(directory.text() + "\\file\\"), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(errorOfCreateDirectory(directory.text() + "\\file\\"), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(errorOfCreateDirectory(directory.text() + "\\file\\x\\"), ERROR_PATH_NOT_FOUND);
}

TEST(PosixCreateDirectory, MakesOneLevelAndTellsWhyNot) {
    const TempDirectory directory;
    const std::string base = directory.text();
    EXPECT_EQ(errorOfCreateDirectory(base + "\\a\\"), 0U);
    EXPECT_EQ(errorOfCreateDirectory(base + "/a"), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(errorOfCreateDirectory(base + "/a\\b"), 0U);
    EXPECT_TRUE(std::filesystem::is_directory(directory.path() / "a" / "b"));
    EXPECT_EQ(errorOfCreateDirectory(base + "/x/y"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(errorOfCreateDirectory(base + "/" + std::string(300, 'n')),
              ERROR_FILENAME_EXCED_RANGE);
    EXPECT_EQ(errorOfCreateDirectory(""), ERROR_PATH_NOT_FOUND);
}

TEST(PosixFindFirstFile, GivesTheSizeWithoutWildcards) {
    const TempDirectory directory;
    directory.write("a*b", "12345");
    directory.write("axb", "1");
    const std::filesystem::path large = directory.path() / "large";
    directory.write("large", "");
    std::filesystem::resize_file(large, 0x100000005);
    const auto find = [&](const std::string& name, WIN32_FIND_DATAW& found) {
        const HANDLE search = FindFirstFileW(wide(directory.text() + name).c_str(), &found);
        return search != INVALID_HANDLE_VALUE && FindClose(search) != FALSE;
    };
    WIN32_FIND_DATAW found{};
    ASSERT_TRUE(find("\\a*b", found));
    EXPECT_EQ(found.nFileSizeLow, 5U);
    ASSERT_TRUE(find("/large", found));
    EXPECT_EQ(found.nFileSizeHigh, 1U);
    EXPECT_EQ(found.nFileSizeLow, 5U);
    ASSERT_TRUE(find("", found));
    EXPECT_EQ(found.dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(found.nFileSizeLow, 0U);
    EXPECT_FALSE(find("/", found));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(find("/missing/x", found));
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
}

TEST(PosixNames, AnyBytesReachTheDiskUnchanged) {
    const TempDirectory directory;
    const std::string name =
        "\xFF\xC3"
        "A\xE2\x82 \xF0\x9F\x98\x80\xC0\x80";
    EXPECT_EQ(errorOfCreateDirectory(directory.text() + "/" + name), 0U);
    const std::filesystem::directory_iterator entries(directory.path());
    EXPECT_EQ(entries->path().filename().native(), name);
}

}  // namespace
