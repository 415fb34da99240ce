#pragma once

// Where a path leads, found out by another road than the library's own: step by step.

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace Fuzzing {

inline bool isRooted(std::string_view path) {
    return path.substr(0, 1) == "/";
}

/// The segments that are left when each ".." has taken back the one before it. At the root it takes
/// back nothing; a free path may begin with some. Only "/" parts segments, as on the systems that
/// fuzz.
inline std::vector<std::string> walk(std::string_view path) {
    const bool rooted = isRooted(path);
    std::vector<std::string> segments;
    while (!path.empty()) {
        const std::string_view segment = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(path.size(), segment.size() + 1));
        const bool takesBack = segment == ".." && !segments.empty() && segments.back() != "..";
        if (takesBack) {
            segments.pop_back();
        } else if (segment == "..") {
            segments.insert(segments.end(), rooted ? 0 : 1, "..");
        } else if (!segment.empty() && segment != ".") {
            segments.emplace_back(segment);
        }
    }
    return segments;
}

/// True if `path` is `directory` or lies below it.
inline bool isBelow(std::string_view path, std::string_view directory) {
    const std::vector<std::string> steps = walk(path);
    const std::vector<std::string> base = walk(directory);
    return isRooted(path) == isRooted(directory) && steps.size() >= base.size() &&
           std::equal(base.begin(), base.end(), steps.begin()) &&
           (steps.size() == base.size() || steps[base.size()] != "..");
}

}  // namespace Fuzzing
