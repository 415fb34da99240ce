#pragma once

// Comparison of the stamps. For the stamp step alone.

#include <cstdint>

#include "foundation/error_chain.h"
#include "foundation/pstream.h"

/// 0 if the streams hold the same bytes, else -1, with `error` filled if a stream failed.
///
/// `error` is empty on entry. Streams of different sizes aren't read; the positions afterwards are
/// the end, or wherever the difference was found.
std::int32_t compareStreams(Brelt::ErrorChain& error, Brelt::PStream* first,
                            Brelt::PStream* second);
