#pragma once

// From a directory tree to the entries of filelist.json. For kivpublish.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "file_rules.h"

namespace KivHost {

/// Takes a line for a person about something that doesn't stop the work.
using Warn = std::function<void(const std::string&)>;

/// A regular file below the library's root.
struct FoundFile {
    /// Relative to the root, UTF-8, with "/".
    std::string name;
    std::filesystem::path location;
    std::int64_t size;
};

/// One entry of the list.
struct ListEntry {
    FoundFile file;
    std::string rule;
    /// The lossy variant that lies beside the file; without a name where there is none.
    FoundFile variant;

    bool hasVariant() const { return !variant.name.empty(); }
};

/// All regular files below `directory`, in the order of their names' bytes; `prefix` goes in front
/// of each name.
///
/// Leaves out the list and the stamp of `directory` and of each published library below it, and
/// what a killed run left. Links to files count as files; links to directories aren't entered.
/// Raises `std::filesystem::filesystem_error`, and `std::runtime_error` for a name that no list can
/// hold.
std::vector<FoundFile> findFiles(const std::filesystem::path& directory, const std::string& prefix,
                                 const Warn& warn);

/// Makes the entries, in the order of `files`: `name.jpeg.tx`, if it isn't empty, becomes the lossy
/// variant of `name.tx` where there is such a file, and no entry of its own.
std::vector<ListEntry> makeEntries(const std::vector<FoundFile>& files, FileRules& rules);

/// The line of one entry in filelist.json, without a line end.
std::string entryText(const ListEntry& entry);

}  // namespace KivHost
