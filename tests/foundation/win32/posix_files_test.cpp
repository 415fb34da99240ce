// Files where the system is POSIX: its codes, what happens to descriptors, and calls that fail
// seldom.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <limits>
#include <string>
#include <tuple>

#include "foundation/paths.h"
#include "foundation/pfile_stream.h"
#include "foundation/texts.h"
#include "foundation/win32/fault_injection.h"
#include "foundation/win32/win32.h"
#include "support/process_state.h"
#include "support/temp_directory.h"

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

    /// The descriptor that the file is open under, or -1.
    int descriptor() const {
        for (int number = 0; number < 1000; ++number) {
            std::error_code ignored;
            if (std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(number), ignored) ==
                name) {
                return number;
            }
        }
        return -1;
    }

    const TestSupport::TempDirectory directory;
    const std::string base = directory.text();
    const std::string name = directory.text("sub/file");
    PFileStream stream;
};

TEST_F(PosixFiles, OpeningFailsWithTheCodeThatWindowsHasForTheSituation) {
    std::filesystem::create_symlink("loop", directory.path() / "loop");
    constexpr std::uint32_t open = 0;
    constexpr std::uint32_t make = PFileStream::openOrMake;
    constexpr std::uint32_t empty = PFileStream::alwaysEmpty;
    constexpr std::uint32_t fresh = PFileStream::mustNotExist;
    const std::tuple<std::string, std::uint32_t, DWORD> rows[] = {
        {"/missing", open, ERROR_FILE_NOT_FOUND},
        {"/missing/file", open, ERROR_PATH_NOT_FOUND},
        {"/missing/file", empty, ERROR_PATH_NOT_FOUND},
        {"/sub/file/below", make, ERROR_PATH_NOT_FOUND},
        {"/sub", open, ERROR_ACCESS_DENIED},
        {"/sub", empty, ERROR_ACCESS_DENIED},
        {"/sub/", empty, ERROR_ACCESS_DENIED},
        {"/sub/file/", open, ERROR_INVALID_NAME},
        {"/missing\\", empty, ERROR_INVALID_NAME},
        {"/sub/file", fresh, ERROR_FILE_EXISTS},
        {"/loop", open, ERROR_CANT_RESOLVE_FILENAME},
        {"/" + std::string(300, 'n'), empty, ERROR_FILENAME_EXCED_RANGE},
        {"/" + std::string(5000, 'n'), empty, ERROR_FILENAME_EXCED_RANGE},
        {"\\sub\\file", open, ERROR_SUCCESS},
        {"/sub\\new", fresh, ERROR_SUCCESS}};
    for (const auto& [path, mode, code] : rows) {
        EXPECT_EQ(codeOfOpen(base + path, mode), static_cast<std::int32_t>(code))
            << path << ", mode " << mode;
    }
    EXPECT_FALSE(directory.exists("missing"));
    for (const char* const path : {"kiv_missing", "\\kiv_missing"}) {
        EXPECT_EQ(codeOfOpen(path, open), 2) << path;
    }
    EXPECT_EQ(codeOfOpen(base + "/sub", open, PFileStream::readAccess), 5);
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
        ASSERT_EQ(codeOfOpen(name, PFileStream::writeThrough), 0);
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
    for (const char* const path : {"/sub", "\\sub\\\\", "\\link\\"}) {
        EXPECT_EQ(Brelt::isDirectory((base + path).c_str()), 1) << path;
    }
    for (const char* const path : {"/dangling", "\\sub\\file\\"}) {
        EXPECT_TRUE(Brelt::fileExists((base + path).c_str())) << path;
        EXPECT_EQ(Brelt::isDirectory((base + path).c_str()), 0) << path;
    }
    EXPECT_EQ(Brelt::isDirectory("\\"), 1);
    EXPECT_EQ(stream.SizeOfFile((base + "\\a*b").c_str()), 5);
    EXPECT_EQ(stream.SizeOfFile(base.c_str()), 0);
    EXPECT_EQ(stream.SizeOfFile((base + "/").c_str()), -1);
}

TEST(PosixNames, AnyBytesReachTheDiskUnchanged) {
    const TestSupport::TempDirectory directory;
    const std::string name = "\xFF\xC3 A\xE2\x82 \xF0\x9F\x98\x80\xC0\x80";
    EXPECT_FALSE(Brelt::createPath((directory.text() + "/" + name).c_str()));
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

}  // namespace
