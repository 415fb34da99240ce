#pragma once

// Which file gets which rule in the list: patterns, of which the first that matches decides.
// For kivpublish.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace KivHost {

/// Tells whether `path`, relative and with "/", is meant by `pattern`.
///
/// `*` stands for any characters but "/", `**` for any at all, `?` for one character that isn't
/// "/"; all others stand for themselves. A pattern with a "/" is held against the whole path, one
/// without against the last segment; one that begins with "/" means the library's root. Takes time
/// in the order of pattern length times path length.
bool matchesPattern(std::string_view pattern, std::string_view path);

/// The rules of a command line.
class FileRules {
public:
    /// `fallback` is the rule of a file that no pattern matches.
    explicit FileRules(std::string fallback);

    /// Adds "PATTERN=RULE" behind the others. Raises `std::invalid_argument` with a text for a
    /// person.
    void add(std::string_view text);

    /// "always", "missing" or "none".
    const std::string& ruleFor(std::string_view path);

    /// Patterns that no path has matched so far.
    std::vector<std::string> unusedPatterns() const;

private:
    struct Rule {
        std::string pattern;
        std::string rule;
        bool used = false;
    };

    std::vector<Rule> rules_;
    std::string fallback_;
};

/// The three rules that a list may name.
const std::vector<std::string>& knownRules();

}  // namespace KivHost
