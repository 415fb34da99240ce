// The options of a transfer: what libcurl would do by itself and mustn't is switched off here.

#include "networking/pool_settings.h"

#include <limits>

namespace Norvel::Networking {

namespace {

/// Sets options up to the first that fails.
class OptionWriter {
public:
    OptionWriter(CURL* easy, SetOption setOption) : easy_(easy), setOption_(setOption) {}

    template <class Value>
    OptionWriter& set(CURLoption option, Value value) {
        if (result_ == CURLE_OK) {
            result_ = setOption_(easy_, option, value);
        }
        return *this;
    }

    /// The empty text is null: libcurl's own default goes. A build without the option has none.
    OptionWriter& replace(CURLoption option, const std::string& value) {
        if (!value.empty()) {
            return set(option, value.c_str());
        }
        if (result_ == CURLE_OK) {
            result_ = setOption_(easy_, option, static_cast<const char*>(nullptr));
            result_ = result_ == CURLE_NOT_BUILT_IN ? CURLE_OK : result_;
        }
        return *this;
    }

    CURLcode result() const { return result_; }

private:
    CURL* easy_;
    SetOption setOption_;
    CURLcode result_ = CURLE_OK;
};

void restrictProtocol(OptionWriter& options, bool isSecure) {
#if LIBCURL_VERSION_NUM >= 0x075500
    options.set(CURLOPT_PROTOCOLS_STR, isSecure ? "https" : "http");
#else
    options.set(CURLOPT_PROTOCOLS, long{isSecure ? CURLPROTO_HTTPS : CURLPROTO_HTTP});
#endif
#if LIBCURL_VERSION_NUM >= 0x075700
    // An aborted look-up of a name isn't waited for.
    options.set(CURLOPT_QUICK_EXIT, 1L);
#endif
}

/// HTTP/2 over TLS, where this build of libcurl has it; it refuses the option where it hasn't.
long wantedHttpVersion() {
    static const bool hasHttp2 =
        (curl_version_info(CURLVERSION_NOW)->features & CURL_VERSION_HTTP2) != 0;
    return hasHttp2 ? long{CURL_HTTP_VERSION_2TLS} : long{CURL_HTTP_VERSION_1_1};
}

void setPlainBehaviour(OptionWriter& options, const Limits& limits) {
    options.set(CURLOPT_NOSIGNAL, 1L)
        .set(CURLOPT_NOPROGRESS, 1L)
        .set(CURLOPT_FOLLOWLOCATION, 0L)
        .set(CURLOPT_HTTP09_ALLOWED, 0L)
        .set(CURLOPT_HTTP_VERSION, wantedHttpVersion())
        .set(CURLOPT_HTTP_CONTENT_DECODING, 0L)
        .set(CURLOPT_PATH_AS_IS, 1L)
        .set(CURLOPT_TCP_NODELAY, 1L)
        .set(CURLOPT_NETRC, long{CURL_NETRC_IGNORED})
        .set(CURLOPT_BUFFERSIZE, long{limits.receiveBuffer})
        // Without a limit libcurl overlooks a Content-Length that no number holds.
        .set(CURLOPT_MAXFILESIZE_LARGE, std::numeric_limits<curl_off_t>::max())
        .set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connectTime.count()));
}

void setServer(OptionWriter& options, const PoolSettings& settings) {
    const ServerAddress& server = *settings.server;
    const std::string url = settings.origin() + "/";
    options.set(CURLOPT_URL, url.c_str()).set(CURLOPT_HTTPHEADER, settings.curlHeaders.get());
    if (server.hasCredentials) {
        options.set(CURLOPT_HTTPAUTH, CURLAUTH_BASIC)
            .set(CURLOPT_USERNAME, server.user.c_str())
            .set(CURLOPT_PASSWORD, server.password.c_str());
    }
}

/// The empty texts keep the environment's proxies and exceptions out.
void setProxy(OptionWriter& options, const PoolSettings& settings) {
    options.set(CURLOPT_NOPROXY, "").set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (!settings.proxy) {
        options.set(CURLOPT_PROXY, "");
        return;
    }
    const ServerAddress& proxy = *settings.proxy;
    // Always with the port: without one libcurl would take 1080.
    const std::string url = proxy.origin("http", 0);
    options.set(CURLOPT_PROXYTYPE, long{CURLPROXY_HTTP})
        .set(CURLOPT_PROXY, url.c_str())
        .set(CURLOPT_HTTPPROXYTUNNEL, 0L);
    if (proxy.hasCredentials) {
        options.set(CURLOPT_PROXYAUTH, CURLAUTH_BASIC)
            .set(CURLOPT_PROXYUSERNAME, proxy.user.c_str())
            .set(CURLOPT_PROXYPASSWORD, proxy.password.c_str());
    }
}

void setTls(OptionWriter& options, const ClientSSLConfiguration& tls) {
    options.set(CURLOPT_SSLVERSION, long{CURL_SSLVERSION_TLSv1_2})
        .set(CURLOPT_SSL_VERIFYPEER, 1L)
        .set(CURLOPT_SSL_VERIFYHOST, 2L)
        // Schannel asks whether a certificate has been revoked; an authority that tells nothing
        // about that, as those inside companies often do, is no reason to refuse.
        .set(CURLOPT_SSL_OPTIONS, long{CURLSSLOPT_REVOKE_BEST_EFFORT});
    const CertificateSource& source = tls.certificates;
    if (!source.file.empty() || !source.directory.empty()) {
        // Both are set, so that one alone replaces the system's file and directory.
        options.replace(CURLOPT_CAINFO, source.file).replace(CURLOPT_CAPATH, source.directory);
    }
}

}  // namespace

CURLcode applySettings(CURL* easy, const PoolSettings& settings, SetOption setOption) {
    OptionWriter options(easy, setOption);
    setPlainBehaviour(options, settings.limits);
    restrictProtocol(options, settings.tls.has_value());
    setServer(options, settings);
    setProxy(options, settings);
    if (settings.tls) {
        setTls(options, *settings.tls);
    }
    return options.result();
}

}  // namespace Norvel::Networking
