#include "networking/fetcher.h"

#include <gtest/gtest.h>

namespace TestSupport {

namespace {

using Norvel::Networking::CallbackSource;
using Norvel::Networking::HttpClient;
using Norvel::Networking::ReqTokenGeneralType;
using Norvel::Networking::ResponseError;
using Norvel::Networking::ResponseProgress;

FetchedResponse& responseOf(ReqTokenGeneralType* token) {
    auto& response = *static_cast<FetchedResponse*>(token);
    response.callsAfterCancel += response.cancelled ? 1 : 0;
    return response;
}

void statusCb(CallbackSource* /*source*/, ReqTokenGeneralType* token, const std::int32_t* status) {
    responseOf(token).status = *status;
}

std::string contentOf(Brelt::PMemStream& stream) {
    std::string text(static_cast<std::size_t>(stream.Size()), '\0');
    stream.Seek(0);
    stream.ReadBuffer(text.data(), static_cast<std::int32_t>(text.size()));
    return text;
}

void takePiece(FetchedResponse& response, Norvel::Buffer& buffer) {
    ++response.pieces;
    Brelt::PMemStream piece(4096);
    Brelt::PStream* target = response.stream == nullptr ? &piece : response.stream;
    Norvel::Err error;
    if (buffer.saveTo(error, target)) {
        response.body += contentOf(piece);
    } else {
        response.writeError = error.chain;
    }
    Norvel::internalEvbufferFree(buffer.content);
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
    if (client->request(refusal, target.c_str(), 1, &response, nullptr, nullptr)) {
        EXPECT_FALSE(refusal.chain);
        return {};
    }
    return refusal.chain.toCharString().cstr();
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
