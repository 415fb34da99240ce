#pragma once

// Decides when a transfer counts as dead. Arithmetic alone: the event loop brings the time.

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace Norvel::Networking {

using TimePoint = std::chrono::steady_clock::time_point;

/// A transfer has `limit` to live, and each byte buys it one second more, up to `limit` again: one
/// that moves at least 1 byte a second never ends, one that stands still ends after `limit`.
class StallClock {
public:
    explicit StallClock(std::chrono::milliseconds limit) : limit_(limit) {}

    void start(TimePoint now) { deadline_ = now + limit_; }

    void received(TimePoint now, std::int64_t bytes) {
        const std::int64_t enough = limit_ / std::chrono::seconds(1) + 1;
        deadline_ = std::min<TimePoint>(now + limit_,
                                        deadline_ + std::chrono::seconds(std::min(bytes, enough)));
    }

    TimePoint deadline() const { return deadline_; }

private:
    std::chrono::milliseconds limit_;
    TimePoint deadline_;
};

}  // namespace Norvel::Networking
