// What can be said of a file's name before a reader meets it. See name_checks.h.

#include "name_checks.h"

#include <algorithm>
#include <array>

#include "text.h"

namespace KivHost {

namespace {

/// A reader's path may have 259 bytes; this leaves 59 of them for its directory.
constexpr std::size_t longestCarefreeName = 200;

std::string_view deviceStem(std::string_view segment) {
    std::string_view stem = segment.substr(0, segment.find('.'));
    while (!stem.empty() && stem.back() == ' ') {
        stem.remove_suffix(1);
    }
    return stem;
}

/// Windows takes these for devices in every directory, with or without an extension.
bool isDeviceName(std::string_view segment) {
    static constexpr std::array<std::string_view, 6> devices = {"con", "prn",    "aux",
                                                                "nul", "conin$", "conout$"};
    const std::string stem = foldCase(deviceStem(segment));
    if (std::ranges::find(devices, stem) != devices.end()) {
        return true;
    }
    if (!stem.starts_with("com") && !stem.starts_with("lpt")) {
        return false;
    }
    const std::string_view number = std::string_view(stem).substr(3);
    const bool isDigit = number.size() == 1 && number[0] >= '0' && number[0] <= '9';
    return isDigit || number == "\u00B9" || number == "\u00B2" || number == "\u00B3";
}

void addSegmentTroubles(std::string_view segment, std::vector<std::string>& troubles) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
    if (std::ranges::any_of(segment, isControl)) {
        troubles.emplace_back("Windows readers can't store a control character in a name");
    }
    if (segment.find_first_of("<>\"|?*") != std::string_view::npos) {
        troubles.emplace_back("Windows readers can't store any of <>\"|?* in a name");
    }
    if (segment.find(':') != std::string_view::npos) {
        troubles.emplace_back("Windows readers refuse the list: a name with a colon");
    }
    if (isDeviceName(segment)) {
        troubles.emplace_back("Windows readers refuse the list: the name of a device");
    }
    if (segment.ends_with('.') || segment.ends_with(' ')) {
        troubles.emplace_back("Windows readers refuse the list: a dot or blank at a name's end");
    }
}

}  // namespace

std::string foldCase(std::string_view path) {
    std::string folded(path);
    for (char& c : folded) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    }
    return folded;
}

std::string reasonAgainstName(std::string_view path) {
    if (!isUtf8(path)) {
        return "its name isn't UTF-8, which is all that a list can hold";
    }
    if (path.find('\\') != std::string_view::npos) {
        return "its name has a backslash, which every reader takes for a separator";
    }
    return {};
}

std::vector<std::string> troublesOfName(std::string_view path) {
    std::vector<std::string> troubles;
    if (path.size() > longestCarefreeName) {
        troubles.push_back("a reader's path may have 259 bytes, and this name takes " +
                           std::to_string(path.size()));
    }
    if (path != "id.txt" && foldCase(path) == "id.txt") {
        troubles.emplace_back("Windows readers take it for the stamp and ignore it");
    }
    for (std::size_t at = 0; at <= path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        addSegmentTroubles(path.substr(at, end - at), troubles);
        at = end + 1;
    }
    return troubles;
}

}  // namespace KivHost
