#include "support/http_response.h"

#include <iomanip>
#include <sstream>

namespace TestSupport {

std::string Response::bytes() const {
    std::string text = "HTTP/1.1 " + std::to_string(status) +
                       " OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
    for (const auto& [name, value] : headers) {
        text.append(name).append(": ").append(value).append("\r\n");
    }
    return text + "\r\n" + body;
}

Response ok(std::string body) {
    return withStatus(200, std::move(body));
}

Response withStatus(int status, std::string body) {
    return {status, std::move(body)};
}

Response operator+(Response response, std::pair<std::string, std::string> header) {
    response.headers.push_back(std::move(header));
    return response;
}

std::string okInChunks(std::string_view body) {
    constexpr std::size_t chunkSize = 4096;
    std::ostringstream text;
    text << "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" << std::hex;
    while (!body.empty()) {
        const std::string_view chunk = body.substr(0, chunkSize);
        text << chunk.size() << "\r\n" << chunk << "\r\n";
        body.remove_prefix(chunk.size());
    }
    text << "0\r\n\r\n";
    return text.str();
}

std::string percentEncoded(std::string_view path) {
    constexpr std::string_view unreserved =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0');
    for (const char byte : path) {
        if (unreserved.find(byte) != std::string_view::npos) {
            text << byte;
        } else {
            text << '%' << std::setw(2) << static_cast<int>(static_cast<unsigned char>(byte));
        }
    }
    return text.str();
}

}  // namespace TestSupport
