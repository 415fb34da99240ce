#pragma once

// Shell-style matching of whole texts, in which the separator of paths is the backslash.
// Any room may use it; the proxy bypass list is what needs it.

#include <cstdint>

namespace Brelt {

/// A backslash in the pattern is an ordinary character, also inside a bracket expression.
constexpr std::int32_t WildcardNoEscape = 1;
/// A backslash in the text is a separator, which only a literal of the pattern matches.
constexpr std::int32_t WildcardPathName = 2;
/// A "." at the start of the text, or with `WildcardPathName` behind a separator, isn't matched by
/// "*" or "?".
constexpr std::int32_t WildcardPeriod = 4;
/// The pattern may end at a separator of the text; what lies behind it doesn't count.
constexpr std::int32_t WildcardLeadingDir = 8;
/// Characters are compared after the run-time library's `tolower`, by the process's locale.
constexpr std::int32_t WildcardCaseFold = 16;
/// A text that ends where the pattern goes on with a separator matches.
constexpr std::int32_t WildcardPrefixDirs = 32;

/// 0 if `pattern` matches the whole of `text`, else 1. Works on bytes; neither may be null.
///
/// "*" stands for any run of characters, "?" for one, "[a-f]" for one of a set and "[!a-f]" or
/// "[^a-f]" for one that isn't in it; a backslash takes away the meaning of the character behind
/// it. An expression that isn't closed matches nothing, nor does "[]".
///
/// Takes time in the order of the pattern's length times the text's, whatever the pattern, and
/// allocates nothing.
std::int32_t wildcardMatchFlags(const char* pattern, const char* text, std::int32_t flags);

/// 1 if `pattern` matches the whole of `text`, else 0, also where either is null. With
/// `caseSensitive` 0 the case of letters makes no difference.
std::int32_t wildcardMatch(const char* pattern, const char* text, std::int32_t caseSensitive);

}  // namespace Brelt
