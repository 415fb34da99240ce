#pragma once

// How long a test waits for something that ought to come at once, before it fails. Never a time
// that a test asserts.

#include <chrono>

namespace TestSupport {

inline constexpr std::chrono::seconds patience{60};

}  // namespace TestSupport
