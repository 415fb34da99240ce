// The walk of createPathImpl where it needs the stand-in: which levels are tried, and failures that
// a real disk gives only now and then.

#include <gtest/gtest.h>

#include <string>

#include "foundation/paths.h"
#include "foundation/win32/fault_injection.h"
#include "foundation/win32/win32.h"
#include "support/temp_directory.h"

using Brelt::FaultInjection;
using TestSupport::TempDirectory;

namespace {

std::string printed(const Brelt::ErrorChain& error) {
    return error.toCharString().cstr();
}

/// A fresh directory as the current one.
class CreatePathWalk : public testing::Test {
protected:
    CreatePathWalk() : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(directory.path());
    }
    ~CreatePathWalk() override { std::filesystem::current_path(before_); }

    TempDirectory directory;

private:
    std::filesystem::path before_;
};

/// How many directories a walk tries to make, when none can be made; and what it says then.
struct Tried {
    std::int64_t count;
    std::string text;
};

Tried tryAll(const char* path, bool includeLast) {
    const FaultInjection faults(
        {.calls = Brelt::createDirectoryCall, .code = ERROR_ACCESS_DENIED, .strikesOn = true});
    std::string text = printed(Brelt::createPathImpl(path, includeLast));
    return {faults.callCount(), text};
}

TEST_F(CreatePathWalk, TriesTheLevelsBehindTheRootOnly) {
    struct Row {
        const char* path;
        bool includeLast;
        std::int64_t count;
        const char* first;
    };
    for (const Row& row : {
             Row{R"(C:\a\b)", true, 2, R"(C:\a\)"},
             Row{R"(C:\a\b.txt)", false, 1, R"(C:\a\)"},
             Row{R"(C:\)", true, 1, R"(C:\)"},
             Row{R"(C:/a)", true, 1, R"(C:\a)"},
             Row{R"(a\b\)", true, 2, R"(a\)"},
             Row{R"(a\b\)", false, 2, R"(a\)"},
             Row{R"(\\no_such_srv\share\dir\)", true, 2, R"(\\no_such_srv\share\)"},
             Row{R"(\\no_such_srv)", true, 1, R"(\\no_such_srv)"},
             Row{R"(ab)", true, 1, R"(ab)"},
             Row{R"(\no_such_root\x)", false, 1, R"(\no_such_root\)"},
         }) {
        const Tried tried = tryAll(row.path, row.includeLast);
        EXPECT_EQ(tried.count, row.count) << row.path;
        EXPECT_EQ(tried.text,
                  "[createPathImpl] 5: " + std::string(row.first) + " (5) Access is denied.\r\n");
    }
    EXPECT_EQ(tryAll("b.txt", false).text, "No error");
    EXPECT_EQ(tryAll("\\", true).text, "No error");
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(CreatePathWalk, TheDriveIsNeverMade) {
    EXPECT_EQ(Brelt::createPath(R"(C:\a)").codeAt(0), 3);
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(CreatePathWalk, ALevelThatExistsMakesUpForAFailureBefore) {
    directory.write("locked/sub/file", "");
    const FaultInjection faults(
        {.calls = Brelt::getFileAttributesCall, .code = ERROR_ACCESS_DENIED},
        {.calls = Brelt::createDirectoryCall, .code = ERROR_ACCESS_DENIED});
    EXPECT_FALSE(Brelt::createPath(R"(locked\sub\)"));
    EXPECT_EQ(faults.callCount(1), 1);
}

TEST_F(CreatePathWalk, OfARunOfFailuresTheFirstIsTold) {
    const FaultInjection faults(
        {.calls = Brelt::createDirectoryCall, .strikeAt = 2, .code = ERROR_ACCESS_DENIED},
        {.calls = Brelt::createDirectoryCall, .strikeAt = 4, .code = ERROR_DISK_FULL});
    // The third level fails by itself, for lack of the second.
    EXPECT_EQ(printed(Brelt::createPath(R"(x\y\z\w)")),
              "[createPathImpl] 5: x\\y\\ (5) Access is denied.\r\n");
    EXPECT_TRUE(directory.exists("x"));
}

TEST_F(CreatePathWalk, CodesZeroAnd183CountAsSuccess) {
    for (const DWORD code : {ERROR_SUCCESS, ERROR_ALREADY_EXISTS}) {
        const FaultInjection faults({.calls = Brelt::createDirectoryCall, .code = code});
        EXPECT_FALSE(Brelt::createPath("neverMade"));
        EXPECT_TRUE(faults.hasStruck());
    }
}

TEST_F(CreatePathWalk, AFileOnTheWayEndsTheWalk) {
    directory.write("a/file", "kept");
    EXPECT_EQ(printed(Brelt::createPath("a/file/b")),
              R"([createPathImpl] 183: a\file\ already exists, but is not a valid directory)");
    EXPECT_EQ(directory.read("a/file"), "kept");
}

TEST_F(CreatePathWalk, TheLongestPathHas259Bytes) {
    std::string path = "a/" + std::string(200, 'b') + "/";
    path.append(259 - path.size(), 'c');
    EXPECT_FALSE(Brelt::createPath(path.c_str()));
    EXPECT_TRUE(directory.exists(path));
}

}  // namespace
