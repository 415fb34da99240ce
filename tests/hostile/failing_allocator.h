#pragma once

// The allocator of the program that lets memory run out on purpose: it stands in front of the C
// library's for the whole process, whoever allocates.

#include <cstddef>
#include <cstdint>

namespace TestSupport {

/// From now on the n-th allocation fails, counted over all threads; with `isLasting` all later ones
/// as well. With a `size` it is instead each allocation of exactly so many bytes.
void startShortage(std::int64_t n, bool isLasting, std::size_t size = 0);

/// Memory can be had again. True if any allocation has failed.
bool endShortage();

/// Blocks that have been allocated and not freed.
std::int64_t liveBlocks();

}  // namespace TestSupport
