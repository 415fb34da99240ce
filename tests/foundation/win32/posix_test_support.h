#pragma once

// What the tests of the POSIX stand-in share: wide names, and a look at the process's descriptors.

#include <filesystem>
#include <string>

#include "foundation/win32/posix_support.h"
#include "foundation/win32/win32.h"
#include "support/temp_directory.h"

namespace TestSupport {

inline std::u16string wide(const std::string& text) {
    return Brelt::PosixSupport::widened(text);
}

inline std::ptrdiff_t openDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

/// The descriptor that a file of this process is open under, or -1.
inline int descriptorOn(const std::filesystem::path& file) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        if (std::filesystem::read_symlink(entry.path(), ignored) == file) {
            return std::stoi(entry.path().filename().string());
        }
    }
    return -1;
}

inline HANDLE createFile(const std::string& name, DWORD disposition,
                         DWORD access = GENERIC_READ | GENERIC_WRITE) {
    return CreateFileW(wide(name).c_str(), access, FILE_SHARE_READ, nullptr, disposition, 0,
                       nullptr);
}

/// The error that opening leaves behind; 0 if it succeeds, with the file closed again.
inline DWORD errorOfCreateFile(const std::string& name, DWORD disposition,
                               DWORD access = GENERIC_READ | GENERIC_WRITE) {
    const HANDLE file = createFile(name, disposition, access);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    CloseHandle(file);
    return 0;
}

}  // namespace TestSupport
