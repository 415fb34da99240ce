#pragma once

// The matcher as it is told, by recursion and as slow as it likes: what the one without it is held
// against, by tests and by a fuzz target.

#include <cctype>
#include <cstdint>
#include <cstring>

#include "foundation/wildcard.h"

namespace Brelt {

class WildcardOracle {
public:
    WildcardOracle(const char* text, std::int32_t flags) : start_(text), flags_(flags) {}

    /// 0 for a match, otherwise 1.
    int match(const char* pattern) const { return matches(pattern, start_) ? 0 : 1; }

private:
    bool matches(const char* p, const char* text) const {
        switch (*p) {
            case '\0':
                return *text == '\0' || (*text == '\\' && has(WildcardLeadingDir));
            case '*':
                return star(p + std::strspn(p, "*"), text);
            case '?':
                return !isOut(text) && !isLeadingDot(text) && matches(p + 1, text + 1);
            case '[':
                return !isOut(text) && bracket(p + 1, text);
            default:
                return literal(p, text);
        }
    }

    bool star(const char* p, const char* text) const {
        if (isLeadingDot(text)) {
            return false;
        }
        const char* separator = has(WildcardPathName) ? std::strchr(text, '\\') : nullptr;
        if (*p == '\0') {
            return separator == nullptr || has(WildcardLeadingDir);
        }
        if (*p == '\\' && has(WildcardPathName)) {
            return separator != nullptr && matches(p, separator);
        }
        for (; *text != '\0'; ++text) {
            if (WildcardOracle(text, flags_ & ~WildcardPeriod).matches(p, text)) {
                return true;
            }
            if (text == separator) {
                return false;
            }
        }
        return false;
    }

    /// Takes one character of a bracket, which is low to high, off the pattern.
    bool member(const char*& p, int& value) const {
        p += *p == '\\' && !has(WildcardNoEscape) ? 1 : 0;
        value = folded(*p);
        return *p++ != '\0';
    }

    bool bracket(const char* p, const char* text) const {
        const bool isNegated = *p == '!' || *p == '^';
        p += isNegated ? 1 : 0;
        bool isHit = false;
        while (*p != ']') {
            int low = 0;
            if (!member(p, low)) {
                return false;
            }
            int high = low;
            if (*p == '-' && p[1] != '\0' && p[1] != ']' && !member(++p, high)) {
                return false;
            }
            isHit |= low <= folded(*text) && folded(*text) <= high;
        }
        return isHit != isNegated && matches(p + 1, text + 1);
    }

    bool literal(const char* p, const char* text) const {
        p += *p == '\\' && p[1] != '\0' && !has(WildcardNoEscape) ? 1 : 0;
        if (folded(*p) == folded(*text)) {
            return matches(p + 1, text + 1);
        }
        const bool isBehindRoot = text == start_ + 1 && *start_ == '\\';
        return has(WildcardPrefixDirs) && *text == '\0' &&
               ((*p == '\\' && text != start_) || isBehindRoot);
    }

    bool has(std::int32_t flag) const { return (flags_ & flag) != 0; }

    int folded(char c) const {
        const auto byte = static_cast<unsigned char>(c);
        return has(WildcardCaseFold) ? std::tolower(byte) : byte;
    }

    bool isLeadingDot(const char* text) const {
        return *text == '.' && has(WildcardPeriod) &&
               (text == start_ || (has(WildcardPathName) && text[-1] == '\\'));
    }

    bool isOut(const char* text) const {
        return *text == '\0' || (*text == '\\' && has(WildcardPathName));
    }

    const char* start_;
    std::int32_t flags_;
};

}  // namespace Brelt
