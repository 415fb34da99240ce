#pragma once

// What stands behind a `Buffer`: the bytes that libcurl has just received, where they lie. Lent to
// one progress callback. Used by Transfer and by the operations on `Buffer` and `Response`.

#include <cstddef>

namespace Norvel {

// NOLINTNEXTLINE(readability-identifier-naming): the name is the contract's.
struct evbuffer {
    const char* bytes = nullptr;
    std::size_t size = 0;
    /// The bytes have been given out, and so aren't new any more.
    bool taken = false;
    /// A stream refused the bytes. Kept beside the caller's error, which is empty if memory has run
    /// out: a lost piece must never pass for a whole response.
    bool refused = false;
};

}  // namespace Norvel
