// The stand-in's calls on files: the codes of failures, positions, and what happens to descriptors.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "posix_test_support.h"

using TestSupport::createFile;
using TestSupport::errorOfCreateFile;
using TestSupport::TempDirectory;

namespace {

TEST(PosixCreateFile, FailsWithTheCodeThatWindowsHasForTheSituation) {
    const TempDirectory directory;
    directory.write("file", "x");
    directory.write("sub/file", "x");
    std::filesystem::create_symlink("loop", directory.path() / "loop");
    struct Row {
        const char* name;
        DWORD disposition;
        DWORD code;
    };
    const std::string longName = "/" + std::string(300, 'n');
    const std::string longPath = "/" + std::string(5000, 'n');
    for (const Row& row : {
             Row{"/missing", OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
             Row{"/missing/file", OPEN_EXISTING, ERROR_PATH_NOT_FOUND},
             Row{"/missing/file", CREATE_ALWAYS, ERROR_PATH_NOT_FOUND},
             Row{"/file/below", OPEN_ALWAYS, ERROR_PATH_NOT_FOUND},
             Row{"/sub", OPEN_EXISTING, ERROR_ACCESS_DENIED},
             Row{"/sub", CREATE_ALWAYS, ERROR_ACCESS_DENIED},
             Row{"/sub/", CREATE_ALWAYS, ERROR_ACCESS_DENIED},
             Row{"/file/", OPEN_EXISTING, ERROR_INVALID_NAME},
             Row{"/missing\\", CREATE_ALWAYS, ERROR_INVALID_NAME},
             Row{"/file", CREATE_NEW, ERROR_FILE_EXISTS},
             Row{"/loop", OPEN_EXISTING, ERROR_CANT_RESOLVE_FILENAME},
             Row{longName.c_str(), CREATE_ALWAYS, ERROR_FILENAME_EXCED_RANGE},
             Row{longPath.c_str(), CREATE_ALWAYS, ERROR_FILENAME_EXCED_RANGE},
             Row{"\\sub\\file", OPEN_EXISTING, 0},
             Row{"/sub\\new", CREATE_NEW, 0},
         }) {
        EXPECT_EQ(errorOfCreateFile(directory.text() + row.name, row.disposition), row.code)
            << row.name << ", disposition " << row.disposition;
    }
    EXPECT_EQ(errorOfCreateFile("", OPEN_ALWAYS), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(errorOfCreateFile(directory.text("sub"), OPEN_EXISTING, GENERIC_READ),
              ERROR_ACCESS_DENIED);
    EXPECT_FALSE(directory.exists("missing"));
}

TEST(PosixCreateFile, OutOfDescriptorsIsTooManyOpenFiles) {
    const TempDirectory directory;
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const DWORD code = errorOfCreateFile(directory.text("file"), CREATE_ALWAYS);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(code, ERROR_TOO_MANY_OPEN_FILES);
}

TEST(PosixCreateFile, APipeInAFilesPlaceHoldsNobodyUp) {
    const TempDirectory directory;
    ASSERT_EQ(mkfifo(directory.text("pipe").c_str(), 0600), 0);
    const HANDLE file = createFile(directory.text("pipe"), OPEN_EXISTING, GENERIC_READ);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    char byte = 0;
    DWORD read = 1;
    EXPECT_TRUE(ReadFile(file, &byte, 1, &read, nullptr));
    EXPECT_EQ(read, 0U);
    LONG high = 0;
    EXPECT_EQ(SetFilePointer(file, 0, &high, FILE_BEGIN), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), ERROR_SEEK_ON_DEVICE);
    CloseHandle(file);
}

TEST(PosixCreateFile, ProgramsThatAreStartedDontInheritTheFile) {
    const TempDirectory directory;
    const HANDLE file = createFile(directory.text("file"), CREATE_ALWAYS);
    const int descriptor = TestSupport::descriptorOn(directory.path() / "file");
    ASSERT_NE(descriptor, -1);
    EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
    CloseHandle(file);
}

TEST(PosixCreateFile, AFileNeverTakesTheNumberOfAClosedStandardStream) {
    const TempDirectory directory;
    const int kept = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10);
    close(STDIN_FILENO);
    const HANDLE file = createFile(directory.text("file"), CREATE_ALWAYS);
    const int descriptor = TestSupport::descriptorOn(directory.path() / "file");
    const bool stillClosed = fcntl(STDIN_FILENO, F_GETFD) == -1;
    CloseHandle(file);
    if (kept != -1) {
        dup2(kept, STDIN_FILENO);
        close(kept);
    }
    EXPECT_GT(descriptor, STDERR_FILENO);
    EXPECT_TRUE(stillClosed);
}

TEST(PosixFiles, CallsOnAHandleThatIsNoneFailWithInvalidHandle) {
    char byte = 0;
    DWORD moved = 7;
    DWORD high = 0;
    LONG distanceHigh = 0;
    for (const HANDLE file : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE,
                              reinterpret_cast<HANDLE>(std::intptr_t{1000000})}) {
        const auto invalid = [] {
            const DWORD code = GetLastError();
            SetLastError(0);
            return code == ERROR_INVALID_HANDLE;
        };
        EXPECT_TRUE(!ReadFile(file, &byte, 1, &moved, nullptr) && moved == 0 && invalid());
        EXPECT_TRUE(!WriteFile(file, &byte, 1, &moved, nullptr) && moved == 0 && invalid());
        EXPECT_TRUE(!WriteFile(file, &byte, 0, &moved, nullptr) && invalid());
        EXPECT_TRUE(SetFilePointer(file, 0, &distanceHigh, FILE_BEGIN) == 0xFFFFFFFF && invalid());
        EXPECT_TRUE(GetFileSize(file, &high) == 0xFFFFFFFF && invalid());
        EXPECT_TRUE(!SetEndOfFile(file) && invalid());
        EXPECT_TRUE(!FlushFileBuffers(file) && invalid());
        EXPECT_TRUE(!CloseHandle(file) && invalid());
        EXPECT_TRUE(!FindClose(file) && invalid());
    }
}

TEST(PosixFiles, ASoundHandleWithoutTheAccessIsDenied) {
    const TempDirectory directory;
    directory.write("file", "abc");
    char byte = 'x';
    DWORD moved = 0;
    const HANDLE reader = createFile(directory.text("file"), OPEN_EXISTING, GENERIC_READ);
    const auto denied = [] { return GetLastError() == ERROR_ACCESS_DENIED; };
    EXPECT_TRUE(!WriteFile(reader, &byte, 1, &moved, nullptr) && denied());
    SetLastError(0);
    EXPECT_TRUE(!SetEndOfFile(reader) && denied());
    SetLastError(0);
    EXPECT_TRUE(!FlushFileBuffers(reader) && denied());
    CloseHandle(reader);
    SetLastError(0);
    const HANDLE writer = createFile(directory.text("file"), OPEN_EXISTING, GENERIC_WRITE);
    EXPECT_TRUE(!ReadFile(writer, &byte, 1, &moved, nullptr) && denied());
    EXPECT_TRUE(FlushFileBuffers(writer));
    CloseHandle(writer);
    EXPECT_EQ(directory.read("file"), "abc");
}

TEST(PosixFiles, AFullDiskIsToldAsSuch) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    const HANDLE file = createFile("/dev/full", OPEN_EXISTING, GENERIC_WRITE);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    DWORD written = 9;
    EXPECT_FALSE(WriteFile(file, "abc", 3, &written, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
    EXPECT_EQ(written, 0U);
    CloseHandle(file);
}

TEST(PosixFiles, AShortWriteIsGoneOnWithUntilTheSystemSaysWhy) {
    const TempDirectory directory;
    const HANDLE file = createFile(directory.text("file"), CREATE_ALWAYS);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit fiveBytes = before;
    fiveBytes.rlim_cur = 5;
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &fiveBytes), 0);
    DWORD written = 0;
    const BOOL done = WriteFile(file, "0123456789", 10, &written, nullptr);
    const DWORD code = GetLastError();
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(done);
    EXPECT_EQ(code, ERROR_FILE_TOO_LARGE);
    EXPECT_EQ(written, 5U);
    CloseHandle(file);
    EXPECT_EQ(directory.read("file"), "01234");
}

TEST(PosixSetFilePointer, MovesAsToldAndRefusesWhatWindowsRefuses) {
    const TempDirectory directory;
    directory.write("file", "0123456789");
    const HANDLE file = createFile(directory.text("file"), OPEN_EXISTING);
    struct Row {
        LONG low;
        LONG high;
        DWORD method;
        DWORD position;
        DWORD code;
    };
    constexpr DWORD failed = INVALID_SET_FILE_POINTER;
    for (const Row& row : {
             Row{4, 0, FILE_BEGIN, 4, 0},
             Row{-1, -1, FILE_CURRENT, 3, 0},
             Row{-3, -1, FILE_END, 7, 0},
             Row{90, 0, FILE_BEGIN, 90, 0},
             Row{-91, -1, FILE_CURRENT, failed, ERROR_NEGATIVE_SEEK},
             Row{-1, -1, FILE_BEGIN, failed, ERROR_NEGATIVE_SEEK},
             Row{-1, 0x7FFFFFFF, FILE_CURRENT, failed, ERROR_INVALID_PARAMETER},
             Row{0, 0, FILE_CURRENT, 90, 0},
             Row{-1, 0, FILE_BEGIN, 0xFFFFFFFF, 0},
         }) {
        SetLastError(12345);
        LONG high = row.high;
        EXPECT_EQ(SetFilePointer(file, row.low, &high, row.method), row.position);
        EXPECT_EQ(GetLastError(), row.code) << row.low << ", method " << row.method;
    }
    LONG high = 3;
    EXPECT_EQ(SetFilePointer(file, 5, &high, FILE_BEGIN), 5U);
    EXPECT_EQ(high, 3);
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(SetFilePointer(file, -2, nullptr, FILE_END), 8U);
    CloseHandle(file);
}

TEST(PosixCreateFile, WriteThroughAndSequentialScanAreTaken) {
    const TempDirectory directory;
    const std::u16string name = TestSupport::wide(directory.text("file"));
    const HANDLE file =
        CreateFileW(name.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                    FILE_FLAG_WRITE_THROUGH | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    const int descriptor = TestSupport::descriptorOn(directory.path() / "file");
    EXPECT_EQ(fcntl(descriptor, F_GETFL) & O_SYNC, O_SYNC);
    CloseHandle(file);
}

}  // namespace
