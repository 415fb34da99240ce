#pragma once

// The string of the whole system, also across the boundary to the networking library and the host.
// Any room may use it; it is installed with the public headers and needs nothing but them.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <utility>

namespace Brelt {

/// Copies at most `size - 1` bytes of `source`, up to its first NUL, and always writes a NUL.
///
/// Returns the count of bytes copied plus one. With a `size` below 1 it writes nothing and returns
/// 0.
inline std::int32_t copyBounded(char* destination, const char* source, std::int32_t size) {
    if (size < 1) {
        return 0;
    }
    std::int32_t count = 0;
    while (count < size - 1 && source[count] != '\0') {
        destination[count] = source[count];
        ++count;
    }
    destination[count] = '\0';
    return count + 1;
}

/// What the handles of one text share. Order and widths are a contract between modules: a holder is
/// reallocated and released only by the functions that it carries, wherever it was made.
struct CharStringHolder {
    /// Sizes `buffer`: (old block or null, size in bytes) to the new block, or null on failure.
    void* (*reallocate)(void* block, std::size_t size);
    /// Frees `buffer`, and the holder itself.
    void (*release)(void* block);
    /// The text and its NUL, or null.
    char* buffer;
    /// The number of handles that share this holder.
    std::atomic<std::int32_t> refCount;
};
static_assert(sizeof(void*) != 8 || sizeof(CharStringHolder) == 32);
static_assert(offsetof(CharStringHolder, reallocate) == 0);
static_assert(offsetof(CharStringHolder, release) == sizeof(void*));
static_assert(offsetof(CharStringHolder, buffer) == 2 * sizeof(void*));
static_assert(offsetof(CharStringHolder, refCount) == 3 * sizeof(void*));
static_assert(sizeof(std::atomic<std::int32_t>) == sizeof(std::int32_t));

/// A handle to a reference-counted, copy-on-write, NUL-terminated byte string; UTF-8 by convention.
///
/// A null handle is a value of its own, apart from the empty text. There is no stored length:
/// reading it is a scan, and each append reallocates. Any number of threads may hold handles to one
/// holder; one handle is used by one thread at a time. A buffer that can't be had leaves a live
/// holder without one, which reads as the empty text; a holder that can't be had raises
/// `std::bad_alloc`.
class CharString {
public:
    CharString() noexcept = default;

    /// A copy of `s`; a null `s` gives a null handle, the empty text doesn't.
    CharString(const char* s) { assign(s); }

    /// A copy of at most `n` bytes of `s`, up to its first NUL; a null `s` or an `n` of 0 gives a
    /// null handle.
    CharString(const char* s, std::int32_t n) { assign(s, n); }

    CharString(const CharString& other) noexcept : holder_(other.holder_) { share(); }
    CharString(CharString&& other) noexcept : holder_(std::exchange(other.holder_, nullptr)) {}
    ~CharString() { clear(); }

    // Handles of one record are left as they are, so one assigned to itself is too.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
    CharString& operator=(const CharString& other) noexcept {
        if (holder_ != other.holder_) {
            clear();
            holder_ = other.holder_;
            share();
        }
        return *this;
    }

    CharString& operator=(CharString&& other) noexcept {
        if (holder_ != other.holder_) {
            clear();
            holder_ = std::exchange(other.holder_, nullptr);
        }
        return *this;
    }

    /// The buffer, or null. It stays valid until this handle changes.
    const char* ptr() const noexcept { return holder_ == nullptr ? nullptr : holder_->buffer; }

    /// The text; the empty text where there is no buffer.
    const char* cstr() const noexcept { return ptr() == nullptr ? "" : ptr(); }

    /// Bytes before the NUL.
    std::int32_t length() const noexcept {
        constexpr auto longest = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
        const std::size_t bytes = std::strlen(cstr());
        return static_cast<std::int32_t>(bytes < longest ? bytes : longest);
    }

    bool isEmpty() const noexcept { return *cstr() == '\0'; }

    /// True for the same pointer and for equal bytes; a null handle equals no text, not even the
    /// empty one.
    bool operator==(const char* s) const noexcept {
        if (ptr() == s) {
            return true;
        }
        return ptr() != nullptr && s != nullptr && std::strcmp(ptr(), s) == 0;
    }

    /// `a` and `b` in one text; shares `a`'s holder where `b` has no buffer.
    friend CharString operator+(const CharString& a, const CharString& b) {
        CharString result(a);
        if (b.ptr() != nullptr) {
            result.append(b.ptr());
        }
        return result;
    }

    /// Gives up the reference; the last one frees the holder by its own function. Leaves a null
    /// handle.
    void clear() noexcept {
        CharStringHolder* holder = std::exchange(holder_, nullptr);
        if (holder == nullptr || holder->refCount.fetch_sub(1) != 1) {
            return;
        }
        void (*release)(void*) = holder->release;
        release(holder->buffer);
        holder->buffer = nullptr;
        release(holder);
    }

    /// Becomes a copy of `s`, which may lie in this string's own buffer. A null `s` is `clear`.
    void assign(const char* s) {
        if (s == nullptr) {
            clear();
        } else if (s != ptr()) {
            assignBounded(s, static_cast<std::int64_t>(std::strlen(s)));
        }
    }

    /// Becomes a copy of at most `n` bytes of `s`, up to its first NUL; the buffer has `n + 1`
    /// bytes.
    void assign(const char* s, std::int32_t n) {
        if (s == nullptr || n == 0) {
            clear();
        } else {
            assignBounded(s, n);
        }
    }

    /// Sizes the buffer to `n + 1` bytes and makes this handle its only owner.
    ///
    /// With `keep`, or where it was the only owner already, the old bytes stay as far as they fit.
    /// No NUL is written but with a kept text: the caller writes text and NUL.
    void resizeBuffer(std::int32_t n, bool keep) { resizeBytes(std::int64_t{n} + 1, keep); }

    /// Cuts the text, or fills it up with blanks; an `n` of 0 or less is `clear`.
    void setLength(std::int32_t n) {
        if (n <= 0) {
            clear();
            return;
        }
        const std::int32_t old = length();
        if (n == old) {
            return;
        }
        resizeBuffer(n, true);
        char* buffer = ownBuffer();
        if (buffer == nullptr) {
            return;
        }
        if (n > old) {
            std::memset(buffer + old, ' ', static_cast<std::size_t>(n - old));
        }
        buffer[n] = '\0';
    }

    /// The writable text of a string of its own, or null; writing must keep the NUL and the length.
    char* detach() {
        if (isShared()) {
            resizeBytes(std::int64_t{length()} + 1, true);
        }
        return ownBuffer();
    }

    /// Adds `s`, which may lie in this string's own buffer. A null `s` changes nothing.
    void append(const char* s) {
        if (s == nullptr) {
            return;
        }
        if (holder_ == nullptr) {
            assign(s);
        } else if (ownsAddress(s)) {
            append(CharString(s).cstr());
        } else {
            appendBounded(s, static_cast<std::int64_t>(std::strlen(s)));
        }
    }

    void append(char c) {
        const char text[2] = {c, '\0'};
        appendBounded(text, 1);
    }

    /// Lowers the bytes `A` to `Z`; all others stay.
    void toLower() {
        char* text = detach();
        for (; text != nullptr && *text != '\0'; ++text) {
            if (*text >= 'A' && *text <= 'Z') {
                *text = static_cast<char>(*text + ('a' - 'A'));
            }
        }
    }

    /// For tests, and for what crosses the module boundary.
    CharStringHolder* holder() const noexcept { return holder_; }

private:
    static CharStringHolder* makeHolder(std::int64_t bytes) {
        void* block = std::malloc(sizeof(CharStringHolder));
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        auto* holder = new (block) CharStringHolder{std::realloc, std::free, nullptr, {1}};
        sizeHolder(*holder, bytes);
        return holder;
    }

    /// Sizes the buffer of a holder that has one owner; what can't be sized is left without a
    /// buffer.
    static void sizeHolder(CharStringHolder& holder, std::int64_t bytes) noexcept {
        const bool sizable = bytes > 0 && bytes <= std::numeric_limits<std::int32_t>::max();
        void* sized =
            sizable ? holder.reallocate(holder.buffer, static_cast<std::size_t>(bytes)) : nullptr;
        if (sized == nullptr) {
            holder.release(holder.buffer);
        }
        holder.buffer = static_cast<char*>(sized);
    }

    void share() const noexcept {
        if (holder_ != nullptr) {
            holder_->refCount.fetch_add(1);
        }
    }

    bool isShared() const noexcept {
        return holder_ != nullptr && holder_->refCount.load(std::memory_order_acquire) >= 2;
    }

    char* ownBuffer() const noexcept { return holder_ == nullptr ? nullptr : holder_->buffer; }

    bool ownsAddress(const char* s) const noexcept {
        const std::less<> before;
        return ptr() != nullptr && !before(s, ptr()) && !before(ptr() + std::strlen(ptr()), s);
    }

    void resizeBytes(std::int64_t bytes, bool keep) {
        if (holder_ != nullptr && !isShared()) {
            sizeHolder(*holder_, bytes);
            return;
        }
        CharString fresh;
        fresh.holder_ = makeHolder(bytes);
        if (keep && fresh.ptr() != nullptr) {
            copyBounded(fresh.ownBuffer(), cstr(), static_cast<std::int32_t>(bytes));
        }
        *this = std::move(fresh);
    }

    void assignBounded(const char* s, std::int64_t bytes) {
        if (ownsAddress(s)) {
            const CharString source(s);
            assignBounded(source.cstr(), bytes);
            return;
        }
        resizeBytes(bytes + 1, false);
        if (char* buffer = ownBuffer(); buffer != nullptr) {
            copyBounded(buffer, s, static_cast<std::int32_t>(bytes + 1));
        }
    }

    void appendBounded(const char* s, std::int64_t bytes) {
        const std::int64_t old = length();
        const std::int64_t size = old + bytes + 1;
        resizeBytes(size, true);
        if (char* buffer = ownBuffer(); buffer != nullptr) {
            copyBounded(buffer + old, s, static_cast<std::int32_t>(size - old));
        }
    }

    CharStringHolder* holder_ = nullptr;
};
static_assert(sizeof(CharString) == sizeof(void*));

}  // namespace Brelt
