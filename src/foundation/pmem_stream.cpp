// The walk along the blocks.

#include "foundation/pmem_stream.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

namespace Brelt {

namespace {

MemBlock* makeBlock(std::int64_t bytes) {
    auto block = std::make_unique<MemBlock>();
    block->bytes = new char[static_cast<std::size_t>(bytes)];
    return block.release();
}

void freeBlocks(MemBlock* block) {
    while (block != nullptr) {
        const std::unique_ptr<MemBlock> dying(block);
        block = dying->next;
        delete[] dying->bytes;
    }
}

/// `place` is not negative, so the sum leaves its type at the upper end only.
std::int64_t addUpToHighest(std::int64_t place, std::int64_t offset) {
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    return offset > highest - place ? highest : place + offset;
}

}  // namespace

PMemStream::~PMemStream() {
    freeBlocks(head);
}

ErrorChain PMemStream::Open() {
    if (opened != 0) {
        return ErrorChain::make("PMemStream::Open", -1, "Stream already opened");
    }
    current = head;
    position = 0;
    opened = 1;
    return {};
}

ErrorChain PMemStream::Close() {
    opened = 0;
    return {};
}

ErrorChain PMemStream::Flush() {
    return {};
}

std::int64_t PMemStream::chunkAt(std::int64_t wanted) const {
    return std::min(wanted, blockSize - position % blockSize);
}

bool PMemStream::crossesBoundary(std::int64_t chunk) const {
    return position % blockSize + chunk == blockSize;
}

ErrorChain PMemStream::Write(const void* source, std::int32_t count, std::int32_t* written) {
    *written = 0;
    if (count > 0 && head == nullptr) {
        head = current = makeBlock(blockSize);
    }
    const char* bytes = static_cast<const char*>(source);
    while (*written < count) {
        const std::int64_t chunk = chunkAt(count - *written);
        std::memcpy(current->bytes + position % blockSize, bytes + *written,
                    static_cast<std::size_t>(chunk));
        if (crossesBoundary(chunk)) {
            if (current->next == nullptr) {
                current->next = makeBlock(blockSize);
            }
            current = current->next;
        }
        position += chunk;
        size = std::max(size, position);
        *written += static_cast<std::int32_t>(chunk);
    }
    return {};
}

ErrorChain PMemStream::WriteStr(const char* text) {
    std::int32_t written = 0;
    return Write(text, static_cast<std::int32_t>(std::strlen(text)), &written);
}

ErrorChain PMemStream::Read(void* destination, std::int32_t count, std::int32_t* read) {
    *read = 0;
    if (count < 0) {
        return ErrorChain::make("PMemStream::Read", -1, "Invalid read size (%d)", count);
    }
    char* bytes = static_cast<char*>(destination);
    for (std::int64_t left = std::min<std::int64_t>(count, size - position); left > 0;) {
        const std::int64_t chunk = chunkAt(left);
        if (current == nullptr) {
            return ErrorChain::make("PMemStream::Read", -1, "Block not found (internal error)");
        }
        std::memcpy(bytes + *read, current->bytes + position % blockSize,
                    static_cast<std::size_t>(chunk));
        if (crossesBoundary(chunk)) {
            current = current->next;
        }
        position += chunk;
        left -= chunk;
        *read += static_cast<std::int32_t>(chunk);
    }
    return {};
}

ErrorChain PMemStream::Seek(std::int64_t target) {
    if (target < 0 || target > size) {
        return ErrorChain::make("PMemStream::Seek", -1, "Seek position = %lli, stream size = %lli",
                                static_cast<long long>(target), static_cast<long long>(size));
    }
    position = target;
    current = head;
    for (auto index = static_cast<std::int32_t>(target / blockSize); index > 0; --index) {
        if (current == nullptr || current->next == nullptr) {
            return ErrorChain::make("PMemStream::Seek", -2, "Block not found (internal error)");
        }
        current = current->next;
    }
    return {};
}

ErrorChain PMemStream::SeekOff(std::int64_t offset) {
    return Seek(addUpToHighest(position, offset));
}

ErrorChain PMemStream::SeekEnd(std::int64_t offset) {
    return Seek(addUpToHighest(size, offset));
}

ErrorChain PMemStream::Reset(std::int32_t freeBlocks) {
    if (freeBlocks != 0) {
        Brelt::freeBlocks(head);
        head = nullptr;
    }
    size = 0;
    current = head;
    position = 0;
    return {};
}

}  // namespace Brelt
