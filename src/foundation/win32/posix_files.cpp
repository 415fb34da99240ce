// The calls of Windows on files, over descriptors.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "foundation/win32/posix_support.h"

namespace Support = Brelt::PosixSupport;
using Support::codeFromErrno;
using Support::failWith;

namespace {

static_assert(sizeof(off_t) == 8, "files above 4 GiB need 64-bit offsets");

// Descriptor 0 is a file like any other where the host has closed its standard input, so a handle
// is the descriptor plus one, and null stays no handle.
HANDLE handleOf(int descriptor) {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(descriptor) + 1);
}

int descriptorOf(HANDLE file) {
    const auto value = reinterpret_cast<std::intptr_t>(file);
    return value > 0 && value <= INT_MAX ? static_cast<int>(value - 1) : -1;
}

template <class Call>
auto retried(const Call& call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

bool lacksAccess(int descriptor, int lackingMode) {
    const int flags = fcntl(descriptor, F_GETFL);
    return flags != -1 && (flags & O_ACCMODE) == lackingMode;
}

// A handle that is sound but not open for this gives another code than one that isn't sound.
DWORD codeOfTransfer(int number, int descriptor, int lackingMode) {
    return number == EBADF && lacksAccess(descriptor, lackingMode) ? ERROR_ACCESS_DENIED
                                                                   : codeFromErrno(number);
}

int openFlags(DWORD access, DWORD disposition, DWORD flags) {
    // Without O_NONBLOCK a pipe in a file's place would hold the caller until someone opens its
    // other end.
    int result = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    if ((access & GENERIC_WRITE) == 0) {
        result |= O_RDONLY;
    } else {
        result |= (access & GENERIC_READ) == 0 ? O_WRONLY : O_RDWR;
    }
    if (disposition != OPEN_EXISTING) {
        result |= O_CREAT;
    }
    if (disposition == CREATE_NEW) {
        result |= O_EXCL;
    } else if (disposition == CREATE_ALWAYS) {
        result |= O_TRUNC;
    }
    return (flags & FILE_FLAG_WRITE_THROUGH) != 0 ? result | O_SYNC : result;
}

// A host that has closed its standard streams still writes to their numbers: no file may take them.
int movedAboveStandardStreams(int descriptor) {
    if (descriptor < 0 || descriptor > STDERR_FILENO) {
        return descriptor;
    }
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int number = errno;
    close(descriptor);
    errno = number;
    return moved;
}

bool isDirectoryDescriptor(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

bool isDirectoryPath(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

std::int64_t fileSize(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 ? std::int64_t{status.st_size} : -1;
}

// Where the move starts from, or -1 with errno set. Asks for the position in each case: that finds
// out whether the file has one at all.
std::int64_t seekBase(int descriptor, DWORD method) {
    const std::int64_t position = lseek(descriptor, 0, SEEK_CUR);
    if (position < 0 || method == FILE_CURRENT) {
        return position;
    }
    return method == FILE_END ? fileSize(descriptor) : 0;
}

std::int64_t joined(LONG low, const LONG* high) {
    if (high == nullptr) {
        return low;
    }
    return static_cast<std::int64_t>((static_cast<std::uint64_t>(static_cast<DWORD>(*high)) << 32) |
                                     static_cast<DWORD>(low));
}

DWORD highHalf(std::int64_t value) {
    return static_cast<DWORD>(static_cast<std::uint64_t>(value) >> 32);
}

// Moves bytes until `size` are through, the end is reached, or the call fails. A read goes on after
// a short count as well: only the end of the file may look like the end of the file.
template <class Call>
BOOL transfer(DWORD size, LPDWORD moved, const Call& call) {
    *moved = 0;
    ssize_t count = 0;
    // Asks at least once: a handle that isn't sound fails also for no bytes.
    do {
        count = retried([&] { return call(*moved, size - *moved); });
        *moved += count > 0 ? static_cast<DWORD>(count) : 0;
    } while (count > 0 && *moved < size);
    return count < 0 ? FALSE : TRUE;
}

// Takes what a fault leaves of a transfer; its code, or 0.
DWORD shortened(const std::optional<Brelt::Fault>& fault, DWORD& size) {
    if (!fault) {
        return ERROR_SUCCESS;
    }
    size = std::min(size, fault->bytesMoved.value_or(0));
    return fault->code;
}

BOOL finished(BOOL done, DWORD faultCode) {
    return done != FALSE && faultCode != ERROR_SUCCESS ? failWith(faultCode, FALSE) : done;
}

}  // namespace

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD, LPSECURITY_ATTRIBUTES, DWORD disposition,
                   DWORD flags, HANDLE) {
    const Support::NarrowPath path(name);
    if (!path.isUsable() || Support::isStruck(Brelt::createFileCall)) {
        return INVALID_HANDLE_VALUE;
    }
    if (path.endsInSeparator()) {
        return failWith(isDirectoryPath(path.text()) ? ERROR_ACCESS_DENIED : ERROR_INVALID_NAME,
                        INVALID_HANDLE_VALUE);
    }
    const int mode = openFlags(access, disposition, flags);
    const int descriptor =
        movedAboveStandardStreams(retried([&] { return open(path.text(), mode, 0666); }));
    if (descriptor < 0) {
        return failWith(codeFromErrno(errno, path), INVALID_HANDLE_VALUE);
    }
    if (isDirectoryDescriptor(descriptor)) {
        close(descriptor);
        return failWith(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);
    }
    if ((flags & FILE_FLAG_SEQUENTIAL_SCAN) != 0) {
        posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
    }
    return handleOf(descriptor);
}

BOOL CloseHandle(HANDLE file) {
    // An interrupted close has let go of the descriptor, which may be another thread's by now.
    const bool struck = Support::isStruck(Brelt::closeHandleCall);
    const DWORD code = GetLastError();
    if (close(descriptorOf(file)) != 0) {
        return failWith(codeFromErrno(errno), FALSE);
    }
    return struck ? failWith(code, FALSE) : TRUE;
}

BOOL ReadFile(HANDLE file, LPVOID destination, DWORD size, LPDWORD read, LPOVERLAPPED) {
    const DWORD faultCode = shortened(Support::faultFor(Brelt::readFileCall), size);
    const int descriptor = descriptorOf(file);
    auto* const bytes = static_cast<BYTE*>(destination);
    const BOOL done = transfer(size, read, [&](DWORD offset, DWORD count) {
        return ::read(descriptor, bytes + offset, count);
    });
    if (done == FALSE) {
        SetLastError(codeOfTransfer(errno, descriptor, O_WRONLY));
    }
    return finished(done, faultCode);
}

BOOL WriteFile(HANDLE file, LPCVOID source, DWORD size, LPDWORD written, LPOVERLAPPED) {
    const DWORD faultCode = shortened(Support::faultFor(Brelt::writeFileCall), size);
    const int descriptor = descriptorOf(file);
    const auto* const bytes = static_cast<const BYTE*>(source);
    const BOOL done = transfer(size, written, [&](DWORD offset, DWORD count) {
        return ::write(descriptor, bytes + offset, count);
    });
    if (done == FALSE) {
        SetLastError(codeOfTransfer(errno, descriptor, O_RDONLY));
    }
    return finished(done, faultCode);
}

DWORD SetFilePointer(HANDLE file, LONG distance, PLONG distanceHigh, DWORD method) {
    if (Support::isStruck(Brelt::setFilePointerCall)) {
        return INVALID_SET_FILE_POINTER;
    }
    const int descriptor = descriptorOf(file);
    const std::int64_t base = seekBase(descriptor, method);
    if (base < 0) {
        return failWith(codeFromErrno(errno), INVALID_SET_FILE_POINTER);
    }
    std::int64_t target = 0;
    const bool leavesType = __builtin_add_overflow(base, joined(distance, distanceHigh), &target);
    if (!leavesType && target < 0) {
        return failWith(ERROR_NEGATIVE_SEEK, INVALID_SET_FILE_POINTER);
    }
    if (leavesType || (distanceHigh == nullptr && highHalf(target) != 0)) {
        return failWith(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
    }
    if (lseek(descriptor, target, SEEK_SET) < 0) {
        return failWith(codeFromErrno(errno), INVALID_SET_FILE_POINTER);
    }
    if (distanceHigh != nullptr) {
        *distanceHigh = static_cast<LONG>(highHalf(target));
    }
    return failWith(ERROR_SUCCESS, static_cast<DWORD>(target));
}

BOOL SetEndOfFile(HANDLE file) {
    if (Support::isStruck(Brelt::setEndOfFileCall)) {
        return FALSE;
    }
    const int descriptor = descriptorOf(file);
    if (lacksAccess(descriptor, O_RDONLY)) {
        return failWith(ERROR_ACCESS_DENIED, FALSE);
    }
    const off_t position = lseek(descriptor, 0, SEEK_CUR);
    if (position < 0 || retried([&] { return ftruncate(descriptor, position); }) != 0) {
        return failWith(codeFromErrno(errno), FALSE);
    }
    return TRUE;
}

BOOL FlushFileBuffers(HANDLE file) {
    if (Support::isStruck(Brelt::flushFileBuffersCall)) {
        return FALSE;
    }
    const int descriptor = descriptorOf(file);
    if (lacksAccess(descriptor, O_RDONLY)) {
        return failWith(ERROR_ACCESS_DENIED, FALSE);
    }
    if (retried([&] { return fsync(descriptor); }) != 0) {
        return failWith(codeFromErrno(errno), FALSE);
    }
    return TRUE;
}

DWORD GetFileSize(HANDLE file, LPDWORD sizeHigh) {
    if (Support::isStruck(Brelt::getFileSizeCall)) {
        return INVALID_FILE_SIZE;
    }
    const std::int64_t size = fileSize(descriptorOf(file));
    if (size < 0) {
        return failWith(codeFromErrno(errno), INVALID_FILE_SIZE);
    }
    if (sizeHigh != nullptr) {
        *sizeHigh = highHalf(size);
    }
    return failWith(ERROR_SUCCESS, static_cast<DWORD>(size));
}
