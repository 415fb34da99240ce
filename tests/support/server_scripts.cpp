#include "support/server_scripts.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>

namespace TestSupport {

namespace {

/// Whole bytes are copied into the handler once and shared by all its runs.
using SharedBytes = std::shared_ptr<const std::string>;

SharedBytes share(std::string bytes) {
    return std::make_shared<const std::string>(std::move(bytes));
}

/// `start` once and then `piece` for ever.
Handler sendEndless(std::string start, std::string piece) {
    return
        [start = std::move(start), piece = std::move(piece)](Connection& client, const Request&) {
            client.send(start);
            client.sendForever(piece);
        };
}

std::string repeated(std::string_view text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

constexpr std::string_view interimResponse = "HTTP/1.1 100 Continue\r\n\r\n";

}  // namespace

Handler answer(const Response& response) {
    const bool closes = response.closesConnection();
    return closes ? answerBytesAndClose(response.bytes()) : answerBytes(response.bytes());
}

Handler answerBytes(std::string bytes) {
    return [shared = share(std::move(bytes))](Connection& client, const Request&) {
        client.send(*shared);
    };
}

Handler answerBytesAndClose(std::string bytes) {
    return [shared = share(std::move(bytes))](Connection& client, const Request&) {
        client.send(*shared);
        client.close();
    };
}

Handler breakAt(std::string bytes, std::size_t at, Break how) {
    return [shared = share(std::move(bytes)), at, how](Connection& client, const Request&) {
        const std::string_view whole = *shared;
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
    return [shared = share(std::move(bytes)), piece, interval](Connection& client, const Request&) {
        client.drip(*shared, piece, interval);
    };
}

Handler answerWithLength(std::string body, std::size_t claimed) {
    const bool isShort = body.size() < claimed;
    Response response = ok(std::move(body)) + std::pair("Content-Length", std::to_string(claimed));
    response.framing = Response::Framing::AsGiven;
    return isShort ? answerBytesAndClose(response.bytes()) : answerBytes(response.bytes());
}

Handler answerWithBadChunk(std::string body) {
    Response response = ok(std::move(body));
    response.framing = Response::Framing::Chunked;
    std::string bytes = response.bytes();
    bytes.replace(bytes.size() - std::string_view("0\r\n\r\n").size(), std::string::npos,
                  "no size\r\nmore\r\n");
    return answerBytes(std::move(bytes));
}

Handler answerWithoutLastChunk(std::string body) {
    Response response = ok(std::move(body));
    response.framing = Response::Framing::Chunked;
    std::string bytes = response.bytes();
    bytes.resize(bytes.size() - std::string_view("0\r\n\r\n").size());
    return answerBytesAndClose(std::move(bytes));
}

Handler sendEndlessHeaders() {
    return sendEndless("HTTP/1.1 200 OK\r\n", repeated("X-Filler: 0123456789abcdef\r\n", 100));
}

Handler sendEndlessStatusLine() {
    return sendEndless("HTTP/1.1 200 ", std::string(4096, 'O'));
}

Handler sendEndlessInterimResponses() {
    return sendEndless({}, repeated(interimResponse, 100));
}

Handler sendEndlessBody() {
    return sendEndless("HTTP/1.1 200 OK\r\n\r\n", std::string(std::size_t{1} << 16, 'x'));
}

Handler answerAfterInterim(int count, const Response& response) {
    return answerBytes(repeated(interimResponse, count) + response.bytes());
}

Handler answerNoContentWithBody(std::string body) {
    return answer(withStatus(204, std::move(body)));
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

Handler answerGarbage() {
    std::string bytes;
    for (int i = 0; i < 1024; ++i) {
        bytes += static_cast<char>(i * 7 + 0x80);
    }
    return answerBytesAndClose(std::move(bytes));
}

Handler answerAndClose(const Response& response) {
    return answerBytesAndClose(response.bytes());
}

Handler inTurn(std::vector<Handler> handlers) {
    auto next = std::make_shared<std::atomic<std::size_t>>(0);
    return [handlers = std::move(handlers), next](Connection& client, const Request& request) {
        handlers.at(std::min(next->fetch_add(1), handlers.size() - 1))(client, request);
    };
}

Handler behindGate(Gate& gate, Handler handler) {
    return [&gate, handler = std::move(handler)](Connection& client, const Request& request) {
        gate.arrive();
        handler(client, request);
    };
}

}  // namespace TestSupport
