// From a directory tree to the entries of filelist.json. See library_list.h.

#include "library_list.h"

#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "name_checks.h"
#include "platform.h"
#include "text.h"

namespace KivHost {

namespace {

constexpr std::string_view lossyEnd = ".jpeg.tx";
constexpr std::string_view fullEnd = ".tx";

namespace fs = std::filesystem;

std::string relativeName(const fs::path& path, const fs::path& directory) {
    try {
        return pathToText(path.lexically_relative(directory));
    } catch (const std::system_error&) {
        throw std::runtime_error("a name in \"" + printable(pathToText(path.parent_path())) +
                                 "\" isn't sound UTF-16, which no list can hold");
    }
}

bool isPublished(const fs::path& directory) {
    std::error_code ignored;
    return fs::exists(directory / "id.txt", ignored) &&
           fs::exists(directory / "filelist.json", ignored);
}

/// The list and the stamp are written by publishing, of this library or of one below it.
bool isOwnFile(const fs::path& path, bool inRoot) {
    const fs::path name = path.filename();
    if (name.native().ends_with(fs::path(temporarySuffix).native())) {
        return true;
    }
    return (name == "id.txt" || name == "filelist.json") &&
           (inRoot || isPublished(path.parent_path()));
}

/// Whether an object is listed; tells of what a web server might show and the list doesn't.
bool isListable(const fs::directory_entry& object, const Warn& warn) {
    if (object.is_symlink() && object.is_directory()) {
        warn("\"" + printable(pathToText(object.path())) + "\" is a link to a directory; left out");
        return false;
    }
    if (object.is_directory()) {
        return false;
    }
    if (!object.is_regular_file()) {
        warn("\"" + printable(pathToText(object.path())) + "\" is no regular file; left out");
        return false;
    }
    return true;
}

void checkName(const std::string& name, const Warn& warn) {
    const std::string reason = reasonAgainstName(name);
    if (!reason.empty()) {
        throw std::runtime_error("\"" + printable(name) + "\" can't be listed: " + reason);
    }
    for (const std::string& trouble : troublesOfName(name)) {
        warn("\"" + printable(name) + "\": " + trouble);
    }
}

void warnOfTwins(const std::vector<FoundFile>& files, const Warn& warn) {
    std::map<std::string, std::string_view> seen;
    for (const FoundFile& file : files) {
        const auto [twin, isNew] = seen.emplace(foldCase(file.name), file.name);
        if (!isNew) {
            warn("\"" + printable(file.name) + "\" and \"" + printable(twin->second) +
                 "\" are one file to a reader on Windows");
        }
    }
}

using FilesByName = std::map<std::string_view, const FoundFile*>;

/// The file that `name` is the lossy variant of. One that is a variant itself has none.
const FoundFile* fullFileOf(std::string_view name, const FilesByName& files) {
    if (!name.ends_with(lossyEnd)) {
        return nullptr;
    }
    const std::string full =
        std::string(name.substr(0, name.size() - lossyEnd.size())) + std::string(fullEnd);
    const auto found = files.find(full);
    if (found == files.end() || fullFileOf(full, files) != nullptr) {
        return nullptr;
    }
    return found->second;
}

}  // namespace

std::vector<FoundFile> findFiles(const fs::path& directory, const std::string& prefix,
                                 const Warn& warn) {
    std::vector<FoundFile> files;
    for (fs::recursive_directory_iterator at(directory), end; at != end; ++at) {
        const fs::directory_entry& object = *at;
        if (isOwnFile(object.path(), at.depth() == 0) || !isListable(object, warn)) {
            continue;
        }
        const std::string name = prefix + relativeName(object.path(), directory);
        checkName(name, warn);
        files.push_back({name, object.path(), static_cast<std::int64_t>(object.file_size())});
    }
    std::ranges::sort(files, {}, &FoundFile::name);
    warnOfTwins(files, warn);
    return files;
}

std::vector<ListEntry> makeEntries(const std::vector<FoundFile>& files, FileRules& rules) {
    FilesByName byName;
    for (const FoundFile& file : files) {
        byName.emplace(file.name, &file);
    }
    std::map<std::string_view, const FoundFile*> variants;
    std::vector<ListEntry> entries;
    for (const FoundFile& file : files) {
        const FoundFile* full = file.size > 0 ? fullFileOf(file.name, byName) : nullptr;
        if (full != nullptr) {
            variants.emplace(full->name, &file);
        } else {
            entries.push_back({file, rules.ruleFor(file.name), {}});
        }
    }
    for (ListEntry& entry : entries) {
        const auto variant = variants.find(entry.file.name);
        if (variant != variants.end()) {
            entry.variant = *variant->second;
        }
    }
    return entries;
}

std::string entryText(const ListEntry& entry) {
    Json::Value value(Json::objectValue);
    value["path"] = entry.file.name;
    value["download"] = entry.rule;
    value["size"] = static_cast<Json::Int64>(entry.file.size);
    if (entry.hasVariant()) {
        value["jpegSize"] = static_cast<Json::Int64>(entry.variant.size);
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, value);
}

}  // namespace KivHost
