// The state of a process as Linux shows it under /proc.

#include <malloc.h>

#include <filesystem>
#include <iterator>

#include "support/process_state.h"

namespace TestSupport {

namespace {

int entriesIn(const char* directory) {
    const std::filesystem::directory_iterator entries(directory);
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

}  // namespace

ProcessState ProcessState::now() {
    // The iterator's own descriptor is in both counts of a comparison.
    return {entriesIn("/proc/self/fd"), entriesIn("/proc/self/task")};
}

long long allocatedBytes() {
    const struct mallinfo2 information = ::mallinfo2();
    return static_cast<long long>(information.uordblks) +
           static_cast<long long>(information.hblkhd);
}

}  // namespace TestSupport
