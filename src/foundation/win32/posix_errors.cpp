// Errors of the POSIX stand-in: errno as codes of Windows, the last error, and the texts of the
// codes.

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <system_error>

#include "foundation/win32/posix_support.h"

namespace {

struct CodeRow {
    int number;
    DWORD code;
};

// What a failed call means on Windows. A missing directory (3) is told from a missing file (2), and
// a directory that exists (183) from a file that does (80), where the call is known.
constexpr CodeRow codeRows[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EBADF, ERROR_INVALID_HANDLE},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EROFS, ERROR_WRITE_PROTECT},
    {EBUSY, ERROR_SHARING_VIOLATION},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EAGAIN, ERROR_SHARING_VIOLATION},
    {EOPNOTSUPP, ERROR_NOT_SUPPORTED},
    {EEXIST, ERROR_FILE_EXISTS},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {EPIPE, ERROR_BROKEN_PIPE},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EILSEQ, ERROR_INVALID_NAME},
    {ESPIPE, ERROR_SEEK_ON_DEVICE},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {EFBIG, ERROR_FILE_TOO_LARGE},
    {EINTR, ERROR_OPERATION_ABORTED},
    {EFAULT, ERROR_NOACCESS},
    {EIO, ERROR_IO_DEVICE},
    {EMLINK, ERROR_TOO_MANY_LINKS},
    {ELOOP, ERROR_CANT_RESOLVE_FILENAME},
};

struct TextRow {
    DWORD code;
    const char* text;
};

constexpr TextRow textRows[] = {
    {ERROR_SUCCESS, "The operation completed successfully."},
    {ERROR_FILE_NOT_FOUND, "The system cannot find the file specified."},
    {ERROR_PATH_NOT_FOUND, "The system cannot find the path specified."},
    {ERROR_TOO_MANY_OPEN_FILES, "The system cannot open the file."},
    {ERROR_ACCESS_DENIED, "Access is denied."},
    {ERROR_INVALID_HANDLE, "The handle is invalid."},
    {ERROR_NOT_ENOUGH_MEMORY, "Not enough memory resources are available to process this command."},
    {ERROR_WRITE_PROTECT, "The media is write protected."},
    {ERROR_SHARING_VIOLATION,
     "The process cannot access the file because it is being used by another process."},
    {ERROR_NOT_SUPPORTED, "The request is not supported."},
    {ERROR_FILE_EXISTS, "The file exists."},
    {ERROR_INVALID_PARAMETER, "The parameter is incorrect."},
    {ERROR_BROKEN_PIPE, "The pipe has been ended."},
    {ERROR_DISK_FULL, "There is not enough space on the disk."},
    {ERROR_INVALID_NAME, "The filename, directory name, or volume label syntax is incorrect."},
    {ERROR_NEGATIVE_SEEK,
     "An attempt was made to move the file pointer before the beginning of the file."},
    {ERROR_SEEK_ON_DEVICE, "The file pointer cannot be set on the specified device or file."},
    {ERROR_ALREADY_EXISTS, "Cannot create a file when that file already exists."},
    {ERROR_FILENAME_EXCED_RANGE, "The filename or extension is too long."},
    {ERROR_FILE_TOO_LARGE, "The file size exceeds the limit allowed and cannot be saved."},
    {ERROR_MORE_DATA, "More data is available."},
    {ERROR_MR_MID_NOT_FOUND,
     "The system cannot find message text for the message number in the message file."},
    {ERROR_OPERATION_ABORTED,
     "The I/O operation has been aborted because of either a thread exit or an application "
     "request."},
    {ERROR_NOACCESS, "Invalid access to memory location."},
    {ERROR_IO_DEVICE, "The request could not be performed because of an I/O device error."},
    {ERROR_TOO_MANY_LINKS,
     "An attempt was made to create more links on a file than the file system supports."},
    {ERROR_CANT_RESOLVE_FILENAME, "The name of the file cannot be resolved by the system."},
};

// Bit 29 is the one that Windows leaves to applications: no code of its own has it.
constexpr DWORD unmappedErrno = 0x20000000;

thread_local DWORD lastError = ERROR_SUCCESS;

std::string textOf(DWORD code) {
    if ((code & unmappedErrno) != 0) {
        const int number = static_cast<int>(code & ~unmappedErrno);
        return std::generic_category().message(number) + " (errno " + std::to_string(number) + ").";
    }
    const auto* const row = std::find_if(std::begin(textRows), std::end(textRows),
                                         [code](const TextRow& r) { return r.code == code; });
    return row == std::end(textRows) ? std::string() : std::string(row->text);
}

bool parentIsDirectory(const Brelt::PosixSupport::NarrowPath& path) {
    std::string parent = path.text();
    parent.erase(parent.find_last_not_of('/') + 1);
    const std::size_t separator = parent.rfind('/');
    parent = separator == std::string::npos ? "." : parent.substr(0, separator + 1);
    struct stat status {};
    return stat(parent.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

namespace Brelt::PosixSupport {

DWORD codeFromErrno(int number) {
    const auto* const row = std::find_if(std::begin(codeRows), std::end(codeRows),
                                         [number](const CodeRow& r) { return r.number == number; });
    return row == std::end(codeRows) ? unmappedErrno | static_cast<DWORD>(number) : row->code;
}

DWORD codeFromErrno(int number, const NarrowPath& path) {
    if (number == ENOENT && !parentIsDirectory(path)) {
        return ERROR_PATH_NOT_FOUND;
    }
    // File systems with rules for names refuse one in this way.
    return number == EINVAL ? ERROR_INVALID_NAME : codeFromErrno(number);
}

}  // namespace Brelt::PosixSupport

DWORD GetLastError() {
    return lastError;
}

void SetLastError(DWORD code) {
    lastError = code;
}

DWORD FormatMessageW(DWORD, LPCVOID, DWORD code, DWORD, LPWSTR buffer, DWORD, void*) {
    if (Brelt::PosixSupport::isStruck(Brelt::formatMessageCall)) {
        return 0;
    }
    const std::string text = textOf(code);
    if (text.empty()) {
        return Brelt::PosixSupport::failWith<DWORD>(ERROR_MR_MID_NOT_FOUND, 0);
    }
    const std::u16string wide = Brelt::PosixSupport::widened(text + "\r\n");
    auto* const message = static_cast<LPWSTR>(std::malloc((wide.size() + 1) * sizeof(WCHAR)));
    if (message == nullptr) {
        return Brelt::PosixSupport::failWith<DWORD>(ERROR_NOT_ENOUGH_MEMORY, 0);
    }
    std::copy_n(wide.c_str(), wide.size() + 1, message);
    *reinterpret_cast<LPWSTR*>(buffer) = message;
    return static_cast<DWORD>(wide.size());
}

HLOCAL LocalFree(HLOCAL memory) {
    std::free(memory);
    return nullptr;
}
