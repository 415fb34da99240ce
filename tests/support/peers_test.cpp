// The real peers: that they start, serve, and are gone afterwards. curl is nowhere in this: the
// client is a socket.

#include "support/peers.h"

#include <gtest/gtest.h>

#include <array>

#include "support/patience.h"
#include "support/scripted_server.h"

using namespace TestSupport;

namespace {

/// Sends `bytes` to a port and gives all that comes back.
std::string talk(int port, std::string_view bytes) {
    const Socket socket = Socket::connectToLoopback(port);
    socket.send(bytes.data(), bytes.size());
    std::string text;
    std::array<char, 4096> piece;
    while (waitForSocket(socket, Interest::Read, {}, patience) == WaitResult::Ready) {
        const std::optional<std::int64_t> count = socket.receive(piece.data(), piece.size());
        if (!count || *count <= 0) {
            break;
        }
        text.append(piece.data(), static_cast<std::size_t>(*count));
    }
    return text;
}

testing::AssertionResult contains(const std::string& text, std::string_view piece) {
    return text.find(piece) != std::string::npos ? testing::AssertionSuccess()
                                                 : testing::AssertionFailure() << text;
}

std::string requestFor(const std::string& target) {
    return "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n";
}

}  // namespace

TEST(Peers, NginxServesADirectoryAndLogsIt) {
    const TempDirectory files;
    files.write("lib/a b.txt", "content");
    Nginx server({.root = files.path()});
    EXPECT_TRUE(contains(talk(server.port(), requestFor("/lib/a%20b.txt")), "\r\n\r\ncontent"));
    server.stop();
    EXPECT_TRUE(contains(server.log(), "GET /lib/a%20b.txt HTTP/1.1 200"));
    EXPECT_FALSE(Socket::connectToLoopback(server.port()).isOpen());
}

TEST(Peers, NginxSpeaksHttpsWithCertificatesThatSayWhatTheyWereTold) {
    const TempDirectory files;
    files.write("id.txt", "stamp");
    CertificateAuthority authority;
    const Certificate expired = authority.issue("DNS:localhost", -1);
    Nginx server({.root = files.path(), .certificate = authority.issue(), .http2 = true});
    const auto verdict = [&](const std::string& address, const std::string& name) {
        ChildProcess client({"openssl", "s_client", "-connect", address, "-CAfile",
                             peerPath(authority.file()), "-verify_hostname", name, "-alpn", "h2"},
                            files.path() / "verdict");
        client.wait();
        return client.output();
    };
    EXPECT_TRUE(contains(verdict(server.address(), "localhost"), "Verify return code: 0 (ok)"));
    EXPECT_TRUE(contains(verdict(server.address(), "localhost"), "ALPN protocol: h2"));
    EXPECT_TRUE(contains(verdict(server.address(), "other"), "Verify return code: 62"));
    Nginx old({.root = files.path(), .certificate = expired, .http2 = true});
    EXPECT_TRUE(contains(verdict(old.address(), "localhost"), "Verify return code: 10"));
}

TEST(Peers, ProxiesPassRequestsOnOrRefuseThem) {
    ScriptedServer server;
    server.on("/a", ok("content"));
    const std::string request = requestFor(server.url("/a"));
    Tinyproxy tinyproxy;
    EXPECT_TRUE(contains(talk(tinyproxy.port(), request), "\r\n\r\ncontent"));
    Squid squid;
    EXPECT_TRUE(contains(talk(squid.port(), request), "\r\n\r\ncontent"));
    squid.stop();
    EXPECT_TRUE(contains(squid.log(), "GET " + server.url("/a")));
    EXPECT_EQ(server.requestCount("/a"), 2);

    const Tinyproxy locked("BasicAuth user secret");
    EXPECT_TRUE(contains(talk(locked.port(), request), " 407 "));
    const Squid closed("http_access deny all");
    EXPECT_TRUE(contains(talk(closed.port(), request), " 403 "));
    EXPECT_EQ(server.requestCount("/a"), 2);
}
