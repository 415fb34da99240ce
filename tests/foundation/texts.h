#pragma once

// Short forms for the rows of tables.

#include <string>
#include <utility>

#include "foundation/error_chain.h"

namespace TestSupport {

inline std::string printed(const Brelt::ErrorChain& error) {
    return error.toCharString().cstr();
}

/// The texts before and behind the " -> " of a row.
inline std::pair<std::string, std::string> bothSides(const std::string& row) {
    const std::size_t arrow = row.find(" -> ");
    return {row.substr(0, arrow), row.substr(arrow + 4)};
}

}  // namespace TestSupport
