#pragma once

// The trace of causes together with the operating system's words for a code.
// For the rooms behind the boundary; hosts see error_node.h only.

#include <cstdint>

#include "foundation/char_string.h"
#include "foundation/error_node.h"  // IWYU pragma: export

namespace Brelt {

/// "(code) " and the system's English text for a Windows error code, as UTF-8, with the line end
/// that the text brings along. Code 0 gives a null handle, a code without a text the prefix alone.
CharString getOsErrorText(std::uint32_t code);

}  // namespace Brelt
