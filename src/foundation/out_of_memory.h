#pragma once

// Checks for the two values that say nothing when memory runs out: a text without its buffer, and a
// failure without its node. For code that would take the one for another text, the other for
// success.

#include <new>
#include <utility>

#include "foundation/char_string.h"
#include "foundation/error_node.h"

namespace Brelt {

/// Gives back a text that has its bytes; raises `std::bad_alloc` for one that memory ran out for.
inline CharString requireWhole(CharString text) {
    if (text.ptr() == nullptr) {
        throw std::bad_alloc();
    }
    return text;
}

/// Gives back the chain of something that has failed; raises `std::bad_alloc` if it holds no node.
inline ErrorChain requireFailure(ErrorChain error) {
    if (!error) {
        throw std::bad_alloc();
    }
    return error;
}

}  // namespace Brelt
