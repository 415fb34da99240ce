#include "networking/fetcher.h"

#include <gtest/gtest.h>

namespace TestSupport {

namespace {

using namespace Norvel::Networking;

FetchedResponse& responseOf(ReqTokenGeneralType* token) {
    auto& response = *static_cast<FetchedResponse*>(token);
    response.callsAfterCancel += response.cancelled ? 1 : 0;
    return response;
}

void statusCb(CallbackSource* /*source*/, ReqTokenGeneralType* token, const std::int32_t* status) {
    responseOf(token).status = *status;
}

void takePiece(FetchedResponse& response, Norvel::Buffer& buffer) {
    Brelt::PMemStream piece(4096);
    Norvel::Err error;
    if (!buffer.saveTo(error, response.stream == nullptr ? &piece : response.stream)) {
        response.writeError = error.chain;
    }
    Norvel::internalEvbufferFree(buffer.content);
    std::string text(static_cast<std::size_t>(piece.Size()), '\0');
    piece.Seek(0);
    piece.ReadBuffer(text.data(), static_cast<std::int32_t>(text.size()));
    response.body += text;
}

void progressCb(CallbackSource* /*source*/, ReqTokenGeneralType* token, ResponseProgress* progress,
                Norvel::Networking::Response* data) {
    FetchedResponse& response = responseOf(token);
    if (response.wantsStop && response.wantsStop()) {
        response.cancelled = true;
        progress->cancel = 1;
        return;
    }
    Norvel::Buffer buffer;
    data->getResponseData(buffer);
    if (buffer.content == nullptr) {
        ++response.ticks;
    } else {
        takePiece(response, buffer);
    }
    response.received = progress->received;
}

void errorCb(CallbackSource* /*source*/, const ResponseError* error, ReqTokenGeneralType* token) {
    responseOf(token).errors.push_back(*error);
}

const HttpClient::Callbacks callbacks{
    sizeof(HttpClient::Callbacks), nullptr, statusCb, progressCb, errorCb, nullptr, nullptr, 1};

}  // namespace

int FetchedResponse::reason() const {
    if (errors.empty()) {
        return 0;
    }
    return errors.size() == 1 ? static_cast<int>(errors.front().reason & 0xFFFU) : -1;
}

Fetcher::Fetcher(int clients) {
    EXPECT_TRUE(pool.initialize(clients));
    pool.setMode(error, 2);
    pool.setCallbacks(error, callbacks, this);
}

void Fetcher::useServer(int port, const char* host) {
    pool.setServer(error, host, port, nullptr);
    EXPECT_FALSE(error.chain) << error.chain.toCharString().cstr();
}

std::string Fetcher::start(const std::string& target, FetchedResponse& response) {
    int index = -1;
    HttpClient* client = pool.waitAvailable(&index);
    if (client == nullptr) {
        return "no client";
    }
    EXPECT_EQ(client, pool.clients + index);
    Norvel::Err refusal;
    const bool started = client->request(refusal, target.c_str(), 1, &response, nullptr, nullptr);
    EXPECT_NE(started, static_cast<bool>(refusal.chain));
    return refusal.chain ? refusal.chain.toCharString().cstr() : "";
}

void Fetcher::startAll(const std::string& target, std::vector<FetchedResponse>& responses) {
    for (FetchedResponse& response : responses) {
        EXPECT_EQ(start(target, response), "");
    }
}

void Fetcher::waitForAll() {
    for (int i = 0; i < pool.count; ++i) {
        pool.clients[i].waitForRequestCompletion(nullptr);
    }
}

void Fetcher::fetch(const std::string& target, FetchedResponse& response) {
    EXPECT_EQ(start(target, response), "");
    waitForAll();
}

FetchedResponse Fetcher::fetch(const std::string& target) {
    FetchedResponse response;
    fetch(target, response);
    return response;
}

}  // namespace TestSupport
