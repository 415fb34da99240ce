// Which file gets which rule in the list. See file_rules.h.

#include "file_rules.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "text.h"

namespace KivHost {

namespace {

/// Which ends of the path's prefixes the pattern read so far can reach: one flag for each byte
/// position.
using Reach = std::vector<bool>;

void passCharacter(Reach& reach, std::string_view path, char wanted) {
    for (std::size_t at = path.size(); at > 0; --at) {
        reach[at] = reach[at - 1] && path[at - 1] == wanted;
    }
    reach[0] = false;
}

void passAnyOne(Reach& reach, std::string_view path) {
    Reach next(reach.size(), false);
    for (std::size_t at = 0; at < path.size(); ++at) {
        const std::size_t length = std::max<std::size_t>(utf8SequenceLength(path.substr(at)), 1);
        if (reach[at] && path[at] != '/') {
            next[at + length] = true;
        }
    }
    reach = std::move(next);
}

void passAnyRun(Reach& reach, std::string_view path, bool acrossSegments) {
    for (std::size_t at = 0; at < path.size(); ++at) {
        if (reach[at] && (acrossSegments || path[at] != '/')) {
            reach[at + 1] = true;
        }
    }
}

}  // namespace

bool matchesPattern(std::string_view pattern, std::string_view path) {
    if (pattern.find('/') == std::string_view::npos) {
        path.remove_prefix(path.rfind('/') + 1);
    } else if (pattern[0] == '/') {
        pattern.remove_prefix(1);
    }
    Reach reach(path.size() + 1, false);
    reach[0] = true;
    while (!pattern.empty()) {
        const bool across = pattern.substr(0, 2) == "**";
        if (pattern[0] == '*') {
            passAnyRun(reach, path, across);
        } else if (pattern[0] == '?') {
            passAnyOne(reach, path);
        } else {
            passCharacter(reach, path, pattern[0]);
        }
        pattern.remove_prefix(across ? 2 : 1);
    }
    return reach[path.size()];
}

const std::vector<std::string>& knownRules() {
    static const std::vector<std::string> rules = {"always", "missing", "none"};
    return rules;
}

FileRules::FileRules(std::string fallback) : fallback_(std::move(fallback)) {}

void FileRules::add(std::string_view text) {
    const std::size_t split = text.rfind('=');
    if (split == std::string_view::npos || split == 0) {
        throw std::invalid_argument("'" + std::string(text) + "' isn't of the form PATTERN=RULE");
    }
    Rule rule{std::string(text.substr(0, split)), std::string(text.substr(split + 1))};
    if (std::ranges::find(knownRules(), rule.rule) == knownRules().end()) {
        throw std::invalid_argument("'" + rule.rule +
                                    "' is no rule (there are always, missing, none)");
    }
    rules_.push_back(std::move(rule));
}

const std::string& FileRules::ruleFor(std::string_view path) {
    for (Rule& rule : rules_) {
        if (matchesPattern(rule.pattern, path)) {
            rule.used = true;
            return rule.rule;
        }
    }
    return fallback_;
}

std::vector<std::string> FileRules::unusedPatterns() const {
    std::vector<std::string> patterns;
    for (const Rule& rule : rules_) {
        if (!rule.used) {
            patterns.push_back(rule.pattern);
        }
    }
    return patterns;
}

}  // namespace KivHost
