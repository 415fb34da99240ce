// Injected faults: which call fails, with what, and what it leaves behind.

#include <gtest/gtest.h>

#include "posix_test_support.h"

using Brelt::FaultInjection;
using TestSupport::createFile;
using TestSupport::errorOfCreateFile;
using TestSupport::TempDirectory;

namespace {

/// Creates, writes, closes: three calls that can fail. 0, or the code of the first that did.
DWORD writeOnce(const std::string& name) {
    const HANDLE file = createFile(name, CREATE_ALWAYS);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    DWORD written = 0;
    const DWORD code = WriteFile(file, "abc", 3, &written, nullptr) ? 0 : GetLastError();
    if (!CloseHandle(file) && code == 0) {
        return GetLastError();
    }
    return code;
}

TEST(FaultInjection, EachCallFailsOnceUntilTheRunPasses) {
    const TempDirectory directory;
    const auto descriptors = TestSupport::openDescriptors();
    std::int64_t n = 1;
    for (;; ++n) {
        const FaultInjection faults({.strikeAt = n, .code = ERROR_IO_DEVICE});
        const DWORD code = writeOnce(directory.text("file"));
        EXPECT_EQ(TestSupport::openDescriptors(), descriptors) << "call " << n;
        if (!faults.hasStruck()) {
            EXPECT_EQ(code, 0U);
            break;
        }
        EXPECT_EQ(code, ERROR_IO_DEVICE) << "call " << n;
    }
    EXPECT_EQ(n, 4);
    EXPECT_EQ(directory.read("file"), "abc");
}

TEST(FaultInjection, AStruckCreateFileMakesNoFile) {
    const TempDirectory directory;
    const FaultInjection faults({.calls = Brelt::createFileCall, .code = ERROR_DISK_FULL});
    EXPECT_EQ(errorOfCreateFile(directory.text("file"), CREATE_ALWAYS), ERROR_DISK_FULL);
    EXPECT_FALSE(directory.exists("file"));
    EXPECT_EQ(errorOfCreateFile(directory.text("file"), CREATE_ALWAYS), 0U);
}

TEST(FaultInjection, ATransferCanEndEarlyWithAndWithoutAnError) {
    const TempDirectory directory;
    const HANDLE file = createFile(directory.text("file"), CREATE_ALWAYS);
    DWORD moved = 0;
    {
        const FaultInjection faults({.calls = Brelt::writeFileCall, .bytesMoved = 2});
        EXPECT_TRUE(WriteFile(file, "abcd", 4, &moved, nullptr));
        EXPECT_EQ(moved, 2U);
    }
    {
        const FaultInjection faults(
            {.calls = Brelt::writeFileCall, .code = ERROR_DISK_FULL, .bytesMoved = 1});
        EXPECT_FALSE(WriteFile(file, "cd", 2, &moved, nullptr));
        EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
        EXPECT_EQ(moved, 1U);
    }
    CloseHandle(file);
    EXPECT_EQ(directory.read("file"), "abc");
}

TEST(FaultInjection, SeveralFaultsCountTheirOwnCalls) {
    const FaultInjection faults(
        {.calls = Brelt::getFileAttributesCall, .strikeAt = 2, .code = 5},
        {.calls = Brelt::createDirectoryCall, .code = 19, .strikesOn = true});
    const TempDirectory directory;
    const std::u16string name = TestSupport::wide(directory.text());
    EXPECT_EQ(GetFileAttributesW(name.c_str()), FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_FALSE(faults.hasStruck());
    EXPECT_EQ(GetFileAttributesW(name.c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), 5U);
    EXPECT_EQ(GetFileAttributesW(name.c_str()), FILE_ATTRIBUTE_DIRECTORY);
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(CreateDirectoryW(u"anywhere", nullptr));
        EXPECT_EQ(GetLastError(), 19U);
    }
    EXPECT_EQ(faults.callCount(0), 3);
    EXPECT_EQ(faults.callCount(1), 2);
}

}  // namespace
