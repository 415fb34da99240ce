#pragma once

// What stands behind an `HttpClientPool`: settings, transfers, hand-over and network thread.
// Made by `HttpClientPool::initialize`; the operations of the contract forward to it.

#include <cstdint>
#include <string>

#include "networking/event_loop.h"
#include "networking/hand_over.h"
#include "networking/norvel_networking.h"
#include "networking/pool_settings.h"
#include "networking/transfer.h"

namespace Norvel::Networking {

class ClientPool {
public:
    /// Raises what can't be had: memory, a thread, libcurl.
    explicit ClientPool(std::int32_t clientCount);
    ClientPool(const ClientPool&) = delete;
    ClientPool& operator=(const ClientPool&) = delete;
    /// Ends what is running; no callback comes afterwards.
    ~ClientPool();

    /// The pool behind an array of clients; null for null.
    static ClientPool* of(const HttpClient* clients) {
        return clients == nullptr ? nullptr : clients->pool_;
    }

    /// The contract's array, one element for each client.
    HttpClient* clients() const { return clients_; }
    std::int32_t indexOf(const HttpClient* client) const {
        return static_cast<std::int32_t>(client - clients_);
    }

    /// What the set-up calls write, up to the first request.
    PoolSettings& settings() { return settings_; }
    bool hasStarted() const { return started_; }

    /// Starts a request; the empty text, or why it can't be started.
    std::string request(std::int32_t client, const char* target, ReqTokenGeneralType* token);
    std::int32_t waitFree() { return handOver_.waitFree(); }
    void waitUntilFree(std::int32_t client) { handOver_.waitUntilFree(client); }

private:
    std::string checkTarget(const char* target) const;
    std::string prepare(std::int32_t client, const char* target, ReqTokenGeneralType* token);

    PoolSettings settings_;
    bool started_ = false;
    Transfers transfers_;
    HandOver handOver_;
    HttpClient* clients_ = nullptr;
    EventLoop loop_;
};

}  // namespace Norvel::Networking
