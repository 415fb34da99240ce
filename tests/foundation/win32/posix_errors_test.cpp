// errno as codes of Windows, the texts of the codes, and the last error.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <ostream>
#include <thread>

#include "foundation/error_chain.h"
#include "posix_test_support.h"

using Brelt::PosixSupport::codeFromErrno;
using Brelt::PosixSupport::NarrowPath;

namespace {

struct Row {
    int number;
    DWORD code;
    const char* text;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << "errno " << row.number;
}

class PosixErrorTable : public testing::TestWithParam<Row> {};

TEST_P(PosixErrorTable, GivesTheCodeAndTheTextOfWindows) {
    const Row& row = GetParam();
    EXPECT_EQ(codeFromErrno(row.number), row.code);
    const std::string expected = "(" + std::to_string(row.code) + ") " + row.text + "\r\n";
    EXPECT_STREQ(Brelt::getOsErrorText(row.code).cstr(), expected.c_str());
}

constexpr const char* inUse =
    "The process cannot access the file because it is being used by another process.";

INSTANTIATE_TEST_SUITE_P(
    AllRows, PosixErrorTable,
    testing::Values(
        Row{ENOENT, 2, "The system cannot find the file specified."},
        Row{ENOTDIR, 3, "The system cannot find the path specified."},
        Row{EMFILE, 4, "The system cannot open the file."},
        Row{ENFILE, 4, "The system cannot open the file."}, Row{EACCES, 5, "Access is denied."},
        Row{EPERM, 5, "Access is denied."}, Row{EISDIR, 5, "Access is denied."},
        Row{EBADF, 6, "The handle is invalid."},
        Row{ENOMEM, 8, "Not enough memory resources are available to process this command."},
        Row{EROFS, 19, "The media is write protected."}, Row{EBUSY, 32, inUse},
        Row{ETXTBSY, 32, inUse}, Row{EAGAIN, 32, inUse},
        Row{EOPNOTSUPP, 50, "The request is not supported."}, Row{EEXIST, 80, "The file exists."},
        Row{EINVAL, 87, "The parameter is incorrect."}, Row{EPIPE, 109, "The pipe has been ended."},
        Row{ENOSPC, 112, "There is not enough space on the disk."},
        Row{EDQUOT, 112, "There is not enough space on the disk."},
        Row{EILSEQ, 123, "The filename, directory name, or volume label syntax is incorrect."},
        Row{ESPIPE, 132, "The file pointer cannot be set on the specified device or file."},
        Row{ENAMETOOLONG, 206, "The filename or extension is too long."},
        Row{EFBIG, 223, "The file size exceeds the limit allowed and cannot be saved."},
        Row{EINTR, 995,
            "The I/O operation has been aborted because of either a thread exit or an application "
            "request."},
        Row{EFAULT, 998, "Invalid access to memory location."},
        Row{EIO, 1117, "The request could not be performed because of an I/O device error."},
        Row{EMLINK, 1142,
            "An attempt was made to create more links on a file than the file system supports."},
        Row{ELOOP, 1921, "The name of the file cannot be resolved by the system."}));

TEST(PosixErrors, CodesThatNoErrnoStandsForHaveTextsToo) {
    for (const DWORD code :
         {ERROR_NEGATIVE_SEEK, ERROR_ALREADY_EXISTS, ERROR_MORE_DATA, ERROR_MR_MID_NOT_FOUND}) {
        const std::string text = Brelt::getOsErrorText(code).cstr();
        EXPECT_GT(text.size(), 10U) << code;
        EXPECT_TRUE(text.ends_with(".\r\n")) << text;
    }
}

TEST(PosixErrors, UnmappedErrnoKeepsItsNumberAndTextOutsideTheCodesOfWindows) {
    const DWORD code = codeFromErrno(ENXIO);
    EXPECT_EQ(code, 0x20000000U | static_cast<DWORD>(ENXIO));
    const std::string text = Brelt::getOsErrorText(code).cstr();
    EXPECT_NE(text.find(std::strerror(ENXIO)), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with("(errno " + std::to_string(ENXIO) + ").\r\n")) << text;
}

TEST(PosixErrors, MissingDirectoryIsToldFromMissingFile) {
    const TestSupport::TempDirectory directory;
    directory.write("file", "");
    const auto codeOf = [&](const std::string& name) {
        return codeFromErrno(ENOENT,
                             NarrowPath(TestSupport::wide(directory.text() + name).c_str()));
    };
    EXPECT_EQ(codeOf("/missing"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(codeOf("\\missing\\"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(codeOf("/missing/x"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(codeOf("/file/x"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(codeFromErrno(ENOENT, NarrowPath(u"missing")), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(codeFromErrno(ENOENT, NarrowPath(u"\\missing")), ERROR_FILE_NOT_FOUND);
}

TEST(PosixErrors, CodeWithoutATextGivesThePrefixAlone) {
    EXPECT_STREQ(Brelt::getOsErrorText(19999).cstr(), "(19999) ");
    EXPECT_EQ(GetLastError(), ERROR_MR_MID_NOT_FOUND);
    EXPECT_EQ(Brelt::getOsErrorText(0).ptr(), nullptr);
}

TEST(PosixErrors, LastErrorBelongsToTheThread) {
    SetLastError(5);
    DWORD seenByOther = 1;
    std::thread([&] {
        seenByOther = GetLastError();
        SetLastError(6);
    }).join();
    EXPECT_EQ(seenByOther, 0U);
    EXPECT_EQ(GetLastError(), 5U);
}

}  // namespace
