// The owner's side of a request: judging its target, preparing its transfer, handing it over.

#include "networking/client_pool.h"

#include <algorithm>
#include <memory>
#include <string_view>

namespace Norvel::Networking {

namespace {

bool isControlCharacter(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

PoolSettings makeSettings() {
    PoolSettings settings;
    settings.limits = currentLimits();
    return settings;
}

Transfers makeTransfers(std::int32_t count, PoolSettings& settings) {
    Transfers transfers;
    for (std::int32_t i = 0; i < count; ++i) {
        transfers.push_back(std::make_unique<Transfer>(settings));
    }
    return transfers;
}

}  // namespace

ClientPool::ClientPool(std::int32_t clientCount)
    : settings_(makeSettings()),
      transfers_(makeTransfers(clientCount, settings_)),
      handOver_(clientCount),
      loop_(handOver_, transfers_) {
    clients_ = new HttpClient[static_cast<std::size_t>(clientCount)];
    std::for_each(clients_, clients_ + clientCount,
                  [this](HttpClient& client) { client.pool_ = this; });
}

ClientPool::~ClientPool() {
    delete[] clients_;
}

std::string ClientPool::checkTarget(const char* target) const {
    const std::string_view text = target == nullptr ? std::string_view() : target;
    if (settings_.refused || !settings_.server) {
        return settings_.refused ? "The set-up of the pool has failed" : "No server is set";
    }
    if (text.empty()) {
        return "The request target is empty";
    }
    const auto* control = std::find_if(text.begin(), text.end(), isControlCharacter);
    if (control != text.end()) {
        return "The request target has a control character at byte " +
               std::to_string(control - text.begin());
    }
    if (settings_.usesAbsoluteForm() && text.front() != '/') {
        // It would run on from the host, and so become a part of it.
        return "Through a proxy the request target has to begin with a slash";
    }
    return {};
}

std::string ClientPool::prepare(std::int32_t client, const char* target,
                                ReqTokenGeneralType* token) {
    if (settings_.curlHeaders == nullptr) {
        settings_.curlHeaders = makeCurlList(settings_.headers);
    }
    started_ = true;
    const std::string origin = settings_.usesAbsoluteForm() ? settings_.origin() : std::string();
    const CURLcode result =
        transfers_[static_cast<std::size_t>(client)]->prepare(origin + target, token);
    return result == CURLE_OK ? std::string() : curl_easy_strerror(result);
}

std::string ClientPool::request(std::int32_t client, const char* target,
                                ReqTokenGeneralType* token) {
    std::string trouble = checkTarget(target);
    if (trouble.empty() && !handOver_.isFree(client)) {
        trouble = "The client is busy";
    }
    if (trouble.empty()) {
        trouble = prepare(client, target, token);
    }
    if (!trouble.empty()) {
        return trouble;
    }
    const HandOver::Enqueued enqueued = handOver_.enqueue(client);
    if (enqueued == HandOver::Enqueued::Asleep) {
        loop_.wake();
    }
    return enqueued == HandOver::Enqueued::Refused ? "The client is busy" : std::string();
}

}  // namespace Norvel::Networking
