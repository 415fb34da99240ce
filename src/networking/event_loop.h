#pragma once

// The network thread of a pool: drives all its transfers over one libcurl multi handle and sleeps
// while nothing moves. Made by ClientPool.

#include <curl/curl.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "networking/hand_over.h"
#include "networking/transfer.h"

namespace Norvel::Networking {

using Transfers = std::vector<std::unique_ptr<Transfer>>;

class EventLoop {
public:
    /// Starts the thread. Client i of `handOver` is `transfers[i]`; both outlive the loop. Raises
    /// what a thread or a multi handle that can't be had raises.
    EventLoop(HandOver& handOver, Transfers& transfers);
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;
    /// Closes the hand-over, ends what is running without a further callback, joins the thread.
    ~EventLoop();

    /// Gets the thread out of its sleep.
    void wake();

private:
    struct MultiCleanup {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };

    void run() noexcept;
    bool takeQueued();
    void perform();
    void collectFinished();
    void tick();
    void waitForEvents();
    void end(std::int32_t client, CURLcode result);
    void endAll(CURLcode result);
    void abandonAll();
    Transfer& transfer(std::int32_t client) const {
        return *transfers_[static_cast<std::size_t>(client)];
    }

    HandOver& handOver_;
    Transfers& transfers_;
    /// Guards `multi_` against a wake-up that comes while the thread ends.
    std::mutex multiMutex_;
    std::unique_ptr<CURLM, MultiCleanup> multi_;
    /// Clients in flight.
    std::vector<std::int32_t> running_;
    std::vector<std::int32_t> arrived_;
    std::thread thread_;
};

}  // namespace Norvel::Networking
