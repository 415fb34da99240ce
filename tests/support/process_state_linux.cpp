// The state of a process as Linux shows it under /proc.

#include <malloc.h>
#include <poll.h>

#include <charconv>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>

#include "support/patience.h"
#include "support/process_state.h"

namespace TestSupport {

namespace {

int entriesIn(const char* directory) {
    const std::filesystem::directory_iterator entries(directory);
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

/// A line such as "VmRSS:    1234 kB" of the status file, in bytes.
long long statusBytes(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        long long kibibytes = 0;
        if (word == name && status >> kibibytes) {
            return kibibytes * 1024;
        }
    }
    return -1;
}

}  // namespace

ProcessState ProcessState::now() {
    // The iterator's own descriptor is in both counts of a comparison.
    return {entriesIn("/proc/self/fd"), entriesIn("/proc/self/task")};
}

ProcessState ProcessState::settledTo(const ProcessState& wanted) {
    const auto end = std::chrono::steady_clock::now() + patience;
    ProcessState state = now();
    while (state != wanted && std::chrono::steady_clock::now() < end) {
        // No event tells that a thread has left the list.
        ::poll(nullptr, 0, 1);
        state = now();
    }
    return state;
}

std::ostream& operator<<(std::ostream& stream, const ProcessState& state) {
    return stream << state.descriptors << " descriptors, " << state.threads << " threads";
}

long long residentBytes() {
    return statusBytes("VmRSS:");
}

long long peakResidentBytes() {
    return statusBytes("VmHWM:");
}

long long allocatedBytes() {
    const struct mallinfo2 information = ::mallinfo2();
    return static_cast<long long>(information.uordblks) +
           static_cast<long long>(information.hblkhd);
}

}  // namespace TestSupport
