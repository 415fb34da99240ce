#pragma once

// Who a client belongs to, and how it changes hands: the only state that the owner's thread and the
// network thread share. Made and used by ClientPool and EventLoop.

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

namespace Norvel::Networking {

/// The states of a client, with the thread that moves it on:
///
///     Free ----enqueue, owner----> Queued ----takeQueued, network----> InFlight
///      ^                                                                  |
///      +---------------release, network: callbacks are over---------------+
///
/// A free client is the owner's, with what hangs on its token. It may have finished a request whose
/// outcome nobody has looked at (finished) or not (taken): that difference is the owner's, who
/// learns of the finish from `waitFree` or `waitUntilFree`. Queued and in flight it is the network
/// thread's. Each arrow runs under the mutex, so what one side wrote before it the other side sees
/// after it.
class HandOver {
public:
    /// All of `clientCount` clients are free. Raises `std::bad_alloc`; nothing later does.
    explicit HandOver(std::int32_t clientCount);

    // The owner's side.

    /// Blocks until a client is free; the one that has been free the longest, or -1 once closed.
    std::int32_t waitFree();
    /// Blocks until this client is free.
    void waitUntilFree(std::int32_t client);
    bool isFree(std::int32_t client);
    enum class Enqueued { Refused, Awake, Asleep };
    /// Hands a free client to the network thread; tells whether that must be woken. Refused if the
    /// client isn't free or all is closed.
    Enqueued enqueue(std::int32_t client);
    /// Nothing is handed over any more.
    void close();

    // The network thread's side.

    /// Moves what is queued to the end of `clients`, which has room for all. False once closed.
    bool takeQueued(std::vector<std::int32_t>& clients);
    /// Hands a client back.
    void release(std::int32_t client);
    /// True if nothing is queued: from then on, up to the next `takeQueued`, `enqueue` asks to be
    /// followed by a wake-up.
    bool fallAsleep();

private:
    enum class State : std::uint8_t { Free, Queued, InFlight };

    State& stateOf(std::int32_t client) { return states_[static_cast<std::size_t>(client)]; }

    std::mutex mutex_;
    std::condition_variable freed_;
    std::vector<State> states_;
    /// Free clients, the longest free first.
    std::vector<std::int32_t> free_;
    std::vector<std::int32_t> queued_;
    bool asleep_ = false;
    bool closed_ = false;
};

}  // namespace Norvel::Networking
