// The two conversions, one code point at a time.

#include "foundation/text_tools.h"

#include <array>
#include <bit>
#include <climits>

namespace Brelt {

namespace {

// The highest code point of a sequence of index + 1 bytes; 5 to 7 bytes stand outside Unicode, but
// two low surrogates in a row combine to such a value.
constexpr std::array<std::uint32_t, 7> limits = {0x7F,      0x7FF,      0xFFFF,    0x1FFFFF,
                                                 0x3FFFFFF, 0x7FFFFFFF, 0xFFFFFFFF};

constexpr std::uint32_t escapeFirst = 0x100000;
constexpr std::uint32_t escapeLast = 0x1000FF;

constexpr bool isEscape(std::uint32_t codePoint) {
    return codePoint >= escapeFirst && codePoint <= escapeLast;
}

constexpr bool isSurrogate(std::uint32_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

constexpr bool isLowSurrogate(std::uint32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Writes into a destination of `size` units, or only counts.
template <class Unit>
struct Output {
    Unit* destination;
    std::int32_t size;
    std::int32_t count = 0;

    bool isFull() const { return destination != nullptr && count >= size; }

    /// A group of `units` is written only if one more unit still fits behind it.
    bool hasRoomFor(std::int32_t units) const {
        return destination == nullptr || std::int64_t{count} + units < size;
    }

    void put(std::uint32_t unit) {
        if (destination != nullptr) {
            destination[count] = static_cast<Unit>(unit);
        }
        ++count;
    }

    std::int32_t finish() const {
        if (destination != nullptr && count < size) {
            destination[count] = 0;
        }
        return count;
    }
};

void putPair(Output<WideChar>& output, std::uint32_t codePoint) {
    const std::uint32_t offset = codePoint - 0x10000;
    output.put(0xD800 + (offset >> 10));
    output.put(0xDC00 + (offset & 0x3FF));
}

/// One sequence as far as it could be read: `bytes` were consumed, from the lead byte on.
struct Sequence {
    std::uint32_t codePoint;
    std::int32_t bytes;
    bool isSound;
};

Sequence readSequence(const unsigned char* source) {
    const std::int32_t continuations = std::countl_one(*source) - 1;
    if (continuations < 0) {
        return {*source, 1, true};
    }
    Sequence sequence{*source & (0x3FU >> continuations), 1, continuations > 0};
    for (std::int32_t i = 0; i < continuations; ++i) {
        const unsigned char next = source[sequence.bytes];
        if ((next & 0xC0) != 0x80) {
            sequence.isSound = false;
            return sequence;
        }
        sequence.codePoint = (sequence.codePoint << 6) | (next & 0x3FU);
        ++sequence.bytes;
    }
    const bool isOverlong =
        continuations > 0 &&
        sequence.codePoint <= limits[static_cast<std::size_t>(continuations) - 1];
    if (isOverlong || isEscape(sequence.codePoint) || sequence.codePoint >= 0x110000) {
        sequence.isSound = false;
    }
    return sequence;
}

/// False where conversion has to stop for want of room.
bool putEscaped(Output<WideChar>& output, const unsigned char* bytes, std::int32_t count) {
    for (std::int32_t i = 0; i < count && !output.isFull(); ++i) {
        if (!output.hasRoomFor(2)) {
            return false;
        }
        putPair(output, escapeFirst + bytes[i]);
    }
    return true;
}

bool putSound(Output<WideChar>& output, std::uint32_t codePoint) {
    if (codePoint <= 0xFFFF) {
        output.put(codePoint);
        return true;
    }
    if (!output.hasRoomFor(2)) {
        return false;
    }
    putPair(output, codePoint);
    return true;
}

std::uint32_t readCodePoint(const WideChar*& source) {
    const std::uint32_t unit = static_cast<std::uint16_t>(*source++);
    const std::uint32_t next = static_cast<std::uint16_t>(*source);
    if (!isSurrogate(unit) || !isLowSurrogate(next)) {
        return unit;
    }
    ++source;
    return 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00);
}

std::size_t continuationsOf(std::uint32_t codePoint) {
    std::size_t index = 0;
    while (limits[index] < codePoint) {
        ++index;
    }
    return index;
}

bool putUtf8(Output<char>& output, std::uint32_t codePoint) {
    const std::size_t continuations = continuationsOf(codePoint);
    if (continuations == 0) {
        output.put(codePoint);
        return true;
    }
    if (!output.hasRoomFor(static_cast<std::int32_t>(continuations))) {
        return false;
    }
    const std::uint32_t lead = 0xFFU & ~(0xFFU >> (continuations + 1));
    output.put(lead | static_cast<std::uint32_t>(std::uint64_t{codePoint} >> (6 * continuations)));
    for (std::size_t left = continuations; left-- > 0;) {
        output.put(0x80U | ((codePoint >> (6 * left)) & 0x3FU));
    }
    return true;
}

template <class Unit>
std::int32_t countUnits(const Unit* text) {
    std::int32_t count = 0;
    while (text[count] != 0) {
        ++count;
    }
    return count;
}

}  // namespace

std::int32_t utf8ToWide(const char* source, WideChar* destination, std::int32_t size) {
    Output<WideChar> output{destination, size};
    const auto* bytes = reinterpret_cast<const unsigned char*>(source);
    while (*bytes != 0) {
        if (output.isFull()) {
            return output.count;
        }
        const Sequence sequence = readSequence(bytes);
        const bool fits = sequence.isSound ? putSound(output, sequence.codePoint)
                                           : putEscaped(output, bytes, sequence.bytes);
        if (!fits) {
            break;
        }
        bytes += sequence.bytes;
    }
    return output.finish();
}

std::int32_t wideToUtf8(const WideChar* source, char* destination, std::int32_t size) {
    Output<char> output{destination, size};
    while (*source != 0) {
        if (output.isFull()) {
            return output.count;
        }
        const std::uint32_t codePoint = readCodePoint(source);
        if (isEscape(codePoint)) {
            output.put(codePoint & 0xFF);
        } else if (!putUtf8(output, codePoint)) {
            break;
        }
    }
    return output.finish();
}

std::int32_t formatUnbounded(char* destination, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const std::int32_t length = formatBounded(destination, INT_MAX, format, arguments);
    va_end(arguments);
    return length;
}

TextConverter::TextConverter(const char* text)
    : narrow(text),
      ownedNarrow(nullptr),
      narrowSize(text == nullptr ? 0 : countUnits(text) + 1),
      wide(nullptr),
      ownedWide(nullptr),
      wideSize(0) {}

TextConverter::TextConverter(const WideChar* text)
    : narrow(nullptr),
      ownedNarrow(nullptr),
      narrowSize(0),
      wide(text),
      ownedWide(nullptr),
      wideSize(text == nullptr ? 0 : countUnits(text) + 1) {}

TextConverter::~TextConverter() {
    delete[] ownedNarrow;
    delete[] ownedWide;
}

const WideChar* TextConverter::getWide() {
    if (wide == nullptr && narrow != nullptr) {
        const std::int32_t size = utf8ToWide(narrow, nullptr, 0) + 1;
        ownedWide = new WideChar[static_cast<std::size_t>(size)];
        utf8ToWide(narrow, ownedWide, size);
        wide = ownedWide;
        wideSize = size;
    }
    return wide;
}

const char* TextConverter::getNarrow() {
    if (narrow == nullptr && wide != nullptr) {
        const std::int32_t size = wideToUtf8(wide, nullptr, 0) + 1;
        ownedNarrow = new char[static_cast<std::size_t>(size)];
        wideToUtf8(wide, ownedNarrow, size);
        narrow = ownedNarrow;
        narrowSize = size;
    }
    return narrow;
}

CharString TextConverter::getNarrowString() {
    return CharString(getNarrow());
}

}  // namespace Brelt
