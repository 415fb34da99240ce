#include "http/url_parsing.h"

#include <cstring>

#include "networking/norvel_networking.h"

namespace {

constexpr const char* separator = "://";

const char* textOf(AddressingScheme scheme) {
    switch (scheme) {
        case SchemeHttp:
            return "http";
        case SchemeHttps:
            return "https";
        default:
            return nullptr;
    }
}

AddressingScheme schemeOf(const Brelt::CharString& text) {
    for (const AddressingScheme scheme : {SchemeHttp, SchemeHttps}) {
        if (text == textOf(scheme)) {
            return scheme;
        }
    }
    return SchemeOther;
}

std::int32_t defaultPort(AddressingScheme scheme) {
    switch (scheme) {
        case SchemeHttp:
            return 80;
        case SchemeHttps:
            return 443;
        default:
            return -1;
    }
}

}  // namespace

AddressingScheme parseUrl(const char* url, Brelt::CharString& scheme, Brelt::CharString& host,
                          std::int32_t& port, Brelt::CharString& path,
                          AddressingScheme defaultScheme) {
    scheme = Brelt::CharString(textOf(defaultScheme));
    host.clear();
    path.clear();
    port = -1;
    AddressingScheme result = defaultScheme;
    const char* rest = url;
    if (const char* found = std::strstr(url, separator); found != nullptr) {
        scheme = Brelt::CharString(url, static_cast<std::int32_t>(found - url));
        scheme.toLower();
        result = schemeOf(scheme);
        rest = found + std::strlen(separator);
    }
    const char* end = rest + std::strcspn(rest, "/");
    if (*end != '\0') {
        path = Brelt::CharString(end);
    }
    if (end != rest) {
        int parsedPort = port;
        Norvel::Networking::parseServerWithPort(rest, end, host, parsedPort);
        port = parsedPort;
    }
    if (port < 0) {
        port = defaultPort(result);
    }
    return result;
}
