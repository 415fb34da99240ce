#pragma once

// A pool as its owner uses it, with a record of what each request was told.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "foundation/pmem_stream.h"
#include "networking/limits.h"
#include "networking/norvel_networking.h"
#include "support/scripted_server.h"

namespace TestSupport {

/// One request's side of the conversation: the token of the library.
struct FetchedResponse : Norvel::Networking::ReqTokenGeneralType {
    std::int32_t status = 0;
    std::string body;
    std::int64_t received = 0;
    /// Progress callbacks without bytes.
    int ticks = 0;
    std::vector<Norvel::Networking::ResponseError> errors;
    /// Callbacks that came after the one that cancelled.
    int callsAfterCancel = 0;
    bool cancelled = false;
    /// Says whether to stop, asked in each progress callback. Runs on the library's thread.
    std::function<bool()> wantsStop;
    /// Where the bytes go; `body` if null.
    Brelt::PStream* stream = nullptr;
    /// The chain of a write that failed.
    Brelt::ErrorChain writeError;

    /// The result code of the only error; 0 without one, -1 for several.
    int reason() const;
    std::uint32_t flags() const { return errors.empty() ? 0 : errors.front().reason & ~0xFFFU; }
    std::uint32_t underlying() const { return errors.empty() ? 0 : errors.front().underlying; }
};

class Fetcher {
public:
    static constexpr int clientCount = 5;

    explicit Fetcher(int clients = clientCount);
    Fetcher(const Fetcher&) = delete;
    Fetcher& operator=(const Fetcher&) = delete;
    ~Fetcher() { pool.destroy(); }

    void useServer(int port, const char* host = "127.0.0.1");

    /// Starts a request on the next free client; the text of the error, empty if it was started.
    std::string start(const std::string& target, FetchedResponse& response);
    /// Starts one request for each of `responses`.
    void startAll(const std::string& target, std::vector<FetchedResponse>& responses);
    void waitForAll();
    /// One request from start to end.
    void fetch(const std::string& target, FetchedResponse& response);
    FetchedResponse fetch(const std::string& target);

    Norvel::Networking::HttpClientPool pool{nullptr, 0, -1};
    /// Of all set-up calls so far.
    Norvel::Err error;
};

/// A server and a pool that asks it.
struct Exchange {
    explicit Exchange(int clients = Fetcher::clientCount) : fetcher(clients) {
        fetcher.useServer(server.port());
    }
    ScriptedServer server;
    Fetcher fetcher;
};

/// Limits that end what a test would otherwise wait for; back at the old ones in the end.
class ShortLimits {
public:
    ShortLimits() = default;
    ShortLimits(const ShortLimits&) = delete;
    ShortLimits& operator=(const ShortLimits&) = delete;
    ~ShortLimits() { Norvel::Networking::currentLimits() = before_; }
    Norvel::Networking::Limits* operator->() { return &Norvel::Networking::currentLimits(); }

private:
    const Norvel::Networking::Limits before_ = Norvel::Networking::currentLimits();
};

}  // namespace TestSupport
