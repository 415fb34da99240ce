#pragma once

// What this process holds of its system, to prove that a run leaves nothing over.
//
//     const ProcessState before = ProcessState::now();
//     ... runs ...
//     EXPECT_EQ(ProcessState::settledTo(before), before);
//
// Look only at times when the test's own servers and children are the same as before.

#include <chrono>
#include <ostream>
#include <thread>

#include "support/patience.h"

namespace TestSupport {

struct ProcessState {
    /// On Windows its handles.
    int descriptors = 0;
    int threads = 0;

    static ProcessState now();

    /// The state once it equals `wanted`, or as it still is after the test's patience: a joined
    /// thread stays in the system's list for a moment, and no event tells when it leaves.
    static ProcessState settledTo(const ProcessState& wanted) {
        const auto end = std::chrono::steady_clock::now() + patience;
        ProcessState state = now();
        while (state != wanted && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
            state = now();
        }
        return state;
    }

    bool operator==(const ProcessState&) const = default;
};

inline std::ostream& operator<<(std::ostream& stream, const ProcessState& state) {
    return stream << state.descriptors << " descriptors, " << state.threads << " threads";
}

/// What the program has allocated, in bytes; 0 where nobody tells: under a sanitizer, and on
/// Windows.
long long allocatedBytes();

}  // namespace TestSupport
