#pragma once

// The calls of Windows that the foundation makes, under their own names.
//
// On Windows this is <windows.h>. Elsewhere it declares a stand-in over POSIX: the same names, the
// same meaning, the same error codes, and no more of them than the foundation needs. What the
// stand-in does in its own way is told below; for all else the documentation of Windows holds. Only
// .cpp files of the foundation include this header.

#include "foundation/win32/name_rules.h"

#ifdef _WIN32
#include <windows.h>
#else

#include <cstdint>

// The names, and what an alias of a pointer is const for, are those of Windows.
// NOLINTBEGIN(readability-identifier-naming, misc-misplaced-const)

using BOOL = int;
using BYTE = std::uint8_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using LSTATUS = LONG;
using REGSAM = DWORD;
using HANDLE = void*;
using HLOCAL = void*;
using HKEY = struct HKEY__*;  // the name over there: NOLINT(bugprone-reserved-identifier)
using PHKEY = HKEY*;
using LPVOID = void*;
using LPCVOID = const void*;
using LPBYTE = BYTE*;
using LPDWORD = DWORD*;
using PLONG = LONG*;
using WCHAR = char16_t;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using LPOVERLAPPED = struct OVERLAPPED_*;
using LPSECURITY_ATTRIBUTES = struct SECURITY_ATTRIBUTES_*;

/// What a search tells of the file it found; the members that the foundation reads.
struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
};

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;

inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;
inline constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFF;
inline constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFF;

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD FILE_FLAG_SEQUENTIAL_SCAN = 0x08000000;
inline constexpr DWORD FILE_FLAG_WRITE_THROUGH = 0x80000000;
inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;

inline constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
inline constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_BROKEN_PIPE = 109;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
inline constexpr DWORD ERROR_SEEK_ON_DEVICE = 132;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
inline constexpr DWORD ERROR_OPERATION_ABORTED = 995;
inline constexpr DWORD ERROR_NOACCESS = 998;
inline constexpr DWORD ERROR_IO_DEVICE = 1117;
inline constexpr DWORD ERROR_TOO_MANY_LINKS = 1142;
inline constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921;

inline const HKEY HKEY_CURRENT_USER = reinterpret_cast<HKEY>(std::uintptr_t{0x80000001});
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_WRITE = 0x20006;
inline constexpr REGSAM KEY_WOW64_32KEY = 0x200;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_QWORD = 11;

// Files. Both separators part a name, share modes aren't enforced, and nothing ever blocks on
// opening. A handle is good in one process only and isn't inherited by programs that it starts.

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                   DWORD disposition, DWORD flags, HANDLE templateFile);
/// Lets go of the descriptor also where it fails.
BOOL CloseHandle(HANDLE file);
/// Fewer bytes than asked for mean the end of the file.
BOOL ReadFile(HANDLE file, LPVOID destination, DWORD size, LPDWORD read, LPOVERLAPPED overlapped);
BOOL WriteFile(HANDLE file, LPCVOID source, DWORD size, LPDWORD written, LPOVERLAPPED overlapped);
/// Sets the last error to 0 where it succeeds.
DWORD SetFilePointer(HANDLE file, LONG distance, PLONG distanceHigh, DWORD method);
BOOL SetEndOfFile(HANDLE file);
BOOL FlushFileBuffers(HANDLE file);
/// Sets the last error to 0 where it succeeds.
DWORD GetFileSize(HANDLE file, LPDWORD sizeHigh);

// Directories. `FindFirstFileW` knows no wildcards: `*` and `?` are characters of a name here.

HANDLE FindFirstFileW(LPCWSTR name, WIN32_FIND_DATAW* found);
BOOL FindClose(HANDLE search);
/// A separator behind the name changes nothing: a file is told as a file.
DWORD GetFileAttributesW(LPCWSTR name);
BOOL CreateDirectoryW(LPCWSTR name, LPSECURITY_ATTRIBUTES security);

// Errors. The last error is kept for each thread. A failure of the system that no code of Windows
// stands for has bit 29 set, which Windows leaves to applications, and its own number below; the
// text of such a code names that number.

DWORD GetLastError();
void SetLastError(DWORD code);
/// Always allocates: the flags and the size are taken as 0x1300 and 0, `buffer` is where the
/// pointer to the text goes. Texts are English.
DWORD FormatMessageW(DWORD flags, LPCVOID source, DWORD code, DWORD language, LPWSTR buffer,
                     DWORD size, void* arguments);
HLOCAL LocalFree(HLOCAL memory);

// Registry. There is one key, told in registry_stand_in.h. References to the environment are
// expanded as `getenv` finds them, so the case of their names counts.

LSTATUS RegOpenKeyExW(HKEY base, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result);
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD size);
LSTATUS RegCloseKey(HKEY key);
DWORD ExpandEnvironmentStringsW(LPCWSTR source, LPWSTR destination, DWORD size);

// NOLINTEND(readability-identifier-naming, misc-misplaced-const)

#endif
