#pragma once

// Texts between file names, JSON and a terminal. For the programs in this folder.

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace KivHost {

/// Bytes of the sound UTF-8 sequence at the start of `text`; 0 if there is none.
std::size_t utf8SequenceLength(std::string_view text);

/// True if `text` is UTF-8 from end to end: no stray bytes, no surrogates, no overlong forms.
bool isUtf8(std::string_view text);

/// `text` as it may be shown on a terminal: control characters and bytes that aren't UTF-8 come out
/// as `\xNN`, so that a name from a server can't move the cursor or change colours.
std::string printable(std::string_view text);

/// `text` without line ends and blanks at its end, which texts of the system bring along.
std::string_view withoutLineEnd(std::string_view text);

/// `text` without its last "/", if it ends in one; "://" stays whole.
std::string withoutLastSlash(std::string text);

/// `text` without separators at its ends, and with "/" for each "\\" within.
std::string withoutOuterSlashes(std::string text);

/// Prints "program: reason" to standard error, made printable.
void printFailure(const char* program, const char* reason) noexcept;

/// The name of a path as UTF-8 with "/"; on POSIX its bytes unchanged. Raises `std::system_error`
/// where the system's text can't be converted.
std::string pathToText(const std::filesystem::path& path);

std::filesystem::path textToPath(std::string_view text);

}  // namespace KivHost
