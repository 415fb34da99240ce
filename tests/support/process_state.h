#pragma once

// What this process holds of its system, to prove that a run leaves nothing over.
//
//     const ProcessState before = ProcessState::now();
//     ... runs ...
//     EXPECT_EQ(ProcessState::settledTo(before), before);
//
// Look only at times when the test's own servers and children are the same as before.

#include <iosfwd>

namespace TestSupport {

struct ProcessState {
    int descriptors = 0;
    int threads = 0;

    static ProcessState now();

    /// The state once it equals `wanted`, or as it still is after the test's patience: a joined
    /// thread stays in the system's list for a moment.
    static ProcessState settledTo(const ProcessState& wanted);

    bool operator==(const ProcessState&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const ProcessState& state);

/// What the program has allocated, in bytes; 0 where nobody tells: under a sanitizer, and on
/// Windows.
long long allocatedBytes();

}  // namespace TestSupport
