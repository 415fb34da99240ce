#pragma once

// The stream over one file of the file system, without a buffer of its own: each operation is one
// call of the system. Any room may use it.

#include <cstdint>

#include "foundation/pstream.h"

namespace Brelt {

/// A file as a stream. Names are UTF-8.
///
/// A failed call of the system gives a chain of one node with the system's code and text; the
/// file's name isn't in it, so the caller adds it. On a closed stream the operations fail in that
/// way too. Positions past the end are no failure: a write there extends the file. Operations that
/// take a name raise `std::bad_alloc`, and so does a failure whose node can't be made.
class PFileStream : public PStream {
public:
    /// In `mode`, its two low bits: what `Open` and `Create` do with a file that exists or doesn't.
    ///
    /// `Open` keeps an existing file but for 3, and makes a missing one for 2 and 3; with 1 it goes
    /// to the end, where `access` allows writing. `Create` empties an existing file but for 1,
    /// which goes to its end, and makes a missing one always.
    static constexpr std::uint32_t existingOnly = 0;
    static constexpr std::uint32_t atEnd = 1;
    static constexpr std::uint32_t openOrMake = 2;
    static constexpr std::uint32_t alwaysEmpty = 3;
    /// In `mode`: the system may read ahead.
    static constexpr std::uint32_t sequentialScan = 0x04;
    /// In `mode`: writes reach the disk before they return.
    static constexpr std::uint32_t writeThrough = 0x08;
    /// In `mode`: the file must not exist; overrides the low bits.
    static constexpr std::uint32_t mustNotExist = 0x10;

    /// In `access`: the rights of Windows, `GENERIC_READ` and `GENERIC_WRITE`.
    static constexpr std::uint32_t readAccess = 0x80000000;
    static constexpr std::uint32_t writeAccess = 0x40000000;
    /// In `share`: others may read the file meanwhile (`FILE_SHARE_READ`).
    static constexpr std::uint32_t shareRead = 1;

    /// Opens less closes.
    std::int32_t openCount = 0;
    /// The remembered name, owned, or null.
    char* fileName = nullptr;
    std::uint32_t access = readAccess | writeAccess;
    std::uint32_t share = shareRead;
    std::uint32_t mode = openOrMake;
    /// The system's handle; null while closed.
    void* file = nullptr;

    PFileStream() = default;
    /// Closes the file; a failure of that is lost.
    ~PFileStream() override;

    /// Opens the remembered name with `access`, `share` and `mode`. An open stream is closed first.
    ErrorChain Open() override;
    /// `SetFile`, then `Open`.
    virtual ErrorChain Open(const char* name, std::uint32_t newAccess, std::uint32_t newShare,
                            std::uint32_t newMode);
    /// Closed in any case, also where this fails. A closed stream stays closed and succeeds.
    ErrorChain Close() override;
    ErrorChain Flush() override;
    /// A `size` below 0 fails as the system fails for a parameter that is incorrect.
    ErrorChain Write(const void* source, std::int32_t size, std::int32_t* written) override;
    ErrorChain WriteStr(const char* text) override;
    /// At the end `read` is below `size`, down to 0. A `size` below 0 fails as in `Write`.
    ErrorChain Read(void* destination, std::int32_t size, std::int32_t* read) override;
    ErrorChain Seek(std::int64_t position) override;
    ErrorChain SeekOff(std::int64_t offset) override;
    ErrorChain SeekEnd(std::int64_t offset) override;
    std::int64_t Size() override;
    ErrorChain Truncate() override;
    std::int64_t Tell() override;
    /// 1 at or behind the end, and where neither position nor size can be had.
    std::int32_t IsEof() override;
    std::int32_t IsOpen() override { return openCount; }

    /// The size of the file of that name in bytes, without opening it; -1 if there is none.
    virtual std::int64_t SizeOfFile(const char* name);
    /// Remembers what `Open` is to use and touches no file. A null `name` forgets the name. Always
    /// succeeds.
    virtual ErrorChain SetFile(const char* name, std::uint32_t newAccess, std::uint32_t newShare,
                               std::uint32_t newMode);
    /// Makes or empties a file and opens it for reading and writing, shared for reading.
    ///
    /// A null `name` takes the remembered one. An open stream is closed first. `newMode` is
    /// remembered, `access` and `share` are neither used nor changed.
    virtual ErrorChain Create(const char* name, std::uint32_t newMode);

private:
    void rememberName(const char* name);
    bool hasName() const { return fileName != nullptr && *fileName != '\0'; }
    ErrorChain openFile(const char* function, std::uint32_t wantedAccess, std::uint32_t wantedShare,
                        std::uint32_t disposition, bool movesToEnd);
    bool closeFile();
    ErrorChain move(const char* function, std::int64_t offset, std::uint32_t method) const;
};
static_assert(sizeof(void*) != 8 || sizeof(PFileStream) == 48);

}  // namespace Brelt
