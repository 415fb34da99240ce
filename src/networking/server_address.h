#pragma once

// A server or proxy as its owner names it, cut into what libcurl wants to be told apart.
// Used by the set-up of a pool.

#include <cstdint>
#include <string>

namespace Norvel::Networking {

struct ServerAddress {
    /// As it stands in a URL: IPv6 in brackets, a name in its ASCII form.
    std::string host;
    std::int32_t port = 0;
    bool hasCredentials = false;
    std::string user;
    std::string password;

    /// "scheme://host:port", without a port that the scheme has by itself.
    std::string origin(const char* scheme, std::int32_t schemePort) const;
};

/// Reads "[user[:password]@]host", percent-coded in front of the "@". The empty text if that
/// worked, else what is wrong with it, fit to stand in a message. Raises `std::bad_alloc`.
std::string readServerAddress(const char* host, std::int32_t port, ServerAddress& address);

}  // namespace Norvel::Networking
