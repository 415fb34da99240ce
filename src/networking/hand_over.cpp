// The arrows of the drawing in the header.

#include "networking/hand_over.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace Norvel::Networking {

HandOver::HandOver(std::int32_t clientCount)
    : states_(static_cast<std::size_t>(clientCount), State::Free),
      free_(static_cast<std::size_t>(clientCount)) {
    std::iota(free_.begin(), free_.end(), 0);
    queued_.reserve(free_.size());
}

std::int32_t HandOver::waitFree() {
    std::unique_lock lock(mutex_);
    freed_.wait(lock, [this] { return closed_ || !free_.empty(); });
    return closed_ ? -1 : free_.front();
}

void HandOver::waitUntilFree(std::int32_t client) {
    std::unique_lock lock(mutex_);
    freed_.wait(lock, [this, client] { return stateOf(client) == State::Free; });
}

bool HandOver::isFree(std::int32_t client) {
    const std::lock_guard lock(mutex_);
    return stateOf(client) == State::Free;
}

HandOver::Enqueued HandOver::enqueue(std::int32_t client) {
    const std::lock_guard lock(mutex_);
    if (closed_ || stateOf(client) != State::Free) {
        return Enqueued::Refused;
    }
    free_.erase(std::find(free_.begin(), free_.end(), client));
    stateOf(client) = State::Queued;
    queued_.push_back(client);
    return std::exchange(asleep_, false) ? Enqueued::Asleep : Enqueued::Awake;
}

void HandOver::close() {
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
    }
    freed_.notify_all();
}

bool HandOver::takeQueued(std::vector<std::int32_t>& clients) {
    const std::lock_guard lock(mutex_);
    asleep_ = false;
    for (const std::int32_t client : queued_) {
        stateOf(client) = State::InFlight;
        clients.push_back(client);
    }
    queued_.clear();
    return !closed_;
}

void HandOver::release(std::int32_t client) {
    {
        const std::lock_guard lock(mutex_);
        stateOf(client) = State::Free;
        free_.push_back(client);
    }
    freed_.notify_all();
}

bool HandOver::fallAsleep() {
    const std::lock_guard lock(mutex_);
    asleep_ = queued_.empty() && !closed_;
    return asleep_;
}

}  // namespace Norvel::Networking
