#pragma once

// The allocator of a program that lets memory run out on purpose: it stands in front of the C
// library's for the whole process, whoever allocates. Linked only into the program of the
// allocation faults.

#include <cstddef>
#include <cstdint>

namespace TestSupport {

enum class Shortage {
    /// One allocation fails, and all is well again.
    Once,
    /// Nothing can be had from then on.
    Lasting,
};

/// From now on the n-th allocation fails, counted over all threads.
void letAllocationFail(std::int64_t n, Shortage shortage);

/// From now on each allocation of exactly `size` bytes fails.
void letBlocksFail(std::size_t size);

/// Memory can be had again. True if any allocation has failed.
bool endShortage();

/// Blocks that have been allocated and not freed.
std::int64_t liveBlocks();

}  // namespace TestSupport
