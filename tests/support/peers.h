#pragma once

// Real servers and proxies on free ports of loopback, for what only a real one can witness.
//
//     Nginx server({.root = files.path()});
//     Squid proxy("acl far port 1\nhttp_access deny far\n");
//     ... a run against server.port() through proxy.port() ...
//     EXPECT_NE(proxy.stopAndReadLog().find("GET http://"), std::string::npos);
//
// A peer is ready when its constructor returns, and gone with its object. A program that is missing
// or doesn't start raises `std::runtime_error` with what it printed.

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/certificates.h"
#include "support/child_process.h"
#include "support/temp_directory.h"

namespace TestSupport {

/// A port of 127.0.0.1 that nothing listens on: also for peers that aren't there.
int freePort();

/// What all peers are.
class Peer {
public:
    int port() const { return port_; }
    std::string url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(port_) + path;
    }
    /// Ends it in order, and gives its log: one line for each request, in the program's own form.
    std::string stopAndReadLog();

protected:
    using Command = std::function<std::vector<std::string>(const std::string& port)>;

    Peer();
    ~Peer() = default;

    /// Starts what `command` gives for a free port, and waits until something listens there; tries
    /// again with another port if the program ends at once, since others look for ports too.
    void start(const Command& command);

    /// Writes its settings and gives their path, as the peer knows it.
    std::string writeSettings(const std::string& text, std::string_view name = "settings") const;
    /// The path of a file of its own, as the peer knows it.
    std::string peerName(std::string_view name) const { return peerPath(directory_.path() / name); }

private:
    bool becomesReady();

    TempDirectory directory_;
    std::optional<ChildProcess> process_;
    int port_ = 0;
};

struct NginxSettings {
    /// What it serves.
    std::filesystem::path root;
    /// With one it speaks https, also HTTP/2.
    std::optional<Certificate> certificate = std::nullopt;
    /// More directives for the `server` block, such as "ssl_protocols TLSv1;".
    std::string serverLines = {};
};

/// Its log has lines such as "GET /lib/id.txt HTTP/1.1 200".
class Nginx final : public Peer {
public:
    explicit Nginx(const NginxSettings& settings);
};

class Tinyproxy final : public Peer {
public:
    Tinyproxy();
};

/// `lines` are more settings and stand first, such as "http_access deny all", which makes it
/// refuse.
class Squid final : public Peer {
public:
    explicit Squid(const std::string& lines = {});
    Squid(const Squid&) = delete;
    Squid& operator=(const Squid&) = delete;
    ~Squid();

private:
    std::string service_;
};

}  // namespace TestSupport
