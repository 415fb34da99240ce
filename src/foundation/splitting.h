#pragma once

// Cutting texts into pieces, at single bytes. Nothing is trimmed, folded or interpreted.
// Any room may use it; the system's proxy settings are what needs it.

#include <array>
#include <cstdint>

#include "foundation/char_string.h"
#include "foundation/table.h"

namespace Brelt {

/// A set of bytes, one bit each, built for the length of one call.
struct DelimiterSet {
    /// Byte `c` is bit `c % 32` of word `c / 32`.
    std::array<std::uint32_t, 8> words{};

    void add(char c) {
        const auto byte = static_cast<unsigned char>(c);
        words[byte / 32U] |= std::uint32_t{1} << (byte % 32U);
    }

    bool contains(char c) const {
        const auto byte = static_cast<unsigned char>(c);
        return ((words[byte / 32U] >> (byte % 32U)) & 1U) != 0;
    }
};
static_assert(sizeof(DelimiterSet) == 32);

/// A missing part is a null handle; a value that is present but empty is not.
struct KeyValuePair {
    CharString key;
    CharString value;
};
static_assert(sizeof(KeyValuePair) == 2 * sizeof(CharString));

/// Pieces go behind what the output holds already; without it they replace it.
constexpr std::int32_t SplitAppend = 1;
/// Empty pieces are stored too, as null handles; without it they are dropped.
constexpr std::int32_t SplitKeepEmpty = 2;
/// With `SplitKeepEmpty`: in the end all empty elements of the output are non-null empty texts.
constexpr std::int32_t SplitEmptyNotNull = 4;

/// Appends to `positions` the offset of each byte of `text` that occurs in `delimiters`.
///
/// Returns the length of `text`; 0, with `positions` unchanged, where either is null or empty.
std::int32_t findDelimiters(const char* text, const char* delimiters,
                            Table<std::int32_t>& positions);

/// Cuts the `length` bytes of `text` at `positions`, which rise; the bytes there belong to no
/// piece.
///
/// `lengths` may be null; else it receives the length of each stored piece, in step with `pieces`.
/// Returns the number of pieces that this call has stored. Room is reserved once, with no spare.
std::int32_t splitAtPositions(const char* text, std::int32_t length, Table<CharString>& pieces,
                              Table<std::int32_t>* lengths, const Table<std::int32_t>& positions,
                              std::int32_t flags);

/// Splits at one byte; returns the number of pieces stored.
///
/// A null or empty `text` leaves `pieces` as they were, also without `SplitAppend`. With the
/// `delimiter` 0 the text is a row of NUL-terminated texts that ends with an empty one.
std::int32_t splitByChar(const char* text, char delimiter, Table<CharString>& pieces,
                         std::int32_t flags);

/// Splits at the bytes of `delimiters`, drops empty pieces, and cuts each at `separator`.
///
/// Of the flags only `SplitAppend` has an effect. A null or empty `text` leaves `pairs` as they
/// were.
void splitKeyValuePairs(const char* text, Table<KeyValuePair>& pairs, const char* delimiters,
                        char separator, std::int32_t flags);

/// Cuts `text` at its first `separator`. A null or empty `text` or a `separator` of 0 gives two
/// nulls.
KeyValuePair splitKeyValue(const char* text, char separator);

/// Cuts `text` at its first byte of `set`: an empty key is null, and so is the value without such a
/// byte.
KeyValuePair splitAtFirstOf(const char* text, const DelimiterSet& set);

}  // namespace Brelt
