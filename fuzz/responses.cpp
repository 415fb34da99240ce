// The bytes of a whole connection, as a server might send them: each request ends, in one outcome.

#include <array>
#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "foundation/pmem_stream.h"
#include "fuzzing.h"
#include "networking/limits.h"
#include "networking/norvel_networking.h"
#include "support/sockets.h"

using namespace std::chrono_literals;
using Fuzzing::require;
using namespace Norvel::Networking;

namespace {

/// Answers each connection with the bytes of the moment, and ends it.
class Server {
public:
    Server() : thread_([this] { run(); }) {}
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server() {
        stopping_ = true;
        thread_.join();
    }

    int port() const { return listener_.localPort(); }
    /// For the connections to come; an earlier one may still be busy with the bytes before.
    void answerWith(std::string bytes) {
        const std::lock_guard lock(mutex_);
        bytes_ = std::move(bytes);
    }

private:
    void run() {
        while (!stopping_) {
            if (listener_.isReady(TestSupport::Interest::Read, slice)) {
                answer(listener_.accept());
            }
        }
    }

    void answer(TestSupport::Socket client) {
        std::array<char, 4096> request;
        while (client.isOpen() && !client.receive(request.data(), request.size())) {
            waitFor(client, TestSupport::Interest::Read);
        }
        const std::string bytes = bytesNow();
        for (std::string_view rest = bytes; client.isOpen() && !rest.empty();) {
            const auto sent = client.send(rest.data(), rest.size());
            if (sent && *sent < 0) {
                return;
            }
            rest.remove_prefix(static_cast<std::size_t>(sent.value_or(0)));
            if (!sent) {
                waitFor(client, TestSupport::Interest::Write);
            }
        }
    }

    std::string bytesNow() {
        const std::lock_guard lock(mutex_);
        return bytes_;
    }

    void waitFor(TestSupport::Socket& client, TestSupport::Interest interest) {
        if (!client.isReady(interest, slice) && stopping_) {
            client.close();
        }
    }

    static constexpr std::chrono::milliseconds slice = 5ms;
    TestSupport::Socket listener_ = TestSupport::Socket::listenOnLoopback();
    std::atomic<bool> stopping_{false};
    std::mutex mutex_;
    std::string bytes_;
    std::thread thread_;
};

/// One request's outcome.
struct Outcome : ReqTokenGeneralType {
    std::int32_t status = 0;
    int statusCalls = 0;
    int errorCalls = 0;
    std::int64_t received = 0;
    Brelt::PMemStream stream{1024};
};

void onStatus(CallbackSource*, ReqTokenGeneralType* token, const std::int32_t* status) {
    auto& outcome = *static_cast<Outcome*>(token);
    outcome.status = *status;
    ++outcome.statusCalls;
}

void onProgress(CallbackSource*, ReqTokenGeneralType* token, ResponseProgress* progress,
                Response* response) {
    auto& outcome = *static_cast<Outcome*>(token);
    require(outcome.statusCalls == 1 || progress->received == 0);
    Norvel::Buffer buffer;
    response->getResponseData(buffer);
    Norvel::Err error;
    require(buffer.saveTo(error, &outcome.stream));
    outcome.received = progress->received;
    if (buffer.content != nullptr) {
        Norvel::internalEvbufferFree(buffer.content);
    }
}

void onError(CallbackSource*, const ResponseError*, ReqTokenGeneralType* token) {
    ++static_cast<Outcome*>(token)->errorCalls;
}

/// One client on the server above, made once.
class Client {
public:
    explicit Client(int port)
        : callbacks_{
              sizeof(callbacks_), nullptr, onStatus, onProgress, onError, nullptr, nullptr, 1} {
        currentLimits().stallTime = 2s;
        require(pool_.initialize(1));
        Norvel::Err error;
        require(pool_.setServer(error, "127.0.0.1", port, nullptr));
        require(pool_.setProxyServer(error, nullptr, 0));
        require(pool_.setCallbacks(error, callbacks_, this));
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() { pool_.destroy(); }

    void fetch(Outcome& outcome) {
        int index = -1;
        HttpClient* const client = pool_.waitAvailable(&index);
        require(client != nullptr);
        Norvel::Err error;
        require(client->request(error, "/", 1, &outcome, nullptr, nullptr));
        client->waitForRequestCompletion(nullptr);
    }

private:
    HttpClient::Callbacks callbacks_;
    HttpClientPool pool_{nullptr, 0, -1};
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Server server;
    static Client client(server.port());
    server.answerWith(std::string(reinterpret_cast<const char*>(data), size));
    Outcome outcome;
    client.fetch(outcome);
    require(outcome.statusCalls <= 1 && outcome.errorCalls <= 1);
    require(outcome.errorCalls == 1 || (outcome.status >= 200 && outcome.status <= 999));
    require(outcome.stream.Size() == outcome.received);
    require(outcome.received <= static_cast<std::int64_t>(size));
    return 0;
}
