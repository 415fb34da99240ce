// The matcher. A pattern is a row of segments with groups of stars between them; each element of a
// segment matches exactly one character.
//
// The plain form tries for each group of stars all places of its reach (the rest of the text, or up
// to the next separator) and goes on with the rest of the pattern by recursion: a power of the
// number of groups. Here a group goes on from the first place at which its segment fits, and never
// comes back. That loses nothing:
// - Two places of one reach at which a segment fits leave the next group with the same end of its
//   reach, and the earlier place leaves it more of it. With separators that holds because only a
//   literal separator matches one: a segment with such a literal fits at one place of the reach at
//   most, and one without it stays in front of the separator that ends the reach.
// - What a start of its own does for a place (WildcardPrefixDirs) can only decide when the text is
//   used up, so it never passes on to another group.
// - What decides the whole match inside a segment, without reaching the next group, can do so at
//   any place. So each group scans its whole reach once, also behind the place from where it goes
//   on.

#include "foundation/wildcard.h"

#include <cctype>

namespace Brelt {

namespace {

constexpr unsigned char separator = '\\';

/// Open: not decided yet.
enum class Verdict { Match, NoMatch, Open };

struct Cursor {
    const unsigned char* pattern;
    const unsigned char* text;
    /// Where the text began for this try.
    const unsigned char* start;
    /// WildcardPeriod; it holds up to the first group of stars that tries places.
    bool guardsPeriod;
};

class Matcher {
public:
    explicit Matcher(std::int32_t flags) : flags_(flags) {}

    bool matches(Cursor cursor) const {
        Verdict verdict = walkSegment(cursor);
        while (verdict == Verdict::Open) {
            verdict = passStars(cursor);
        }
        return verdict == Verdict::Match;
    }

private:
    bool has(std::int32_t flag) const { return (flags_ & flag) != 0; }

    bool isSeparator(unsigned char c) const { return c == separator && has(WildcardPathName); }

    unsigned char fold(unsigned char c) const {
        return has(WildcardCaseFold) ? static_cast<unsigned char>(std::tolower(c)) : c;
    }

    bool isGuardedPeriod(const Cursor& at) const {
        return *at.text == '.' && at.guardsPeriod &&
               (at.text == at.start || isSeparator(at.text[-1]));
    }

    /// Open: the cursor stands on a star.
    Verdict walkSegment(Cursor& at) const {
        Verdict verdict = Verdict::Open;
        while (verdict == Verdict::Open && *at.pattern != '*') {
            switch (*at.pattern) {
                case '\0':
                    return matchEnd(at);
                case '?':
                    verdict = matchAny(at);
                    break;
                case '[':
                    verdict = matchBracket(at);
                    break;
                default:
                    verdict = matchLiteral(at);
                    break;
            }
        }
        return verdict;
    }

    Verdict matchEnd(const Cursor& at) const {
        const bool ends = *at.text == '\0' || (*at.text == separator && has(WildcardLeadingDir));
        return ends ? Verdict::Match : Verdict::NoMatch;
    }

    Verdict matchAny(Cursor& at) const {
        if (*at.text == '\0' || isSeparator(*at.text) || isGuardedPeriod(at)) {
            return Verdict::NoMatch;
        }
        ++at.pattern;
        ++at.text;
        return Verdict::Open;
    }

    Verdict matchBracket(Cursor& at) const {
        if (*at.text == '\0' || isSeparator(*at.text)) {
            return Verdict::NoMatch;
        }
        const unsigned char wanted = fold(*at.text);
        ++at.pattern;
        const bool negated = *at.pattern == '!' || *at.pattern == '^';
        at.pattern += negated ? 1 : 0;
        bool hit = false;
        while (*at.pattern != ']') {
            unsigned char lower = 0;
            unsigned char upper = 0;
            if (!readRange(at.pattern, lower, upper)) {
                return Verdict::NoMatch;
            }
            hit = hit || (lower <= wanted && wanted <= upper);
        }
        ++at.pattern;
        ++at.text;
        return hit != negated ? Verdict::Open : Verdict::NoMatch;
    }

    /// One member, or two with a "-" between them; false if the pattern ends first.
    bool readRange(const unsigned char*& pattern, unsigned char& lower,
                   unsigned char& upper) const {
        if (!readMember(pattern, lower)) {
            return false;
        }
        upper = lower;
        if (*pattern != '-' || pattern[1] == '\0' || pattern[1] == ']') {
            return true;
        }
        ++pattern;
        return readMember(pattern, upper);
    }

    bool readMember(const unsigned char*& pattern, unsigned char& member) const {
        if (*pattern == '\\' && !has(WildcardNoEscape)) {
            ++pattern;
        }
        if (*pattern == '\0') {
            return false;
        }
        member = fold(*pattern);
        ++pattern;
        return true;
    }

    Verdict matchLiteral(Cursor& at) const {
        unsigned char c = *at.pattern;
        ++at.pattern;
        if (c == '\\' && !has(WildcardNoEscape) && *at.pattern != '\0') {
            c = *at.pattern;
            ++at.pattern;
        }
        if (fold(c) == fold(*at.text)) {
            ++at.text;
            return Verdict::Open;
        }
        return isPrefixDir(at, c) ? Verdict::Match : Verdict::NoMatch;
    }

    /// The text has ended in front of a separator of the pattern, or right behind its own.
    bool isPrefixDir(const Cursor& at, unsigned char c) const {
        if (!has(WildcardPrefixDirs) || *at.text != '\0') {
            return false;
        }
        return (c == separator && at.text != at.start) ||
               (at.text == at.start + 1 && *at.start == separator);
    }

    /// Passes a group of stars and the segment behind it. Open: stands on the next group.
    Verdict passStars(Cursor& at) const {
        while (*at.pattern == '*') {
            ++at.pattern;
        }
        if (isGuardedPeriod(at)) {
            return Verdict::NoMatch;
        }
        if (*at.pattern == '\0') {
            return matchRest(at.text);
        }
        if (isSeparator(*at.pattern)) {
            at.text = findSeparator(at.text);
            return *at.text == '\0' ? Verdict::NoMatch : walkSegment(at);
        }
        return scanReach(at);
    }

    static const unsigned char* findSeparator(const unsigned char* text) {
        while (*text != '\0' && *text != separator) {
            ++text;
        }
        return text;
    }

    Verdict matchRest(const unsigned char* text) const {
        const bool crosses = !has(WildcardPathName) || has(WildcardLeadingDir);
        return crosses || *findSeparator(text) == '\0' ? Verdict::Match : Verdict::NoMatch;
    }

    Verdict scanReach(Cursor& at) const {
        Verdict result = Verdict::NoMatch;
        const unsigned char* const segment = at.pattern;
        for (const unsigned char* place = at.text; *place != '\0'; ++place) {
            Cursor attempt{segment, place, place, false};
            const Verdict verdict = walkSegment(attempt);
            if (verdict == Verdict::Match) {
                return verdict;
            }
            if (verdict == Verdict::Open && result == Verdict::NoMatch) {
                result = verdict;
                at = attempt;
            }
            if (isSeparator(*place)) {
                break;
            }
        }
        return result;
    }

    std::int32_t flags_;
};

}  // namespace

std::int32_t wildcardMatchFlags(const char* pattern, const char* text, std::int32_t flags) {
    const auto* begin = reinterpret_cast<const unsigned char*>(text);
    const Cursor cursor{reinterpret_cast<const unsigned char*>(pattern), begin, begin,
                        (flags & WildcardPeriod) != 0};
    return Matcher(flags).matches(cursor) ? 0 : 1;
}

std::int32_t wildcardMatch(const char* pattern, const char* text, std::int32_t caseSensitive) {
    if (pattern == nullptr || text == nullptr) {
        return 0;
    }
    return wildcardMatchFlags(pattern, text, caseSensitive == 0 ? WildcardCaseFold : 0) == 0 ? 1
                                                                                             : 0;
}

}  // namespace Brelt
