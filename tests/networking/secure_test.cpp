// https against a real server, and real proxies in between.

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "networking/context.h"
#include "networking/fetcher.h"
#include "support/certificates.h"
#include "support/peers.h"
#include "support/temp_directory.h"

using Norvel::Networking::ClientSSLConfiguration;
using TestSupport::Certificate;
using TestSupport::CertificateAuthority;
using TestSupport::FetchedResponse;
using TestSupport::Fetcher;
using TestSupport::Nginx;

namespace {

constexpr std::uint32_t underlyingIsProxyStatus = 0x2000;
constexpr std::uint32_t underlyingIsCertificateResult = 0x4000;

/// A directory that a server serves, and an authority whose certificates are trusted.
class SecureServer : public testing::Test {
protected:
    SecureServer() { files.write("id.txt", "stamp"); }

    ClientSSLConfiguration trust() const { return {{authority.file().string(), {}}}; }

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

    TestSupport::TempDirectory files;
    CertificateAuthority authority;
};

}  // namespace

TEST_F(SecureServer, IsReachedOverHttp2WithATrustedCertificate) {
    Nginx server({.root = files.path(), .certificate = authority.issue(), .http2 = true});
    EXPECT_EQ(fetchFrom(server.port(), trust()).body, "stamp");
    EXPECT_EQ(fetchFrom(server.port(), trust(), "127.0.0.1").body, "stamp");
    server.stop();
    EXPECT_NE(server.log().find("GET /id.txt HTTP/2.0 200"), std::string::npos) << server.log();
}

TEST_F(SecureServer, IsRefusedWithoutACertificateThatFits) {
    struct Case {
        const char* name;
        Certificate certificate;
        ClientSSLConfiguration configuration;
        std::uint32_t flags;
        std::uint32_t underlying;
    };
    // The numbers are OpenSSL's: 20 no issuer known, 10 has run out, 62 another name.
    const std::vector<Case> cases = {
        {"unknown to the system", authority.issue(), {}, underlyingIsCertificateResult, 20},
        {"expired", authority.issue("DNS:localhost", -1), trust(), underlyingIsCertificateResult,
         10},
        {"another name", authority.issue("DNS:other.example"), trust(),
         underlyingIsCertificateResult, 62},
    };
    for (const Case& test : cases) {
        const Nginx server({.root = files.path(), .certificate = test.certificate});
        const FetchedResponse response = fetchFrom(server.port(), test.configuration);
        EXPECT_EQ(response.reason(), CURLE_PEER_FAILED_VERIFICATION) << test.name;
        EXPECT_EQ(response.flags(), test.flags) << test.name;
        EXPECT_EQ(response.underlying(), test.underlying) << test.name;
        EXPECT_EQ(response.status, 0) << test.name;
    }
}

TEST_F(SecureServer, IsRefusedBelowTls12) {
    const Nginx server({.root = files.path(),
                        .certificate = authority.issue(),
                        .serverLines = "ssl_protocols TLSv1.1;\n"
                                       "ssl_ciphers ALL:@SECLEVEL=0;\n"});
    const FetchedResponse response = fetchFrom(server.port(), trust());
    EXPECT_EQ(response.reason(), CURLE_SSL_CONNECT_ERROR);
    EXPECT_EQ(response.flags(), 0U) << "no certificate has been looked at";
}

TEST_F(SecureServer, IsReachedThroughATunnelOrTellsWhyTheProxyRefused) {
    const Nginx server({.root = files.path(), .certificate = authority.issue()});
    const std::string tunnels = "acl tunnels port " + std::to_string(server.port()) + "\n";
    TestSupport::Squid open(tunnels + "http_access allow tunnels\n");
    EXPECT_EQ(fetchFrom(server.port(), trust(), "localhost", open.port()).body, "stamp");
    open.stop();
    EXPECT_NE(open.log().find("CONNECT localhost:"), std::string::npos) << open.log();

    const TestSupport::Squid closed(tunnels + "http_access deny tunnels\n");
    const FetchedResponse refused = fetchFrom(server.port(), trust(), "localhost", closed.port());
    EXPECT_EQ(refused.reason(), CURLE_RECV_ERROR);
    EXPECT_EQ(refused.flags(), underlyingIsProxyStatus);
    EXPECT_EQ(refused.underlying(), 403U);
    EXPECT_EQ(refused.status, 0) << "the proxy's answer isn't the server's";

    const FetchedResponse gone =
        fetchFrom(server.port(), trust(), "localhost", TestSupport::freePort());
    EXPECT_EQ(gone.reason(), CURLE_COULDNT_CONNECT);
}

TEST_F(SecureServer, PlainRequestsPassThroughRealProxies) {
    const Nginx server({.root = files.path()});
    const TestSupport::Tinyproxy tinyproxy;
    const TestSupport::Squid squid;
    for (const int proxyPort : {tinyproxy.port(), squid.port()}) {
        Fetcher fetcher;
        fetcher.useServer(server.port());
        fetcher.pool.setProxyServer(fetcher.error, "127.0.0.1", proxyPort);
        EXPECT_EQ(fetcher.fetch("/id.txt").body, "stamp");
        EXPECT_EQ(fetcher.fetch("/missing").status, 404);
    }
}
