#pragma once

// The stream in memory: a list of equal blocks, so that a response of unknown length grows without
// being copied or moved. Any room may use it.

#include <cstdint>

#include "foundation/pstream.h"

namespace Brelt {

/// One block; record and storage are two allocations.
struct MemBlock {
    /// `blockSize` bytes, owned; null only while the block is being made.
    char* bytes;
    MemBlock* next;
};

/// A stream of blocks of `blockSize` bytes each. Works without being opened; `Open` only rewinds.
///
/// A write that ends on a block boundary has the next block appended already, so that `current`
/// always holds `position`. Seeking never extends the stream and walks from the first block.
/// `Write` raises `std::bad_alloc`; the stream stays usable and keeps what the counter tells.
class PMemStream : public PStream {
public:
    MemBlock* head = nullptr;
    /// The highest position ever written since the last reset.
    std::int64_t size = 0;
    /// The block that holds `position`; null while there are none.
    MemBlock* current = nullptr;
    std::int64_t position = 0;
    /// 1 between `Open` and `Close`.
    std::int32_t opened = 0;
    const std::int64_t blockSize;

    /// `bytesInBlock` is above 0. Nothing is allocated yet.
    explicit PMemStream(std::int32_t bytesInBlock) : blockSize(bytesInBlock) {}
    ~PMemStream() override;

    ErrorChain Open() override;
    ErrorChain Close() override;
    ErrorChain Flush() override;
    ErrorChain Write(const void* source, std::int32_t count, std::int32_t* written) override;
    ErrorChain WriteStr(const char* text) override;
    ErrorChain Read(void* destination, std::int32_t count, std::int32_t* read) override;
    ErrorChain Seek(std::int64_t target) override;
    ErrorChain SeekOff(std::int64_t offset) override;
    ErrorChain SeekEnd(std::int64_t offset) override;
    std::int64_t Size() override { return size; }
    std::int64_t Tell() override { return position; }
    std::int32_t IsEof() override { return position == size ? 1 : 0; }
    std::int32_t IsOpen() override { return opened; }

    /// Empties the stream. With 0 the blocks stay for the next writes, else they are freed. Never
    /// fails.
    ErrorChain Reset(std::int32_t freeBlocks);

private:
    std::int64_t chunkAt(std::int64_t wanted) const;
    bool crossesBoundary(std::int64_t chunk) const;
};
static_assert(sizeof(void*) != 8 || sizeof(PMemStream) == 56);

/// A memory stream whose block size is part of its type, so that arrays of it can be made.
template <std::int32_t N>
class PMemStreamGrowStep : public PMemStream {
public:
    PMemStreamGrowStep() : PMemStream(N) {}
};
static_assert(sizeof(PMemStreamGrowStep<16384>) == sizeof(PMemStream));

}  // namespace Brelt
