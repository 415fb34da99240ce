// An address of any shape: its pieces, put together, are what was given.

#include <cstring>

#include "fuzzing.h"
#include "http/url_parsing.h"
#include "networking/norvel_networking.h"

using Fuzzing::require;

namespace {

/// What stands in front of the path, behind the scheme.
std::string serverPart(const std::string& url) {
    const std::size_t scheme = url.find("://");
    const std::string rest = scheme == std::string::npos ? url : url.substr(scheme + 3);
    return rest.substr(0, rest.find('/'));
}

void splitServer(const std::string& server) {
    Brelt::CharString host;
    int port = -1;
    Norvel::Networking::parseServerWithPort(server.data(), server.data() + server.size(), host,
                                            port);
    require(port >= -1 && port <= 65535);
    const std::string kept = host.cstr();
    require(server.compare(0, kept.size(), kept) == 0);
    if (port == -1) {
        require(kept == server);
    } else {
        require(server[kept.size()] == ':' && std::stoi(server.substr(kept.size() + 1)) == port);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string url = Fuzzing::Input(data, size).text();
    Brelt::CharString scheme;
    Brelt::CharString host;
    Brelt::CharString path;
    std::int32_t port = -1;
    const AddressingScheme result = parseUrl(url.c_str(), scheme, host, port, path, SchemeHttp);
    require(result == SchemeOther || result == SchemeHttp || result == SchemeHttps);
    require(port >= -1 && port <= 65535);
    require(result == SchemeOther || port != -1);
    const std::string tail = path.cstr();
    require(tail.empty() || tail.front() == '/');
    require(url.size() >= tail.size() &&
            url.compare(url.size() - tail.size(), std::string::npos, tail) == 0);
    const std::string server = serverPart(url);
    require(server.compare(0, std::strlen(host.cstr()), host.cstr()) == 0);
    splitServer(server);
    return 0;
}
