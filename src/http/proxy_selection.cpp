// Which proxy serves the download server, if any. Every doubt ends in a direct connection.

#include "foundation/wildcard.h"
#include "http/system_proxy_settings.h"
#include "http/url_parsing.h"
#include "interface/downloader_impl.h"

namespace {

constexpr std::int32_t defaultProxyPort = 80;

bool isBypassed(const SystemProxySettings& settings, const char* addr) {
    for (std::int32_t i = 0; i < settings.bypassList.count; ++i) {
        if (Brelt::wildcardMatch(settings.bypassList.data[i].cstr(), addr, 0) != 0) {
            return true;
        }
    }
    return false;
}

/// The proxy that the user's system names for `addr`; empty for none.
Brelt::CharString systemProxyFor(const char* addr, MessageSink& sink) {
    SystemProxySettings settings;
    if (getSystemProxySettings(settings, false) || settings.enabled == 0) {
        return {};
    }
    if (isBypassed(settings, addr)) {
        sink.logDebug("HTTP bypassed, using direct connection.");
        return {};
    }
    sink.logDebug("System HTTP proxy address: \"%s\"", settings.httpProxy.cstr());
    return settings.httpProxy;
}

/// The proxy's address by the host's choice; empty for none.
Brelt::CharString chosenProxyFor(const char* addr, const DownloaderParams& params,
                                 MessageSink& sink) {
    if (params.proxyMode == ProxyModeAddress && !params.proxyAddress.isEmpty()) {
        sink.logDebug("HTTP proxy address: \"%s\"", params.proxyAddress.cstr());
        return params.proxyAddress;
    }
    if (params.proxyMode == ProxyModeAddress || params.proxyMode == ProxyModeDirect) {
        sink.logDebug("HTTP proxy disabled. Using direct connection.");
        return {};
    }
    sink.logDebug("Using system proxy settings.");
    return systemProxyFor(addr, sink);
}

/// Why an address that was cut into these pieces can't be a proxy's; null if it can.
const char* refusalOf(AddressingScheme scheme, const Brelt::CharString& path) {
    if (scheme != SchemeHttp) {
        return "Unkown addressing scheme of the http proxy address \"%s\". Using direct "
               "connection.";
    }
    if (!path.isEmpty()) {
        return "Ivalid http proxy address \"%s\". Using direct connection.";
    }
    return nullptr;
}

}  // namespace

void DownloaderImpl::getHttpProxyForAddr(const char* addr, Brelt::CharString& proxyHost,
                                         std::int32_t& proxyPort) {
    proxyPort = defaultProxyPort;
    proxyHost.clear();
    const Brelt::CharString address = chosenProxyFor(addr, *params, *sink);
    if (address.isEmpty()) {
        return;
    }
    Brelt::CharString scheme;
    Brelt::CharString path;
    const AddressingScheme addressing =
        parseUrl(address.cstr(), scheme, proxyHost, proxyPort, path, SchemeHttp);
    if (const char* refusal = refusalOf(addressing, path); refusal != nullptr) {
        sink->reportWarning("DownloaderImpl::getHttpProxyForAddr", -1, refusal, address.cstr());
        proxyHost.clear();
    }
    if (proxyHost.isEmpty()) {
        proxyHost.clear();
        proxyPort = defaultProxyPort;
    }
}
