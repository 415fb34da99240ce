// errno as codes of Windows, the texts of the codes, and the last error.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <thread>
#include <utility>

#include "foundation/error_chain.h"
#include "foundation/win32/posix_support.h"

using Brelt::getOsErrorText;
using Brelt::PosixSupport::codeFromErrno;

namespace {

TEST(PosixErrors, EachErrnoHasTheCodeOfWindowsAndEachCodeASentence) {
    // An errno of 0 stands for none.
    const std::pair<int, DWORD> rows[] = {{ENOENT, 2},    {ENOTDIR, 3},
                                          {EMFILE, 4},    {ENFILE, 4},
                                          {EACCES, 5},    {EPERM, 5},
                                          {EISDIR, 5},    {EBADF, 6},
                                          {ENOMEM, 8},    {EROFS, 19},
                                          {EBUSY, 32},    {ETXTBSY, 32},
                                          {EAGAIN, 32},   {EOPNOTSUPP, 50},
                                          {EEXIST, 80},   {EINVAL, 87},
                                          {EPIPE, 109},   {ENOSPC, 112},
                                          {EDQUOT, 112},  {EILSEQ, 123},
                                          {ESPIPE, 132},  {ENAMETOOLONG, 206},
                                          {EFBIG, 223},   {EINTR, 995},
                                          {EFAULT, 998},  {EIO, 1117},
                                          {EMLINK, 1142}, {ELOOP, 1921},
                                          {0, 131},       {0, 183},
                                          {0, 234},       {0, 317}};
    for (const auto& [number, code] : rows) {
        EXPECT_TRUE(number == 0 || codeFromErrno(number) == code) << "errno " << number;
        const std::string text = getOsErrorText(code).cstr();
        const std::string prefix = "(" + std::to_string(code) + ") ";
        EXPECT_TRUE(text.starts_with(prefix) && text.ends_with(".\r\n")) << text;
        EXPECT_GT(text.size(), prefix.size() + 10) << text;
    }
    EXPECT_STREQ(getOsErrorText(5).cstr(), "(5) Access is denied.\r\n");
}

TEST(PosixErrors, UnmappedErrnoKeepsItsNumberAndTextOutsideTheCodesOfWindows) {
    const DWORD code = codeFromErrno(ENXIO);
    EXPECT_EQ(code, 0x20000000U | static_cast<DWORD>(ENXIO));
    const std::string text = getOsErrorText(code).cstr();
    EXPECT_NE(text.find(std::strerror(ENXIO)), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with("(errno " + std::to_string(ENXIO) + ").\r\n")) << text;
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
