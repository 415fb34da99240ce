#pragma once

// A well-formed HTTP response as a value, and its bytes. Scripts send it whole, or broken at a
// byte.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace TestSupport {

struct Response {
    int status = 200;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers = {};

    /// As it goes out, with a Content-Length.
    std::string bytes() const;
};

Response ok(std::string body);
Response withStatus(int status, std::string body = {});

/// The same response with one header more.
Response operator+(Response response, std::pair<std::string, std::string> header);

/// The bytes of a response with status 200 and `body` in chunks.
std::string okInChunks(std::string_view body);

/// `path` as it stands in a request target: all bytes but unreserved ones and "/" encoded.
std::string percentEncoded(std::string_view path);

}  // namespace TestSupport
