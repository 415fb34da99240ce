// Questions to the file system about a path, and the walk that makes directories.

#include "foundation/paths.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "foundation/wide_path.h"
#include "foundation/win32/win32.h"

namespace Brelt {

namespace {

constexpr const char* function = "createPathImpl";

// The classic limit of Windows for a path with its NUL. Counted in bytes, so never above it in
// units.
constexpr std::int32_t pathLimit = 260;

DWORD attributesOf(const char* path) {
    return GetFileAttributesW(WidePath(path).get());
}

/// Where the part begins that may be created: behind a drive, or behind a server's name.
std::int32_t firstPosition(const char* path, std::int32_t length) {
    const std::int32_t last = length - 1;
    std::int32_t position = 0;
    if (length >= 3 && path[1] == ':' && path[2] == '\\') {
        position = 2;
    } else if (length >= 3 && path[0] == '\\' && path[1] == '\\') {
        position = 2;
        while (position < last && path[position] != '\\') {
            ++position;
        }
    }
    while (position < last && path[position] == '\\') {
        ++position;
    }
    return position;
}

/// 0 if the directory is there now, else the system's code. That it exists already may be another
/// thread's doing.
DWORD makeDirectory(const char* path) {
    if (CreateDirectoryW(WidePath(path).get(), nullptr) != FALSE) {
        return ERROR_SUCCESS;
    }
    const DWORD code = GetLastError();
    return code == ERROR_ALREADY_EXISTS ? ERROR_SUCCESS : code;
}

/// The failure that nothing has made up for so far.
struct Remembered {
    DWORD code = ERROR_SUCCESS;
    std::int32_t end = 0;

    void note(DWORD newCode, std::int32_t newEnd) {
        if (newCode == ERROR_SUCCESS) {
            code = ERROR_SUCCESS;
        } else if (code == ERROR_SUCCESS) {
            code = newCode;
            end = newEnd;
        }
    }
};

/// True if no level is missing: asked once a file, instead of once a level, where a run saves many.
/// What ".." leads back from is a level too, and Windows doesn't look for it.
bool isThere(char* path, bool includeLast) {
    char* const end = includeLast ? path + std::strlen(path) : std::strrchr(path, '\\');
    if (end == nullptr || std::strstr(path, "..") != nullptr) {
        return false;
    }
    const char next = std::exchange(*end, '\0');
    const bool isThere = isDirectory(path) != 0;
    *end = next;
    return isThere;
}

/// Walks over a text of `length` bytes with `\` as its only separator.
ErrorChain createLevels(char* path, std::int32_t length, bool includeLast) {
    Remembered failure;
    for (std::int32_t i = firstPosition(path, length); i < length; ++i) {
        if (path[i] != '\\' && !(includeLast && i == length - 1)) {
            continue;
        }
        const char next = std::exchange(path[i + 1], '\0');
        const DWORD attributes = attributesOf(path);
        const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
        if (exists && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            return ErrorChain::make(function, ERROR_ALREADY_EXISTS,
                                    "%s already exists, but is not a valid directory", path);
        }
        failure.note(exists ? ERROR_SUCCESS : makeDirectory(path), i + 1);
        path[i + 1] = next;
    }
    if (failure.code == ERROR_SUCCESS) {
        return {};
    }
    path[failure.end] = '\0';
    const CharString text = getOsErrorText(failure.code);
    return ErrorChain::make(function, static_cast<std::int32_t>(failure.code), "%s %s", path,
                            text.cstr());
}

}  // namespace

bool fileExists(const char* path) {
    return attributesOf(path) != INVALID_FILE_ATTRIBUTES;
}

std::int32_t isDirectory(const char* path) {
    const DWORD attributes = path == nullptr ? INVALID_FILE_ATTRIBUTES : attributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

ErrorChain createPath(const char* path) {
    return createPathImpl(path, true);
}

ErrorChain createFilePath(const char* path) {
    return createPathImpl(path, false);
}

ErrorChain createPathImpl(const char* path, bool includeLast) {
    if (path == nullptr || *path == '\0') {
        return ErrorChain::make(function, -1, "Empty string argument");
    }
    char copy[1024];
    const std::int32_t length = copyBounded(copy, path, sizeof(copy)) - 1;
    if (length >= pathLimit) {
        return ErrorChain::make(function, -1, "Path length exceeds MAX_PATH");
    }
    std::replace(copy, copy + length, '/', '\\');
    return isThere(copy, includeLast) ? ErrorChain() : createLevels(copy, length, includeLast);
}

}  // namespace Brelt
