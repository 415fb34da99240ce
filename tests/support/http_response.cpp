#include "support/http_response.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace TestSupport {

namespace {

std::string hexadecimal(std::size_t value, std::string_view digits) {
    std::string text;
    do {
        text.insert(text.begin(), digits[value % 16]);
        value /= 16;
    } while (value != 0);
    return text;
}

const char* reasonPhrase(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 204:
            return "No Content";
        case 302:
            return "Found";
        case 404:
            return "Not Found";
        default:
            return "Whatever";
    }
}

bool isUnreserved(unsigned char byte) {
    return std::isalnum(byte) != 0
               ? byte < 0x80
               : std::string_view("-._~/").find(static_cast<char>(byte)) != std::string_view::npos;
}

}  // namespace

std::string Response::head() const {
    std::string text = "HTTP/1.1 " + std::to_string(status) + " " + reasonPhrase(status) + "\r\n";
    if (framing == Framing::Length) {
        text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    } else if (framing == Framing::Chunked) {
        text += "Transfer-Encoding: chunked\r\n";
    } else if (framing == Framing::UntilClose) {
        text += "Connection: close\r\n";
    }
    for (const auto& [name, value] : headers) {
        text.append(name).append(": ").append(value).append("\r\n");
    }
    return text + "\r\n";
}

std::string Response::bytes() const {
    return head() + (framing == Framing::Chunked ? inChunks(body, chunkSize) : body);
}

bool Response::closesConnection() const {
    return framing == Framing::UntilClose ||
           std::find(headers.begin(), headers.end(),
                     std::pair<std::string, std::string>("Connection", "close")) != headers.end();
}

Response ok(std::string body) {
    return withStatus(200, std::move(body));
}

Response withStatus(int status, std::string body) {
    Response response;
    response.status = status;
    response.body = std::move(body);
    return response;
}

Response operator+(Response response, std::pair<std::string, std::string> header) {
    response.headers.push_back(std::move(header));
    return response;
}

std::string inChunks(std::string_view body, std::size_t chunkSize) {
    std::string text;
    while (!body.empty()) {
        const std::string_view chunk = body.substr(0, chunkSize);
        text.append(hexadecimal(chunk.size(), "0123456789abcdef")).append("\r\n");
        text.append(chunk).append("\r\n");
        body.remove_prefix(chunk.size());
    }
    return text + "0\r\n\r\n";
}

std::string percentEncoded(std::string_view path) {
    std::string text;
    for (const char byte : path) {
        const auto value = static_cast<unsigned char>(byte);
        if (isUnreserved(value)) {
            text += byte;
        } else {
            text += value < 16 ? "%0" : "%";
            text += hexadecimal(value, "0123456789ABCDEF");
        }
    }
    return text;
}

}  // namespace TestSupport
