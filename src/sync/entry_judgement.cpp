// The rules by which a path from the server is a suspect until it is judged.

#include "sync/entry_judgement.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace {

constexpr char toLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool equalInAnyCase(std::string_view first, std::string_view second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](char a, char b) { return toLower(a) == toLower(b); });
}

/// What stands in front of the first dot, without blanks at its end: so Windows looks for a device.
std::string_view deviceCandidate(std::string_view segment) {
    const std::string_view name = segment.substr(0, segment.find('.'));
    return name.substr(0, name.find_last_not_of(' ') + 1);
}

/// The port names with a digit, of which Windows also takes the superscript ones of Latin-1.
bool isPortName(std::string_view name) {
    const std::string_view digit = name.substr(std::min<std::size_t>(3, name.size()));
    const bool isDigit = (digit.size() == 1 && digit[0] >= '0' && digit[0] <= '9') ||
                         digit == "\xC2\xB9" || digit == "\xC2\xB2" || digit == "\xC2\xB3";
    const std::string_view family = name.substr(0, 3);
    return isDigit && (equalInAnyCase(family, "com") || equalInAnyCase(family, "lpt"));
}

bool isDeviceName(std::string_view segment) {
    constexpr std::array<std::string_view, 6> devices = {"con", "prn",    "aux",
                                                         "nul", "conin$", "conout$"};
    const std::string_view name = deviceCandidate(segment);
    return isPortName(name) ||
           std::any_of(devices.begin(), devices.end(),
                       [&](std::string_view device) { return equalInAnyCase(name, device); });
}

bool isTakenElsewhere(std::string_view segment) {
    return segment.find(':') != std::string_view::npos || segment.ends_with('.') ||
           segment.ends_with(' ') || isDeviceName(segment);
}

/// The part of `path` behind `directory` and a separator; false if it doesn't begin with them.
bool cutDirectory(std::string_view path, std::string_view directory, std::string_view& rest) {
    if (!path.starts_with(directory)) {
        return false;
    }
    rest = path.substr(directory.size());
    if (!directory.ends_with('/') && !rest.empty()) {
        if (rest.front() != '/') {
            return false;
        }
        rest.remove_prefix(1);
    }
    return true;
}

EntryVerdict judgeSegments(std::string_view rest) {
    EntryVerdict verdict = EntryVerdict::Inside;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('/'), rest.size());
        const std::string_view segment = rest.substr(0, end);
        if (segment == "..") {
            return EntryVerdict::Leaves;
        }
        if (isTakenElsewhere(segment)) {
            verdict = EntryVerdict::TakenElsewhere;
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return verdict;
}

}  // namespace

EntryVerdict judgeEntry(const char* directory, const char* stampPath, const char* localPath,
                        bool anyCase) {
    const std::string_view path(localPath);
    if (path.empty()) {
        return EntryVerdict::Unusable;
    }
    if (path == stampPath || (anyCase && equalInAnyCase(path, stampPath))) {
        return EntryVerdict::Stamp;
    }
    std::string_view rest;
    return cutDirectory(path, directory, rest) ? judgeSegments(rest) : EntryVerdict::Leaves;
}
