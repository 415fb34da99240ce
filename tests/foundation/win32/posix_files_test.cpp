// Files and new directories where the system is POSIX: its codes, what happens to descriptors, and
// failures that a real disk gives only now and then.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "foundation/paths.h"
#include "foundation/pfile_stream.h"
#include "foundation/texts.h"
#include "foundation/win32/fault_injection.h"
#include "foundation/win32/win32.h"
#include "support/process_state.h"
#include "support/temp_directory.h"

using Brelt::createPath;
using Brelt::FaultInjection;
using Brelt::PFileStream;
using TestSupport::printed;
using TestSupport::ProcessState;

namespace {

class PosixFiles : public testing::Test {
protected:
    PosixFiles() { directory.write("sub/file", "abc"); }

    std::int32_t codeOfOpen(const std::string& path, std::uint32_t mode,
                            std::uint32_t access = PFileStream::readAccess |
                                                   PFileStream::writeAccess) {
        return stream.Open(path.c_str(), access, PFileStream::shareRead, mode).codeAt(0);
    }

    /// A handle is the descriptor plus one.
    int descriptor() const {
        return static_cast<int>(reinterpret_cast<std::intptr_t>(stream.file)) - 1;
    }

    const TestSupport::TempDirectory directory;
    const std::string base = directory.text();
    const std::string name = directory.text("sub/file");
    PFileStream stream;
};

TEST_F(PosixFiles, OpeningFailsWithTheCodeThatWindowsHasForTheSituation) {
    std::filesystem::create_symlink("loop", directory.path() / "loop");
    // The longest names, which no row can spell out.
    const std::string longName = "/" + std::string(300, 'n') + " -> 206";
    const std::string longPath = "/" + std::string(5000, 'n') + " -> 206";
    const std::pair<std::uint32_t, std::vector<std::string>> groups[] = {
        {0,
         {"/missing -> 2", "/missing/file -> 3", "/sub -> 5", "/sub/file/ -> 123", "/loop -> 1921",
          "\\sub\\file -> 0"}},
        {PFileStream::openOrMake, {"/sub/file/below -> 3"}},
        {PFileStream::alwaysEmpty,
         {"/missing/file -> 3", "/sub -> 5", "/sub/ -> 5", "/missing\\ -> 123", longName,
          longPath}},
        {PFileStream::mustNotExist, {"/sub/file -> 80", "/sub\\new -> 0"}}};
    for (const auto& [mode, rows] : groups) {
        for (const std::string& row : rows) {
            const auto [path, code] = TestSupport::bothSides(row);
            EXPECT_EQ(std::to_string(codeOfOpen(base + path, mode)), code)
                << row << ", mode " << mode;
        }
    }
    EXPECT_FALSE(directory.exists("missing"));
    for (const char* const path : {"kiv_missing", "\\kiv_missing"}) {
        EXPECT_EQ(codeOfOpen(path, 0), 2) << path;
    }
    EXPECT_EQ(codeOfOpen(base + "/sub", 0, PFileStream::readAccess), 5);
}

TEST_F(PosixFiles, APipeInAFilesPlaceHoldsNobodyUp) {
    ASSERT_EQ(mkfifo(directory.text("pipe").c_str(), 0600), 0);
    ASSERT_EQ(codeOfOpen(directory.text("pipe"), 0, PFileStream::readAccess), 0);
    char byte = 0;
    std::int32_t read = 1;
    EXPECT_FALSE(stream.Read(&byte, 1, &read));
    EXPECT_EQ(read, 0);
    EXPECT_EQ(stream.Seek(0).codeAt(0), 132);
}

TEST_F(PosixFiles, NoFileIsInheritedNorTakesTheNumberOfAClosedStandardStream) {
    const int kept = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10);
    for (const bool standardInputIsClosed : {false, true}) {
        if (standardInputIsClosed) {
            close(STDIN_FILENO);
        }
        EXPECT_EQ(codeOfOpen(name, PFileStream::writeThrough), 0);
        EXPECT_GT(descriptor(), STDERR_FILENO);
        EXPECT_NE(fcntl(descriptor(), F_GETFD) & FD_CLOEXEC, 0);
        EXPECT_EQ(fcntl(descriptor(), F_GETFL) & O_SYNC, O_SYNC);
    }
    const bool isStillClosed = fcntl(STDIN_FILENO, F_GETFD) == -1;
    if (kept != -1) {
        dup2(kept, STDIN_FILENO);
        close(kept);
    }
    EXPECT_TRUE(isStillClosed);
}

TEST_F(PosixFiles, AnOpenFileWithoutTheAccessIsDenied) {
    char byte = 'x';
    std::int32_t moved = 0;
    ASSERT_EQ(codeOfOpen(name, 0, PFileStream::readAccess), 0);
    EXPECT_EQ(stream.Truncate().codeAt(0), 5);
    EXPECT_EQ(stream.Flush().codeAt(0), 5);
    EXPECT_EQ(stream.SeekOff(1).codeAt(0), 0);
    EXPECT_EQ(stream.SeekOff(std::numeric_limits<std::int64_t>::max()).codeAt(0), 87);
    ASSERT_EQ(codeOfOpen(name, 0, PFileStream::writeAccess), 0);
    EXPECT_EQ(stream.Read(&byte, 1, &moved).codeAt(0), 5);
    EXPECT_FALSE(stream.Flush());
    EXPECT_EQ(directory.read("sub/file"), "abc");
}

TEST_F(PosixFiles, AShortWriteIsGoneOnWithUntilTheSystemSaysWhy) {
    ASSERT_FALSE(stream.Create(name.c_str(), 3));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit fiveBytes{5, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &fiveBytes), 0);
    std::int32_t written = 0;
    const Brelt::ErrorChain error = stream.Write("0123456789", 10, &written);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(error.codeAt(0), static_cast<std::int32_t>(ERROR_FILE_TOO_LARGE));
    EXPECT_EQ(written, 5);
    EXPECT_EQ(directory.read("sub/file"), "01234");
}

TEST_F(PosixFiles, LinksAndStarsAreNamesLikeOthers) {
    std::filesystem::create_symlink("nowhere", directory.path() / "dangling");
    std::filesystem::create_directory_symlink("sub", directory.path() / "link");
    directory.write("a*b", "12345");
    directory.write("axb", "1");
    EXPECT_EQ(Brelt::isDirectory((base + "\\link\\\\").c_str()), 1);
    for (const char* const path : {"/dangling", "\\sub\\file\\"}) {
        EXPECT_TRUE(Brelt::fileExists((base + path).c_str())) << path;
        EXPECT_EQ(Brelt::isDirectory((base + path).c_str()), 0) << path;
    }
    EXPECT_EQ(Brelt::isDirectory("\\"), 1);
    EXPECT_EQ(stream.SizeOfFile((base + "\\a*b").c_str()), 5);
    EXPECT_EQ(stream.SizeOfFile(base.c_str()), 0);
}

TEST(PosixNames, AnyBytesReachTheDiskUnchanged) {
    const TestSupport::TempDirectory directory;
    const std::string name = "\xFF\xC3 A\xE2\x82 \xF0\x9F\x98\x80\xC0\x80";
    EXPECT_FALSE(createPath((directory.text() + "/" + name).c_str()));
    PFileStream stream;
    ASSERT_FALSE(stream.Create((directory.text() + "/" + name + "/" + name).c_str(), 3));
    EXPECT_TRUE(std::filesystem::is_regular_file(directory.path() / name / name));
}

TEST_F(PosixFiles, AFailedCloseLeavesTheStreamClosed) {
    const ProcessState before = ProcessState::now();
    ASSERT_FALSE(stream.Create(name.c_str(), 3));
    {
        const FaultInjection faults({.calls = Brelt::closeHandleCall, .code = ERROR_DISK_FULL});
        // It closes first, and gives up when that fails.
        EXPECT_EQ(printed(stream.Create(name.c_str(), 3)),
                  "[PFileStream::Close] 112: (112) There is not enough space on the disk.\r\n");
    }
    EXPECT_EQ(stream.IsOpen(), 0);
    EXPECT_EQ(stream.file, nullptr);
    EXPECT_EQ(ProcessState::now(), before);
    EXPECT_FALSE(stream.Close());
}

TEST_F(PosixFiles, AFileThatCantBeAppendedToIsntLeftOpen) {
    const ProcessState before = ProcessState::now();
    const FaultInjection faults(
        {.calls = Brelt::setFilePointerCall, .code = ERROR_IO_DEVICE, .strikesOn = true});
    EXPECT_TRUE(printed(stream.Create(name.c_str(), PFileStream::atEnd))
                    .starts_with("[PFileStream::Create] 1117: "));
    EXPECT_EQ(codeOfOpen(name, PFileStream::atEnd), 1117);
    EXPECT_EQ(stream.IsOpen(), 0);
    EXPECT_EQ(ProcessState::now(), before);
}

TEST_F(PosixFiles, ShortTransfersShowInTheCounters) {
    ASSERT_FALSE(stream.Create(name.c_str(), 3));
    for (const std::uint32_t code : {ERROR_SUCCESS, ERROR_DISK_FULL}) {
        const FaultInjection faults({.calls = Brelt::writeFileCall, .code = code, .bytesMoved = 2});
        std::int32_t written = 0;
        EXPECT_EQ(stream.Write("abcd", 4, &written).codeAt(0), static_cast<std::int32_t>(code));
        EXPECT_EQ(written, 2);
    }
    EXPECT_EQ(stream.Size(), 4);
}

/// A fresh directory as the current one.
class CreatePathWalk : public testing::Test {
protected:
    CreatePathWalk() { std::filesystem::current_path(directory.path()); }
    ~CreatePathWalk() override { std::filesystem::current_path(before_); }

    /// How many directories are tried where none can be made, and the first of them.
    static std::string tried(const std::string& path, bool includeLast) {
        const FaultInjection faults(
            {.calls = Brelt::createDirectoryCall, .code = ERROR_ACCESS_DENIED, .strikesOn = true});
        const std::string told = printed(Brelt::createPathImpl(path.c_str(), includeLast));
        const std::string start = "[createPathImpl] 5: ";
        const std::string end = " (5) Access is denied.\r\n";
        return std::to_string(faults.callCount()) + " " +
               (told.starts_with(start) && told.ends_with(end)
                    ? told.substr(start.size(), told.size() - start.size() - end.size())
                    : told);
    }

    const TestSupport::TempDirectory directory;

private:
    std::filesystem::path before_ = std::filesystem::current_path();
};

TEST_F(CreatePathWalk, TriesTheLevelsBehindTheRootOnly) {
    for (const char* const row :
         {R"(C:\a\b -> 2 C:\a\)", R"(C:\ -> 1 C:\)", R"(C:/a -> 1 C:\a)", R"(a\b\ -> 2 a\)",
          R"(\\no_such_srv\share\dir\ -> 2 \\no_such_srv\share\)",
          R"(\\no_such_srv -> 1 \\no_such_srv)", "ab -> 1 ab", R"(\ -> 0 No error)"}) {
        const auto [path, expected] = TestSupport::bothSides(row);
        EXPECT_EQ(tried(path, true), expected) << row;
    }
    for (const char* const row :
         {R"(C:\a\b.txt -> 1 C:\a\)", R"(a\b\ -> 2 a\)", R"(\no_such_root\x -> 1 \no_such_root\)",
          "b.txt -> 0 No error"}) {
        const auto [path, expected] = TestSupport::bothSides(row);
        EXPECT_EQ(tried(path, false), expected) << row;
    }
    EXPECT_EQ(createPath(R"(C:\a)").codeAt(0), 3) << "the drive is never made";
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(CreatePathWalk, ALevelThatExistsMakesUpForAFailureBefore) {
    directory.write("locked/sub/file", "");
    const FaultInjection faults(
        {.calls = Brelt::getFileAttributesCall, .code = ERROR_ACCESS_DENIED},
        {.calls = Brelt::createDirectoryCall, .code = ERROR_ACCESS_DENIED});
    EXPECT_FALSE(createPath(R"(locked\sub\..\sub\)")) << "walked over, for its dots";
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

TEST_F(CreatePathWalk, TheLongestPathHas259Bytes) {
    std::string path = "a/" + std::string(200, 'b') + "/";
    path.append(259 - path.size(), 'c');
    EXPECT_FALSE(createPath(path.c_str()));
    EXPECT_TRUE(directory.exists(path));
}

}  // namespace
