// https against a real server, and real proxies in between.

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <map>
#include <string>
#include <string_view>

#include "networking/context.h"
#include "networking/fetcher.h"
#include "networking/pool_settings.h"
#include "support/peers.h"
#include "support/system_facts.h"

using namespace TestSupport;
using Norvel::Networking::ClientSSLConfiguration;

namespace {

constexpr std::uint32_t underlyingIsProxyStatus = 0x2000;
constexpr std::uint32_t underlyingIsCertificateResult = 0x4000;

const curl_version_info_data& libcurl() {
    return *curl_version_info(CURLVERSION_NOW);
}

/// Schannel, on Windows, keeps its verdict on a certificate to itself, and finds only names in a
/// certificate whose authority is in a file.
bool usesOpenSsl() {
    return std::string_view(libcurl().ssl_version).starts_with("OpenSSL");
}

/// A directory that a server serves, and an authority whose certificates are trusted.
class SecureServer : public testing::Test {
protected:
    SecureServer() { files.write("id.txt", "stamp"); }

    static FetchedResponse fetchFrom(int port, const ClientSSLConfiguration& configuration,
                                     const char* host = "localhost", int proxyPort = 0) {
        Fetcher fetcher(1);
        fetcher.useServer(port, host);
        fetcher.pool.setSSLContext(fetcher.error, &configuration);
        if (proxyPort != 0) {
            fetcher.pool.setProxyServer(fetcher.error, "127.0.0.1", proxyPort);
        }
        EXPECT_FALSE(fetcher.error.chain);
        return fetcher.fetch("/id.txt");
    }

    TempDirectory files;
    CertificateAuthority authority;
    ClientSSLConfiguration trust{{authority.file().string(), {}}};
};

/// What was set last for each option of a number.
std::map<CURLoption, long> recordedOptions;

// libcurl's own signature, whose last named argument is an enumeration.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wvarargs"
CURLcode recordOption(CURL* /*easy*/, CURLoption option, ...) {
    if (option < CURLOPTTYPE_OBJECTPOINT) {
        std::va_list arguments;
        va_start(arguments, option);
        recordedOptions[option] = va_arg(arguments, long);
        va_end(arguments);
    }
    return CURLE_OK;
}
#pragma GCC diagnostic pop

}  // namespace

TEST_F(SecureServer, IsReachedOverTheNewestHttpWithATrustedCertificate) {
    Nginx server({.root = files.path(), .certificate = authority.issue()});
    EXPECT_EQ(fetchFrom(server.port(), trust).body, "stamp");
    if (usesOpenSsl()) {
        EXPECT_EQ(fetchFrom(server.port(), trust, "127.0.0.1").body, "stamp");
    }
    const bool hasHttp2 = (libcurl().features & CURL_VERSION_HTTP2) != 0;
    const std::string line = hasHttp2 ? "GET /id.txt HTTP/2.0 200" : "GET /id.txt HTTP/1.1 200";
    const std::string log = server.stopAndReadLog();
    EXPECT_NE(log.find(line), std::string::npos) << log;
}

TEST_F(SecureServer, IsRefusedWithoutACertificateThatFits) {
    // The numbers are OpenSSL's: 20 no issuer known, 10 has run out, 62 another name.
    const struct {
        const char* name;
        Certificate certificate;
        ClientSSLConfiguration configuration;
        std::uint32_t underlying;
    } cases[] = {
        {"unknown to the system", authority.issue(), {}, 20},
        {"expired", authority.issue("DNS:localhost", -1), trust, 10},
        {"another name", authority.issue("DNS:other.example"), trust, 62},
    };
    for (const auto& test : cases) {
        if (runsUnderWine() && test.configuration.certificates.file.empty()) {
            continue;  // Wine takes each certificate, unless libcurl looks at it by itself.
        }
        SCOPED_TRACE(test.name);
        const Nginx server({.root = files.path(), .certificate = test.certificate});
        const FetchedResponse response = fetchFrom(server.port(), test.configuration);
        EXPECT_EQ(response.reason(), CURLE_PEER_FAILED_VERIFICATION);
        EXPECT_EQ(response.flags(), usesOpenSsl() ? underlyingIsCertificateResult : 0U);
        EXPECT_EQ(response.underlying(), usesOpenSsl() ? test.underlying : 0U);
        EXPECT_EQ(response.status, 0);
    }
}

TEST_F(SecureServer, IsRefusedBelowTls12) {
    const Nginx server({.root = files.path(),
                        .certificate = authority.issue(),
                        .serverLines = "ssl_protocols TLSv1.1;\n"
                                       "ssl_ciphers ALL:@SECLEVEL=0;\n"});
    const FetchedResponse response = fetchFrom(server.port(), trust);
    EXPECT_EQ(response.reason(), CURLE_SSL_CONNECT_ERROR);
    EXPECT_EQ(response.flags(), 0U) << "no certificate has been looked at";
}

TEST_F(SecureServer, IsReachedThroughATunnelOrTellsWhyTheProxyRefused) {
    const Nginx server({.root = files.path(), .certificate = authority.issue()});
    const auto fetchThrough = [&](int proxyPort) {
        return fetchFrom(server.port(), trust, "localhost", proxyPort);
    };
    const std::string tunnels = "acl tunnels port " + std::to_string(server.port()) + "\n";
    Squid open(tunnels + "http_access allow tunnels\n");
    EXPECT_EQ(fetchThrough(open.port()).body, "stamp");
    const std::string log = open.stopAndReadLog();
    EXPECT_NE(log.find("CONNECT localhost:"), std::string::npos) << log;

    const Squid closed(tunnels + "http_access deny tunnels\n");
    const FetchedResponse refused = fetchThrough(closed.port());
    EXPECT_EQ(refused.reason(), CURLE_RECV_ERROR);
    EXPECT_EQ(refused.flags(), underlyingIsProxyStatus);
    EXPECT_EQ(refused.underlying(), 403U);
    EXPECT_EQ(refused.status, 0) << "the proxy's answer isn't the server's";
    EXPECT_EQ(fetchThrough(freePort()).reason(), CURLE_COULDNT_CONNECT);
}

TEST_F(SecureServer, PlainRequestsPassThroughARealProxy) {
    const Nginx server({.root = files.path()});
    Tinyproxy proxy;
    Fetcher fetcher;
    fetcher.useServer(server.port());
    fetcher.pool.setProxyServer(fetcher.error, "127.0.0.1", proxy.port());
    EXPECT_EQ(fetcher.fetch("/id.txt").body, "stamp");
    EXPECT_EQ(fetcher.fetch("/missing").status, 404);
    const std::string log = proxy.stopAndReadLog();
    EXPECT_NE(log.find("GET http://"), std::string::npos) << log;
}

TEST(SecureOptions, VerificationIsOnWhereverTheCertificatesComeFrom) {
    for (const ClientSSLConfiguration& configuration :
         {ClientSSLConfiguration{}, ClientSSLConfiguration{{"file", {}}},
          ClientSSLConfiguration{{"file", "directory"}}}) {
        Norvel::Networking::PoolSettings settings;
        settings.server.emplace();
        settings.tls = configuration;
        recordedOptions.clear();
        ASSERT_EQ(applySettings(nullptr, settings, recordOption), CURLE_OK);
        EXPECT_EQ(recordedOptions[CURLOPT_SSL_VERIFYPEER], 1);
        EXPECT_EQ(recordedOptions[CURLOPT_SSL_VERIFYHOST], 2);
        EXPECT_EQ(recordedOptions[CURLOPT_SSLVERSION], long{CURL_SSLVERSION_TLSv1_2});
        EXPECT_EQ(recordedOptions[CURLOPT_SSL_OPTIONS], long{CURLSSLOPT_REVOKE_BEST_EFFORT});
    }
}

TEST(PlainOptions, ConnectionHasToStandWithinItsTimeLimit) {
    Norvel::Networking::PoolSettings settings;
    settings.server.emplace();
    recordedOptions.clear();
    ASSERT_EQ(applySettings(nullptr, settings, recordOption), CURLE_OK);
    EXPECT_EQ(recordedOptions[CURLOPT_CONNECTTIMEOUT_MS], settings.limits.connectTime.count());
}
