// The contract's pool and client: each operation checks, reports into the caller's error and
// forwards. No exception leaves.

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "networking/client_pool.h"
#include "networking/norvel_networking.h"

namespace Norvel::Networking {

Limits& currentLimits() {
    static Limits limits;
    return limits;
}

namespace {

constexpr std::int32_t mostClients = 1'000;

/// Runs `step`, which gives the empty text or what is wrong, and puts that into `error`.
template <class Step>
bool report(Err& error, const char* function, Step step) noexcept {
    try {
        const std::string trouble = step();
        if (trouble.empty()) {
            return true;
        }
        error.chain.push(function, -1, "%s", trouble.c_str());
    } catch (const std::exception& exception) {
        error.chain.push(function, -1, "%s", exception.what());
    }
    return false;
}

/// The same for a step of the set-up, which needs a usable pool that has had no requests. One that
/// fails, also by an exception, leaves a pool that refuses requests.
template <class Step>
bool setUp(Err& error, const char* function, ClientPool* pool, Step step) noexcept {
    return report(error, function, [&]() -> std::string {
        if (pool == nullptr) {
            return "The pool isn't initialized";
        }
        if (pool->hasStarted()) {
            return "The pool has had requests already";
        }
        const bool wasRefused = pool->settings().refused;
        pool->settings().refused = true;
        std::string trouble = step(pool->settings());
        pool->settings().refused = wasRefused || !trouble.empty();
        return trouble;
    });
}

std::string readAddress(const char* what, const char* host, std::int32_t port,
                        std::optional<ServerAddress>& address) {
    ServerAddress read;
    const std::string trouble = readServerAddress(host == nullptr ? "" : host, port, read);
    if (!trouble.empty()) {
        return std::string(what) + " can't be used: " + trouble;
    }
    address = std::move(read);
    return {};
}

}  // namespace

bool HttpClientPool::initialize(int clientCount) {
    if (clients != nullptr || clientCount < 1 || clientCount > mostClients) {
        return false;
    }
    try {
        if (startCurl()) {
            clients = (new ClientPool(clientCount))->clients();
            count = clientCount;
        }
    } catch (const std::exception&) {
        clients = nullptr;
    }
    return clients != nullptr;
}

bool HttpClientPool::setMode(Err& error, unsigned mode) {
    return setUp(error, "HttpClientPool::setMode", ClientPool::of(clients),
                 [&](PoolSettings&) -> std::string {
                     return mode == 2 ? "" : "Mode " + std::to_string(mode) + " isn't known";
                 });
}

bool HttpClientPool::setServer(Err& error, const char* host, int port, IP* /*address*/) {
    return setUp(error, "HttpClientPool::setServer", ClientPool::of(clients),
                 [&](PoolSettings& settings) {
                     return readAddress("The server", host, port, settings.server);
                 });
}

bool HttpClientPool::setSSLContext(Err& error, const ClientSSLConfiguration* configuration) {
    return setUp(error, "HttpClientPool::setSSLContext", ClientPool::of(clients),
                 [&](PoolSettings& settings) {
                     ClientSSLConfiguration copy;
                     std::string trouble = copyConfiguration(configuration, copy);
                     if (trouble.empty()) {
                         settings.tls = std::move(copy);
                     }
                     return trouble;
                 });
}

bool HttpClientPool::setProxyServer(Err& error, const char* host, int port) {
    return setUp(error, "HttpClientPool::setProxyServer", ClientPool::of(clients),
                 [&](PoolSettings& settings) {
                     settings.proxy.reset();
                     return host == nullptr ? std::string()
                                            : readAddress("The proxy", host, port, settings.proxy);
                 });
}

bool HttpClientPool::setCallbacks(Err& error, const HttpClient::Callbacks& callbacks,
                                  void* userData) {
    return setUp(error, "HttpClientPool::setCallbacks", ClientPool::of(clients),
                 [&](PoolSettings& settings) -> std::string {
                     if (callbacks.size != sizeof(callbacks)) {
                         return "The record of callbacks has an unknown size";
                     }
                     settings.callbacks = callbacks;
                     settings.source.userData = userData;
                     return {};
                 });
}

bool HttpClientPool::setHeaders(Err& error, Headers& headers, bool append) {
    return setUp(error, "HttpClientPool::setHeaders", ClientPool::of(clients),
                 [&](PoolSettings& settings) {
                     HeaderList list = append ? settings.headers : HeaderList();
                     if (headers.list_ != nullptr) {
                         list.lines.insert(list.lines.end(), headers.list_->lines.begin(),
                                           headers.list_->lines.end());
                     }
                     settings.headers = std::move(list);
                     return std::string();
                 });
}

HttpClient* HttpClientPool::waitAvailable(int* index) {
    ClientPool* const usable = ClientPool::of(clients);
    const std::int32_t client = usable == nullptr ? -1 : usable->waitFree();
    if (client < 0) {
        return nullptr;
    }
    if (index != nullptr) {
        *index = client;
    }
    return clients + client;
}

void HttpClientPool::destroy() {
    delete ClientPool::of(clients);
    clients = nullptr;
    count = 0;
}

bool HttpClient::request(Err& error, const char* path, unsigned /*flags*/,
                         ReqTokenGeneralType* token, Buffer* /*buffer*/, ReqIDGeneralType** id) {
    if (id != nullptr) {
        *id = nullptr;
    }
    return report(error, "HttpClient::request",
                  [&] { return pool_->request(pool_->indexOf(this), path, token); });
}

void HttpClient::waitForRequestCompletion(ReqIDGeneralType* /*id*/) {
    pool_->waitUntilFree(pool_->indexOf(this));
}

}  // namespace Norvel::Networking
