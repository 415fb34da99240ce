#include "support/server_scripts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace TestSupport {

namespace {

constexpr std::string_view lastChunk = "0\r\n\r\n";

std::string withoutLastChunk(std::string_view body) {
    std::string bytes = okInChunks(body);
    bytes.resize(bytes.size() - lastChunk.size());
    return bytes;
}

}  // namespace

Handler answer(const Response& response) {
    return answerBytes(response.bytes());
}

Handler answerBytes(std::string bytes) {
    return [bytes = std::move(bytes)](Connection& client, const Request&) { client.send(bytes); };
}

Handler answerBytesAndClose(std::string bytes) {
    return [bytes = std::move(bytes)](Connection& client, const Request&) {
        client.send(bytes);
        client.close();
    };
}

Handler breakAt(std::string bytes, std::size_t at, Break how) {
    return [bytes = std::move(bytes), at, how](Connection& client, const Request&) {
        const std::string_view whole = bytes;
        client.send(whole.substr(0, at));
        if (how == Break::Close) {
            client.close();
        } else if (how == Break::Reset) {
            client.reset();
        } else if (client.stall()) {
            client.send(whole.substr(std::min(at, whole.size())));
        }
    };
}

Handler dripBytes(std::string bytes, std::size_t piece, std::chrono::milliseconds interval) {
    return [bytes = std::move(bytes), piece, interval](Connection& client, const Request&) {
        client.drip(bytes, piece, interval);
    };
}

Handler answerWithLength(const std::string& body, std::size_t claimed) {
    std::string bytes =
        "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(claimed) + "\r\n\r\n" + body;
    return body.size() < claimed ? answerBytesAndClose(std::move(bytes))
                                 : answerBytes(std::move(bytes));
}

Handler answerWithBadChunk(std::string_view body) {
    return answerBytes(withoutLastChunk(body) + "no size\r\nmore\r\n");
}

Handler answerWithoutLastChunk(std::string_view body) {
    return answerBytesAndClose(withoutLastChunk(body));
}

Handler sendEndless(std::string start, std::string piece) {
    return
        [start = std::move(start), piece = std::move(piece)](Connection& client, const Request&) {
            client.send(start);
            client.sendForever(piece);
        };
}

Handler sendEndlessBody() {
    return sendEndless("HTTP/1.1 200 OK\r\n\r\n", std::string(std::size_t{1} << 16, 'x'));
}

Handler redirectTo(std::string location) {
    return answer(withStatus(302, "moved\n") + std::pair("Location", std::move(location)));
}

Handler answerCompressed() {
    return answer(ok(gzipSample()) + std::pair("Content-Encoding", "gzip"));
}

std::string gzipSample() {
    constexpr unsigned char packed[] = {
        0x1f, 0x8b, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x03, 0x2b, 0x2e, 0x49,
        0xcc, 0x2d, 0x50, 0xc8, 0x4f, 0x53, 0x48, 0x54, 0x28, 0x4e, 0x2d, 0x2a, 0x4b,
        0x2d, 0x52, 0x28, 0xc9, 0x48, 0x2c, 0x51, 0x28, 0x48, 0x4c, 0xce, 0x2e, 0xe6,
        0x02, 0x00, 0x2c, 0x7e, 0xf6, 0x6e, 0x1d, 0x00, 0x00, 0x00,
    };
    return {reinterpret_cast<const char*>(packed), sizeof(packed)};
}

Handler onceAsked(const ScriptedServer& server, std::size_t requests, Handler handler) {
    return [&server, requests, handler = std::move(handler)](Connection& client,
                                                             const Request& request) {
        EXPECT_TRUE(server.waitForRequests(requests));
        handler(client, request);
    };
}

}  // namespace TestSupport
