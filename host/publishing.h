#pragma once

// Writes the two files that make a directory tree a library: filelist.json, and id.txt last.
// For kivpublish.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "file_rules.h"
#include "library_list.h"

namespace KivHost {

struct PublishRequest {
    /// The library's root.
    std::filesystem::path directory;
    /// Folder below the root whose files alone are listed, by their names from the root on; empty
    /// for all. List and stamp are written there.
    std::string subPath;
    /// Bytes of the stamp; without it the stamp is a hash over the list and all listed files.
    std::optional<std::string> stamp;
};

struct PublishResult {
    std::int64_t files = 0;
    std::int64_t variants = 0;
    /// What a reader that has nothing yet will fetch.
    std::int64_t bytes = 0;
    std::string stamp;
};

/// Publishes. Raises `std::runtime_error`, also from the file system, and then has left the old
/// stamp where it was.
PublishResult publish(const PublishRequest& request, FileRules& rules, const Warn& warn);

}  // namespace KivHost
