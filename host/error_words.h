#pragma once

// Turns the library's traces into words for a person. For kivsync.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/error_node.h"

namespace KivHost {

/// What the result code of a transfer means; empty for a code without words.
std::string_view transferWords(std::uint32_t reason);

/// What a certificate's verification result means; empty for a number without words.
std::string_view certificateWords(std::uint32_t result);

/// What an HTTP status other than 200 means to this library; empty for one without words.
std::string_view statusWords(std::uint32_t status);

/// A node's message in one line, printable, with the words for the numbers in it.
std::string explainMessage(std::string_view message);

/// One line for each node of the trace, what was tried first, the cause last.
std::vector<std::string> explainTrace(const Brelt::ErrorChain& error);

}  // namespace KivHost
