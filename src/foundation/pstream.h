#pragma once

// The abstract stream of bytes: what a response is received into, and what files are written
// through. Any room may use it. The order of the virtual operations is a contract with the
// networking library.

#include <cstdint>

#include "foundation/char_string.h"
#include "foundation/error_chain.h"

namespace Brelt {

/// A sequential stream of bytes with a position.
///
/// A short transfer is no failure of `Read` and `Write`: it is how the end of a stream shows, and
/// the counters tell it. `ReadBuffer` and `WriteBuffer` turn it into one. Counters are set in any
/// case. A stream belongs to one thread at a time.
///
/// Records are stored without alignment, integers in little-endian order: a Pascal string is a
/// 16-bit length and its bytes, a `CharString` a 32-bit length and its bytes, neither with a
/// terminator.
class PStream {
public:
    PStream() = default;
    PStream(const PStream&) = delete;
    PStream& operator=(const PStream&) = delete;
    virtual ~PStream();

    virtual ErrorChain Open() = 0;
    virtual ErrorChain Close() = 0;
    virtual ErrorChain Flush() = 0;
    virtual ErrorChain Write(const void* source, std::int32_t size, std::int32_t* written) = 0;
    /// Writes a text without its NUL.
    virtual ErrorChain WriteStr(const char* text) = 0;
    /// `written` counts the whole record, the length's two bytes included.
    virtual ErrorChain WritePascalStr(const char* text, std::uint16_t length,
                                      std::int32_t* written);
    virtual ErrorChain Read(void* destination, std::int32_t size, std::int32_t* read) = 0;
    /// Reads all of `size` bytes or fails.
    virtual ErrorChain ReadBuffer(void* destination, std::int32_t size);
    /// `destination` has room for 65,535 bytes; nothing terminates the text.
    virtual ErrorChain ReadPascalStr(char* destination, std::uint16_t* length, std::int32_t* read);
    /// In `length` goes the size of `destination`, out comes the length of the text, which is
    /// terminated.
    ///
    /// An empty record leaves both untouched; a text that doesn't fit stays unread and fails.
    virtual ErrorChain ReadPascalStr1(char* destination, std::uint16_t* length, std::int32_t* read);
    /// A null handle is written like the empty text.
    virtual ErrorChain WriteCharString(const CharString& text);
    /// A record of length 0 gives a null handle.
    virtual ErrorChain ReadCharString(CharString& text);
    /// To a position from the start.
    virtual ErrorChain Seek(std::int64_t position) = 0;
    /// By an offset from the current position.
    virtual ErrorChain SeekOff(std::int64_t offset) = 0;
    /// By an offset from the end.
    virtual ErrorChain SeekEnd(std::int64_t offset) = 0;
    /// Bytes, or -1 on failure.
    virtual std::int64_t Size() = 0;
    /// Ends the stream at the current position; a stream that can't do that says so.
    virtual ErrorChain Truncate();
    /// The position, or -1 on failure.
    virtual std::int64_t Tell() = 0;
    /// 1 at the end, else 0.
    virtual std::int32_t IsEof() = 0;
    /// Non-zero when open.
    virtual std::int32_t IsOpen() = 0;

    /// Writes all of `size` bytes or fails.
    ErrorChain WriteBuffer(const void* source, std::int32_t size);
    ErrorChain WriteU32(std::uint32_t value);
    /// The caller looks at `written`, which is 2 on success.
    ErrorChain WriteU16(std::uint16_t value, std::int32_t* written);
    ErrorChain ReadU32(std::uint32_t& value);
    /// The caller looks at `read`, which is 2 on success.
    ErrorChain ReadU16(std::uint16_t& value, std::int32_t* read);
};

/// Copies up to `total` bytes from the source's position to the destination's.
///
/// The counters tell what was moved, also after a failure; a source that ends early is no failure.
/// The copy goes through a buffer of `bufferSize` bytes, 32,768 if that is below 1, at most 32 MiB.
/// Raises `std::bad_alloc`.
ErrorChain copyStream(PStream* destination, PStream* source, std::int64_t total,
                      std::int64_t* bytesRead, std::int64_t* bytesWritten, std::int32_t bufferSize);

}  // namespace Brelt
