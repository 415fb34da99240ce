#pragma once

// What the owner of a pool has set: written on the owner's thread before the first request, read by
// all transfers afterwards. Owned by ClientPool.

#include <curl/curl.h>

#include <optional>
#include <string>

#include "networking/context.h"
#include "networking/headers.h"
#include "networking/limits.h"
#include "networking/norvel_networking.h"
#include "networking/server_address.h"

namespace Norvel::Networking {

struct PoolSettings {
    Limits limits;
    std::optional<ServerAddress> server;
    std::optional<ServerAddress> proxy;
    std::optional<ClientSSLConfiguration> tls;
    HttpClient::Callbacks callbacks{};
    CallbackSource source{};
    HeaderList headers;
    /// `headers` as libcurl wants them; made before the first request.
    CurlList curlHeaders;
    /// A set-up call was refused: a request might go another way than its owner meant.
    bool refused = false;

    /// What requests are about, up to and without the path.
    std::string origin() const {
        return tls ? server->origin("https", 443) : server->origin("http", 80);
    }

    /// True when a request's target goes to the proxy, in front of the server.
    bool usesAbsoluteForm() const { return proxy && !tls; }
};

/// As `curl_easy_setopt`; a test puts itself in between.
using SetOption = CURLcode (*)(CURL* easy, CURLoption option, ...);

/// Tells libcurl all that is the same for each request of a pool. The lists in `settings` are lent
/// and must outlive the handle.
///
/// The call stands in brackets because the macro of that name wants the option as a constant.
CURLcode applySettings(CURL* easy, const PoolSettings& settings,
                       SetOption setOption = (curl_easy_setopt));

}  // namespace Norvel::Networking
