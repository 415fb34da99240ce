#pragma once

// The matcher as it is told, by recursion: what the one without it is held against, by tests and by
// a fuzz target.

#include <cctype>
#include <cstdint>
#include <cstring>

#include "foundation/wildcard.h"

namespace Brelt {

/// The plain matcher: recursive, and as slow as it likes.
class WildcardOracle {
public:
    WildcardOracle(const char* text, std::int32_t flags)
        : text_(text), start_(text), flags_(flags) {}

    int match(const char* p) {
        int result = open;
        while (result == open) {
            result = step(p);
        }
        return result;
    }

private:
    static constexpr int open = -1;

    int step(const char*& p) {
        const char c = *p++;
        switch (c) {
            case '\0':
                return (has(WildcardLeadingDir) && *text_ == '\\') || *text_ == '\0' ? 0 : 1;
            case '*':
                return star(p);
            case '?':
                return any();
            case '[':
                return bracket(p);
            default:
                return literal(c, p);
        }
    }

    int star(const char*& p) {
        p += std::strspn(p, "*");
        if (leadingDot()) {
            return 1;
        }
        const char* separator = std::strchr(text_, '\\');
        if (*p == '\0') {
            const bool crosses = !has(WildcardPathName) || has(WildcardLeadingDir);
            return crosses || separator == nullptr ? 0 : 1;
        }
        if (*p != '\\' || !has(WildcardPathName)) {
            return tryPlaces(p);
        }
        text_ = separator;
        return separator == nullptr ? 1 : open;
    }

    bool has(std::int32_t flag) const { return (flags_ & flag) != 0; }

    int fold(char c) const {
        const auto byte = static_cast<unsigned char>(c);
        return has(WildcardCaseFold) ? std::tolower(byte) : byte;
    }

    bool leadingDot() const {
        return *text_ == '.' && has(WildcardPeriod) &&
               (text_ == start_ || (has(WildcardPathName) && text_[-1] == '\\'));
    }

    bool isOut() const { return *text_ == '\0' || (*text_ == '\\' && has(WildcardPathName)); }

    int tryPlaces(const char* p) const {
        for (const char* place = text_; *place != '\0'; ++place) {
            if (WildcardOracle(place, flags_ & ~WildcardPeriod).match(p) == 0) {
                return 0;
            }
            if (*place == '\\' && has(WildcardPathName)) {
                break;
            }
        }
        return 1;
    }

    int any() {
        if (isOut() || leadingDot()) {
            return 1;
        }
        ++text_;
        return open;
    }

    bool member(const char*& p, int& value) const {
        if (*p == '\\' && !has(WildcardNoEscape)) {
            ++p;
        }
        value = fold(*p);
        return *p++ != '\0';
    }

    int bracket(const char*& p) {
        if (isOut()) {
            return 1;
        }
        const bool negated = *p == '!' || *p == '^';
        p += negated ? 1 : 0;
        bool hit = false;
        while (*p != ']') {
            int low = 0;
            if (!member(p, low)) {
                return 1;
            }
            int high = low;
            if (*p == '-' && p[1] != '\0' && p[1] != ']' && !member(++p, high)) {
                return 1;
            }
            hit |= low <= fold(*text_) && fold(*text_) <= high;
        }
        ++p;
        ++text_;
        return hit == negated ? 1 : open;
    }

    int literal(char c, const char*& p) {
        if (c == '\\' && !has(WildcardNoEscape) && *p != '\0') {
            c = *p++;
        }
        if (fold(c) == fold(*text_)) {
            ++text_;
            return open;
        }
        const bool behind = text_ == start_ + 1 && *start_ == '\\';
        return has(WildcardPrefixDirs) && *text_ == '\0' &&
                       ((c == '\\' && text_ != start_) || behind)
                   ? 0
                   : 1;
    }

    const char* text_;
    const char* start_;
    std::int32_t flags_;
};

}  // namespace Brelt
