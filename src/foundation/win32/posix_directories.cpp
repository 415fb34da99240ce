// The calls of Windows on names: searches, attributes, new directories.

#include <sys/stat.h>

#include <cerrno>

#include "foundation/win32/posix_support.h"

namespace Support = Brelt::PosixSupport;
using Support::codeFromErrno;
using Support::failWith;

namespace {

// A search finds one file and keeps nothing, so all searches share one handle.
char searchMark;

// A link that leads nowhere is something that stands there, as on Windows.
bool readStatus(const char* path, struct stat& status) {
    return stat(path, &status) == 0 || lstat(path, &status) == 0;
}

DWORD attributesOf(const struct stat& status) {
    return S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
}

}  // namespace

HANDLE FindFirstFileW(LPCWSTR name, WIN32_FIND_DATAW* found) {
    const Support::NarrowPath path(name);
    if (!path.isUsable() || Support::isStruck(Brelt::findFirstFileCall)) {
        return INVALID_HANDLE_VALUE;
    }
    if (path.endsInSeparator()) {
        return failWith(ERROR_FILE_NOT_FOUND, INVALID_HANDLE_VALUE);
    }
    struct stat status {};
    if (!readStatus(path.text(), status)) {
        return failWith(codeFromErrno(errno, path), INVALID_HANDLE_VALUE);
    }
    const std::uint64_t size =
        S_ISDIR(status.st_mode) ? 0 : static_cast<std::uint64_t>(status.st_size);
    found->dwFileAttributes = attributesOf(status);
    found->nFileSizeHigh = static_cast<DWORD>(size >> 32);
    found->nFileSizeLow = static_cast<DWORD>(size);
    return &searchMark;
}

BOOL FindClose(HANDLE search) {
    return search == &searchMark ? TRUE : failWith(ERROR_INVALID_HANDLE, FALSE);
}

DWORD GetFileAttributesW(LPCWSTR name) {
    Support::NarrowPath path(name);
    if (!path.isUsable() || Support::isStruck(Brelt::getFileAttributesCall)) {
        return INVALID_FILE_ATTRIBUTES;
    }
    path.dropEndSeparators();
    struct stat status {};
    if (!readStatus(path.text(), status)) {
        return failWith(codeFromErrno(errno, path), INVALID_FILE_ATTRIBUTES);
    }
    return attributesOf(status);
}

BOOL CreateDirectoryW(LPCWSTR name, LPSECURITY_ATTRIBUTES) {
    Support::NarrowPath path(name);
    if (!path.isUsable() || Support::isStruck(Brelt::createDirectoryCall)) {
        return FALSE;
    }
    path.dropEndSeparators();
    if (mkdir(path.text(), 0777) != 0) {
        return failWith(errno == EEXIST ? ERROR_ALREADY_EXISTS : codeFromErrno(errno, path), FALSE);
    }
    return TRUE;
}
