// Writes the two files that make a directory tree a library. See publishing.h.

#include "publishing.h"

#include <fstream>
#include <ios>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "platform.h"
#include "text.h"

namespace KivHost {

namespace {

/// Readers refuse a longer list.
constexpr std::size_t longestList = 0x40000000;

void hashFile(Sha256& hash, const FoundFile& file, std::vector<char>& buffer) {
    std::ifstream stream(file.location, std::ios::binary);
    std::int64_t count = 0;
    while (stream.read(buffer.data(), static_cast<std::streamsize>(buffer.size())) ||
           stream.gcount() > 0) {
        hash.update(buffer.data(), static_cast<std::size_t>(stream.gcount()));
        count += stream.gcount();
    }
    if (stream.bad() || !stream.eof()) {
        throw std::runtime_error("cannot read \"" + printable(file.name) + "\"");
    }
    if (count != file.size) {
        throw std::runtime_error("\"" + printable(file.name) +
                                 "\" changed while it was read; try again");
    }
}

std::string toHex(const std::array<unsigned char, 32>& digest) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : digest) {
        text += digits[byte >> 4U];
        text += digits[byte & 15U];
    }
    return text;
}

/// Covers each entry's line as well, so that a change of a rule or a name is a change too.
std::string stampOf(const std::vector<ListEntry>& entries) {
    Sha256 hash;
    std::vector<char> buffer(1 << 18);
    for (const ListEntry& entry : entries) {
        const std::string line = entryText(entry) + "\n";
        hash.update(line.data(), line.size());
        hashFile(hash, entry.file, buffer);
        if (entry.hasVariant()) {
            hashFile(hash, entry.variant, buffer);
        }
    }
    return toHex(hash.finish()) + "\n";
}

std::string listText(const std::vector<ListEntry>& entries) {
    std::string text = "[";
    for (const ListEntry& entry : entries) {
        text += text.size() > 1 ? ",\n" : "\n";
        text += entryText(entry);
    }
    text += "\n]\n";
    if (text.size() > longestList) {
        throw std::runtime_error("the list would have " + std::to_string(text.size()) +
                                 " bytes; readers take up to 1073741824");
    }
    return text;
}

void checkRequest(const PublishRequest& request, const std::filesystem::path& root) {
    if (request.stamp && request.stamp->empty()) {
        throw std::runtime_error("the stamp is empty; readers refuse such a library");
    }
    if (!std::filesystem::is_directory(root)) {
        throw std::runtime_error("\"" + printable(pathToText(root)) + "\" is no directory");
    }
}

PublishResult summarize(const std::vector<ListEntry>& entries, std::string stamp) {
    PublishResult result;
    result.stamp = std::move(stamp);
    for (const ListEntry& entry : entries) {
        ++result.files;
        result.variants += entry.hasVariant() ? 1 : 0;
        if (entry.rule != "none") {
            result.bytes += entry.hasVariant() ? entry.variant.size : entry.file.size;
        }
    }
    return result;
}

}  // namespace

PublishResult publish(const PublishRequest& request, FileRules& rules, const Warn& warn) {
    const std::filesystem::path root = request.subPath.empty()
                                           ? request.directory
                                           : request.directory / textToPath(request.subPath);
    checkRequest(request, root);
    const std::string prefix = request.subPath.empty() ? "" : request.subPath + "/";
    const std::vector<ListEntry> entries = makeEntries(findFiles(root, prefix, warn), rules);
    for (const std::string& pattern : rules.unusedPatterns()) {
        warn("the pattern \"" + printable(pattern) + "\" decided on no file");
    }
    const std::string stamp = request.stamp ? *request.stamp : stampOf(entries);
    replaceFile(root / "filelist.json", listText(entries));
    replaceFile(root / "id.txt", stamp);
    return summarize(entries, stamp);
}

}  // namespace KivHost
