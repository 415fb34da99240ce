#pragma once

// A well-formed HTTP response as a value, and its bytes. Scripts send it whole, or broken at a
// byte.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace TestSupport {

struct Response {
    enum class Framing {
        Length,      ///< Content-Length
        Chunked,     ///< chunks of at most `chunkSize` bytes
        UntilClose,  ///< no length: the end of the connection is the end of the body
        AsGiven,     ///< nothing is added; `headers` say what the test wants
    };

    int status = 200;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    Framing framing = Framing::Length;
    std::size_t chunkSize = 4096;

    /// Status line and headers with the empty line at their end.
    std::string head() const;
    /// The whole response as it goes out.
    std::string bytes() const;
    /// Whether the server has to end the connection behind it.
    bool closesConnection() const;
};

/// A response with status 200, or another one.
Response ok(std::string body);
Response withStatus(int status, std::string body = {});

/// The same response with one header more.
Response operator+(Response response, std::pair<std::string, std::string> header);

/// `body` in chunked coding with the last chunk.
std::string inChunks(std::string_view body, std::size_t chunkSize);

/// `path` as it stands in a request target: all bytes but unreserved ones and "/" encoded.
std::string percentEncoded(std::string_view path);

}  // namespace TestSupport
