#pragma once

// Short forms for the rows of tables.

#include <string>
#include <utility>

#include "foundation/error_chain.h"

namespace TestSupport {

inline std::string printed(const Brelt::ErrorChain& error) {
    return error.toCharString().cstr();
}

/// The texts before and behind the mark of a row.
inline std::pair<std::string, std::string> bothSides(const std::string& row,
                                                     const std::string& mark = " -> ") {
    const std::size_t at = row.find(mark);
    return {row.substr(0, at), row.substr(at + mark.size())};
}

}  // namespace TestSupport
