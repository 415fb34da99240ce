#pragma once

// What can be said of a file's name before a reader meets it. For kivpublish.

#include <string>
#include <string_view>
#include <vector>

namespace KivHost {

/// Why a file of this name can't stand in a list at all; empty if it can. `path` is relative, with
/// "/" between its segments.
std::string reasonAgainstName(std::string_view path);

/// What a reader on Windows, or one with a long path to its directory, will have against a name
/// that is sound otherwise: one text for each trouble.
std::vector<std::string> troublesOfName(std::string_view path);

/// `path` with ASCII letters lowered: names that share this are one file on Windows.
std::string foldCase(std::string_view path);

}  // namespace KivHost
