#pragma once

// Formatting, and the growable text that ends in a CharString.
// Any room may use it; it is installed with the public headers and needs nothing but them.

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>

#include "foundation/char_string.h"

namespace Brelt {

/// Formats at most `size` bytes with the NUL; returns the length that the whole text has, or -1.
///
/// A null `destination` with a `size` of 0 only tells the length.
inline std::int32_t formatBounded(char* destination, std::int64_t size, const char* format,
                                  std::va_list arguments) {
    const auto room = static_cast<std::size_t>(std::max<std::int64_t>(size, 0));
    const int length = std::vsnprintf(destination, room, format, arguments);
    return length < 0 ? -1 : length;
}

/// Writes `value` in `radix` 2 to 16 with capital digits into `destination`, and returns it.
///
/// At most `size - 1` digits are written, the least significant ones, and a minus sign for radix 10
/// if there is room for it. Another radix gives the empty text; a `size` below 1 writes nothing.
inline char* intToText(std::int64_t value, char* destination, std::int32_t radix,
                       std::int32_t size) {
    if (size < 1) {
        return destination;
    }
    char digits[65];
    std::int32_t first = 64;
    digits[first] = '\0';
    const auto bits = static_cast<std::uint64_t>(value);
    std::uint64_t rest = value < 0 ? std::uint64_t{0} - bits : bits;
    const bool usable = radix >= 2 && radix <= 16;
    const std::int32_t last = std::max(64 - (size - 1), 0);
    while (usable && first > last && (rest != 0 || (value == 0 && first == 64))) {
        digits[--first] = "0123456789ABCDEF"[rest % static_cast<std::uint64_t>(radix)];
        rest /= static_cast<std::uint64_t>(radix);
    }
    if (value < 0 && radix == 10 && first > last) {
        digits[--first] = '-';
    }
    copyBounded(destination, digits + first, size);
    return destination;
}

/// A text under construction. Fields are public for reading; `text` is NUL-terminated or null.
///
/// Growth raises `std::bad_alloc` and leaves the text as it was. Belongs to one thread.
class StringBuilder {
public:
    /// In `flags`: `text` is the caller's array and isn't freed.
    static constexpr std::uint32_t callerOwnsText = 1;
    /// In `flags`: the caller's array holds a text already, which is kept.
    static constexpr std::uint32_t arrayHoldsText = 2;

    /// Capacities are multiples of this.
    std::int64_t granularity;
    /// Factor by which the capacity grows; 0 for none.
    float growth;
    std::uint32_t flags;
    /// Bytes available in `text`.
    std::int64_t capacity;
    /// Bytes of text, without the NUL.
    std::int64_t length;
    char* text;

    /// Builds in the caller's `array` until the text outgrows it; from then on in memory of its
    /// own.
    ///
    /// The array stays with its owner and outlives the builder. It may be null.
    StringBuilder(char* array, std::int64_t arrayCapacity, std::uint32_t arrayFlags)
        : granularity(1024),
          growth(0),
          flags(arrayFlags | callerOwnsText),
          capacity(array == nullptr || arrayCapacity < 1 ? 0 : arrayCapacity),
          length(0),
          text(capacity == 0 ? nullptr : array) {
        if (text == nullptr) {
            return;
        }
        if ((flags & arrayHoldsText) != 0) {
            const char* end = std::find(text, text + capacity - 1, '\0');
            length = end - text;
        }
        text[length] = '\0';
    }

    /// Builds in memory of its own, allocated when first needed.
    ///
    /// `wantedGranularity` is held between 16 and 2^30; `wantedGrowth` counts above 1 and up to
    /// 1024.
    StringBuilder(std::int64_t wantedGranularity, float wantedGrowth)
        : granularity(std::clamp<std::int64_t>(wantedGranularity, 16, 0x40000000)),
          growth(wantedGrowth > 1.0F ? std::min(wantedGrowth, 1024.0F) : 0.0F),
          flags(0),
          capacity(0),
          length(0),
          text(nullptr) {}

    StringBuilder(const StringBuilder&) = delete;
    StringBuilder& operator=(const StringBuilder&) = delete;

    ~StringBuilder() { freeOwnText(); }

    /// A null or empty `s` changes nothing.
    void appendText(const char* s) {
        if (s == nullptr || *s == '\0') {
            return;
        }
        const auto bytes = static_cast<std::int64_t>(std::strlen(s));
        if (text == nullptr || capacity < length + bytes + 1) {
            grow(length + bytes + 1);
        }
        std::memcpy(text + length, s, static_cast<std::size_t>(bytes) + 1);
        length += bytes;
    }

    /// As `intToText`, of which at most 33 characters fit.
    void appendInt(std::int64_t value, std::int32_t radix) {
        char digits[34];
        appendText(intToText(value, digits, radix, sizeof(digits)));
    }

    /// As `printf`; a null or empty format and a failure of the formatter append nothing.
    [[gnu::format(printf, 2, 3)]] void appendFormat(const char* format, ...) {
        if (format == nullptr || *format == '\0') {
            return;
        }
        std::va_list arguments;
        va_start(arguments, format);
        std::va_list again;
        va_copy(again, arguments);
        const std::int32_t bytes = formatAtEnd(format, arguments);
        va_end(arguments);
        if (bytes >= 0 && capacity < length + bytes + 1) {
            growOrEnd(length + bytes + 1, again);
            formatBounded(text + length, capacity - length, format, again);
        }
        va_end(again);
        length += std::max(bytes, 0);
    }

    /// The text; a null handle while `text` is null.
    CharString toCharString() const {
        constexpr std::int64_t longest = std::numeric_limits<std::int32_t>::max();
        return length > longest ? CharString(text, longest) : CharString(text);
    }

private:
    void freeOwnText() {
        if ((flags & callerOwnsText) == 0) {
            delete[] text;
        }
    }

    std::int64_t roundUp(std::int64_t size) const {
        return (size + granularity - 1) / granularity * granularity;
    }

    void grow(std::int64_t needed) {
        std::int64_t newCapacity = roundUp(needed);
        const auto grown = static_cast<std::int64_t>(static_cast<double>(capacity) * growth);
        if (growth > 1.0F && grown > newCapacity) {
            newCapacity = roundUp(grown);
        }
        char* fresh = new char[static_cast<std::size_t>(newCapacity)];
        if (text != nullptr) {
            std::memcpy(fresh, text, static_cast<std::size_t>(length) + 1);
        } else {
            *fresh = '\0';
        }
        freeOwnText();
        flags &= ~(callerOwnsText | arrayHoldsText);
        text = fresh;
        capacity = newCapacity;
    }

    /// Formats into the room behind the text, which may be none; a text that doesn't fit leaves no
    /// trace.
    std::int32_t formatAtEnd(const char* format, std::va_list arguments) {
        char nowhere = '\0';
        const std::int64_t room = text == nullptr ? 0 : capacity - length;
        char* end = room > 0 ? text + length : &nowhere;
        const std::int32_t bytes = formatBounded(end, room, format, arguments);
        if (bytes < 0 || bytes >= room) {
            *end = '\0';
        }
        return bytes;
    }

    /// Grows; a `va_list` must be ended also when that raises.
    void growOrEnd(std::int64_t needed, std::va_list arguments) {
        try {
            grow(needed);
        } catch (...) {
            va_end(arguments);
            throw;
        }
    }
};
static_assert(sizeof(void*) != 8 || sizeof(StringBuilder) == 40);
static_assert(offsetof(StringBuilder, granularity) == 0);
static_assert(offsetof(StringBuilder, growth) == 8);
static_assert(offsetof(StringBuilder, flags) == 12);
static_assert(offsetof(StringBuilder, capacity) == 16);
static_assert(offsetof(StringBuilder, length) == 24);
static_assert(offsetof(StringBuilder, text) == 32);

}  // namespace Brelt
