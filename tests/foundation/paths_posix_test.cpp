// The walk of createPathImpl where it needs the stand-in: which levels are tried, and failures that
// a real disk gives only now and then.

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "foundation/paths.h"
#include "foundation/texts.h"
#include "foundation/win32/fault_injection.h"
#include "foundation/win32/win32.h"
#include "support/temp_directory.h"

using Brelt::createPath;
using Brelt::FaultInjection;
using TestSupport::printed;

namespace {

/// A fresh directory as the current one.
class CreatePathWalk : public testing::Test {
protected:
    CreatePathWalk() { std::filesystem::current_path(directory.path()); }
    ~CreatePathWalk() override { std::filesystem::current_path(before_); }

    TestSupport::TempDirectory directory;

private:
    std::filesystem::path before_ = std::filesystem::current_path();
};

TEST_F(CreatePathWalk, TriesTheLevelsBehindTheRootOnly) {
    // How many directories are tried where none can be made, and the first of them.
    const std::tuple<const char*, bool, std::int64_t, std::string> rows[] = {
        {R"(C:\a\b)", true, 2, R"(C:\a\)"},
        {R"(C:\a\b.txt)", false, 1, R"(C:\a\)"},
        {R"(C:\)", true, 1, R"(C:\)"},
        {R"(C:/a)", true, 1, R"(C:\a)"},
        {R"(a\b\)", true, 2, R"(a\)"},
        {R"(a\b\)", false, 2, R"(a\)"},
        {R"(\\no_such_srv\share\dir\)", true, 2, R"(\\no_such_srv\share\)"},
        {R"(\\no_such_srv)", true, 1, R"(\\no_such_srv)"},
        {R"(ab)", true, 1, R"(ab)"},
        {R"(\no_such_root\x)", false, 1, R"(\no_such_root\)"},
        {"b.txt", false, 0, ""},
        {"\\", true, 0, ""}};
    for (const auto& [path, includeLast, count, first] : rows) {
        const FaultInjection faults(
            {.calls = Brelt::createDirectoryCall, .code = ERROR_ACCESS_DENIED, .strikesOn = true});
        EXPECT_EQ(printed(Brelt::createPathImpl(path, includeLast)),
                  count == 0 ? "No error"
                             : "[createPathImpl] 5: " + first + " (5) Access is denied.\r\n");
        EXPECT_EQ(faults.callCount(), count) << path;
    }
    EXPECT_EQ(createPath(R"(C:\a)").codeAt(0), 3) << "the drive is never made";
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(CreatePathWalk, ALevelThatExistsMakesUpForAFailureBefore) {
    directory.write("locked/sub/file", "");
    const FaultInjection faults(
        {.calls = Brelt::getFileAttributesCall, .code = ERROR_ACCESS_DENIED},
        {.calls = Brelt::createDirectoryCall, .code = ERROR_ACCESS_DENIED});
    EXPECT_FALSE(createPath(R"(locked\sub\)"));
    EXPECT_EQ(faults.callCount(1), 1);
}

TEST_F(CreatePathWalk, OfARunOfFailuresTheFirstIsTold) {
    const FaultInjection faults(
        {.calls = Brelt::createDirectoryCall, .strikeAt = 2, .code = ERROR_ACCESS_DENIED},
        {.calls = Brelt::createDirectoryCall, .strikeAt = 4, .code = ERROR_DISK_FULL});
    // The third level fails by itself, for lack of the second.
    EXPECT_EQ(printed(createPath(R"(x\y\z\w)")),
              "[createPathImpl] 5: x\\y\\ (5) Access is denied.\r\n");
    EXPECT_TRUE(directory.exists("x"));
}

TEST_F(CreatePathWalk, CodesZeroAnd183CountAsSuccess) {
    for (const DWORD code : {ERROR_SUCCESS, ERROR_ALREADY_EXISTS}) {
        const FaultInjection faults({.calls = Brelt::createDirectoryCall, .code = code});
        EXPECT_FALSE(createPath("neverMade"));
        EXPECT_TRUE(faults.hasStruck());
    }
}

TEST_F(CreatePathWalk, AFileOnTheWayEndsTheWalk) {
    directory.write("a/file", "kept");
    EXPECT_EQ(printed(createPath("a/file/b")),
              R"([createPathImpl] 183: a\file\ already exists, but is not a valid directory)");
    EXPECT_EQ(directory.read("a/file"), "kept");
}

TEST_F(CreatePathWalk, TheLongestPathHas259Bytes) {
    std::string path = "a/" + std::string(200, 'b') + "/";
    path.append(259 - path.size(), 'c');
    EXPECT_FALSE(createPath(path.c_str()));
    EXPECT_TRUE(directory.exists(path));
}

}  // namespace
