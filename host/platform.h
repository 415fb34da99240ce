#pragma once

// What the programs ask of the operating system, and what differs there: platform_posix.cpp and
// platform_windows.cpp each hold all of it. For the programs in this folder.

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace KivHost {

/// Arguments of the command line behind the program's name, as UTF-8; readies the console for
/// UTF-8.
std::vector<std::string> commandLineArguments(int argc, char** argv);

/// Where the running program lies; empty if the system doesn't tell.
std::filesystem::path programDirectory();

/// True if what is written to standard error is shown on a terminal.
bool errorOutputIsTerminal();

/// Columns of that terminal; 80 if the system doesn't tell.
std::int32_t terminalColumns();

/// From now on the first request to stop (Ctrl-C, or the system's wish that the program end) is
/// only noted; the second one ends the process at once.
void noteStopRequests();

/// Number of the noted signal, such as 2 for Ctrl-C; 0 while there was none. Any thread may ask.
std::int32_t stopRequested();

/// Name of the library's file.
extern const char* const libraryFileName;

/// Loads a shared library for the rest of the process's life; null, with `reason` filled, if that
/// fails. A bare name is looked for where the system's loader looks.
void* loadLibrary(const std::filesystem::path& file, std::string& reason);

/// Address of an exported function, or null.
void* libraryFunction(void* library, const char* name);

/// Replaces `file` by `content` in one step: whoever opens it sees the old content or the new one,
/// also after a power failure. Raises `std::filesystem::filesystem_error`.
void replaceFile(const std::filesystem::path& file, std::string_view content);

/// What `replaceFile` adds to a name while it writes; a file with such a name may be left behind by
/// a process that was killed.
inline constexpr std::string_view temporarySuffix = ".kivpublish-tmp";

/// SHA-256 by the system's own implementation. Raises `std::runtime_error`.
class Sha256 {
public:
    Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;
    ~Sha256();

    void update(const void* bytes, std::size_t count);
    std::array<unsigned char, 32> finish();

private:
    void* state_;
};

}  // namespace KivHost
