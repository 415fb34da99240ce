#pragma once

// Where systems differ in what a test can see. Each fact stands in the platform's own file.

#include <cstdint>

namespace TestSupport {

/// Wine 8 isn't Windows in a few places that tests come to; they say which.
bool runsUnderWine();

/// Wine shows a connection that the peer has reset as one that it has ended.
inline bool showsResets() {
    return !runsUnderWine();
}

/// The system's numbers for connections that are refused and reset.
extern const std::uint32_t connectionRefused;
extern const std::uint32_t connectionReset;

}  // namespace TestSupport
