// The options of a transfer: what libcurl would do by itself and mustn't is switched off here.

#include "networking/pool_settings.h"

#include <limits>

namespace Norvel::Networking {

namespace {

/// Sets options up to the first that fails.
class OptionWriter {
public:
    explicit OptionWriter(CURL* easy) : easy_(easy) {}

    template <class Value>
    OptionWriter& set(CURLoption option, Value value) {
        if (result_ == CURLE_OK) {
            // In brackets: the macro of that name wants the option as a constant.
            result_ = (curl_easy_setopt)(easy_, option, value);
        }
        return *this;
    }

    CURLcode result() const { return result_; }

private:
    CURL* easy_;
    CURLcode result_ = CURLE_OK;
};

void restrictProtocols(OptionWriter& options) {
#if LIBCURL_VERSION_NUM >= 0x075500
    options.set(CURLOPT_PROTOCOLS_STR, "http,https");
#else
    options.set(CURLOPT_PROTOCOLS, long{CURLPROTO_HTTP | CURLPROTO_HTTPS});
#endif
#if LIBCURL_VERSION_NUM >= 0x075700
    // An aborted look-up of a name isn't waited for.
    options.set(CURLOPT_QUICK_EXIT, 1L);
#endif
}

void setPlainBehaviour(OptionWriter& options, const Limits& limits) {
    options.set(CURLOPT_NOSIGNAL, 1L)
        .set(CURLOPT_NOPROGRESS, 1L)
        .set(CURLOPT_FOLLOWLOCATION, 0L)
        .set(CURLOPT_HTTP09_ALLOWED, 0L)
        .set(CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_2TLS})
        .set(CURLOPT_HTTP_CONTENT_DECODING, 0L)
        .set(CURLOPT_PATH_AS_IS, 1L)
        .set(CURLOPT_TCP_NODELAY, 1L)
        .set(CURLOPT_NETRC, long{CURL_NETRC_IGNORED})
        .set(CURLOPT_BUFFERSIZE, long{limits.receiveBuffer})
        // Without a limit libcurl overlooks a Content-Length that no number holds.
        .set(CURLOPT_MAXFILESIZE_LARGE, std::numeric_limits<curl_off_t>::max())
        .set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connectTime.count()));
    restrictProtocols(options);
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

const char* orNull(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

void setTls(OptionWriter& options, const ClientSSLConfiguration& tls) {
    options.set(CURLOPT_SSLVERSION, long{CURL_SSLVERSION_TLSv1_2})
        .set(CURLOPT_SSL_VERIFYPEER, 1L)
        .set(CURLOPT_SSL_VERIFYHOST, 2L);
    const CertificateSource& source = tls.certificates;
    if (!source.file.empty() || !source.directory.empty()) {
        // Both are set, so that one alone replaces the system's file and directory.
        options.set(CURLOPT_CAINFO, orNull(source.file))
            .set(CURLOPT_CAPATH, orNull(source.directory));
    }
}

}  // namespace

CURLcode applySettings(CURL* easy, const PoolSettings& settings) {
    OptionWriter options(easy);
    setPlainBehaviour(options, settings.limits);
    setServer(options, settings);
    setProxy(options, settings);
    if (settings.tls) {
        setTls(options, *settings.tls);
    }
    return options.result();
}

}  // namespace Norvel::Networking
