#include "support/process_state.h"

#include <chrono>
#include <ostream>
#include <thread>

#include "support/patience.h"

namespace TestSupport {

ProcessState ProcessState::settledTo(const ProcessState& wanted) {
    const auto end = std::chrono::steady_clock::now() + patience;
    ProcessState state = now();
    while (state != wanted && std::chrono::steady_clock::now() < end) {
        // No event tells that a thread has left the list.
        std::this_thread::yield();
        state = now();
    }
    return state;
}

std::ostream& operator<<(std::ostream& stream, const ProcessState& state) {
    return stream << state.descriptors << " descriptors or handles, " << state.threads
                  << " threads";
}

}  // namespace TestSupport
