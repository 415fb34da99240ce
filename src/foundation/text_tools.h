#pragma once

// Lossless conversion between UTF-8 and UTF-16, and the small text tools beside it.
// Any room may use it. UTF-16 text exists only for the moment of a system call.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "foundation/char_string.h"
#include "foundation/string_builder.h"  // IWYU pragma: export

namespace Brelt {

#ifdef _WIN32
using WideChar = wchar_t;
#else
using WideChar = char16_t;
#endif

/// Converts NUL-terminated UTF-8 to UTF-16; returns the units written, without the terminator.
///
/// With a null `destination` it only counts. Otherwise at most `size` units are written; a text
/// that doesn't fit is cut, which isn't told: call once to count, then with that count plus one.
///
/// No byte is lost: a byte `b` that is no part of a sound sequence becomes code point 0x100000 +
/// `b`, and the sequences of these 256 code points themselves are treated as unsound. A surrogate
/// in three bytes passes as a lone unit. `wideToUtf8` of the result gives the same bytes again;
/// only such a surrogate with a low one right behind it comes back as the one sequence for both.
std::int32_t utf8ToWide(const char* source, WideChar* destination, std::int32_t size);

/// Converts NUL-terminated UTF-16 to UTF-8; returns the bytes written, without the NUL.
///
/// The same manner of calling as `utf8ToWide`, and the same escapes. Lone surrogates take three
/// bytes; two low surrogates in a row combine to a value above Unicode's, in four or five bytes.
std::int32_t wideToUtf8(const WideChar* source, char* destination, std::int32_t size);

/// As `vsprintf`: no limit, the caller vouches for the room. Returns the length, or -1.
[[gnu::format(printf, 2, 3)]] std::int32_t formatUnbounded(char* destination, const char* format,
                                                           ...);

/// The other form of a text, made when first asked for and owned from then on.
///
/// The given text isn't copied and must outlive this object; pointers handed out die with it.
/// Belongs to one thread. Raises `std::bad_alloc`.
class TextConverter {
public:
    const char* narrow;
    char* ownedNarrow;
    /// Bytes with the NUL; 0 while there is no such form.
    std::int32_t narrowSize;
    const WideChar* wide;
    WideChar* ownedWide;
    /// Units with the terminator; 0 while there is no such form.
    std::int32_t wideSize;

    explicit TextConverter(const char* text);
    explicit TextConverter(const WideChar* text);
    TextConverter(const TextConverter&) = delete;
    TextConverter& operator=(const TextConverter&) = delete;
    ~TextConverter();

    /// Null where a null text was given.
    const WideChar* getWide();
    const char* getNarrow();
    CharString getNarrowString();
};
static_assert(sizeof(void*) != 8 || sizeof(TextConverter) == 48);
static_assert(offsetof(TextConverter, narrow) == 0);
static_assert(offsetof(TextConverter, ownedNarrow) == sizeof(void*));
static_assert(offsetof(TextConverter, narrowSize) == 2 * sizeof(void*));
static_assert(sizeof(void*) != 8 || offsetof(TextConverter, wide) == 24);
static_assert(sizeof(void*) != 8 || offsetof(TextConverter, ownedWide) == 32);
static_assert(sizeof(void*) != 8 || offsetof(TextConverter, wideSize) == 40);

}  // namespace Brelt
