#include "support/peers.h"

#include <chrono>
#include <stdexcept>

#include "support/patience.h"
#include "support/sockets.h"

namespace TestSupport {

namespace {

/// The file of each peer's log in its directory.
constexpr std::string_view logName = "requests.log";

std::string tlsLines(const NginxSettings& settings) {
    if (!settings.certificate) {
        return {};
    }
    return "ssl_certificate " + peerPath(settings.certificate->file) + ";\nssl_certificate_key " +
           peerPath(settings.certificate->key) + ";\n";
}

std::string listenLine(const NginxSettings& settings, int port) {
    return "listen 127.0.0.1:" + std::to_string(port) + (settings.certificate ? " ssl" : "") +
           (settings.http2 ? " http2" : "") + ";\n";
}

std::string nginxText(const NginxSettings& settings, const std::string& directory,
                      const std::string& logFile, int port) {
    std::string paths;
    for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
        paths.append(kind).append("_temp_path ").append(directory).append("/temp;\n");
    }
    // One process, so that its end is the end of it all.
    return "daemon off;\nmaster_process off;\nuser root;\npid " + directory +
           "/pid;\nerror_log stderr warn;\nevents { worker_connections 1000; }\nhttp {\n" + paths +
           "log_format line '$request $status $connection';\naccess_log " + logFile +
           " line;\ndefault_type application/octet-stream;\nkeepalive_requests 1000000;\n"
           "server {\n" +
           listenLine(settings, port) + tlsLines(settings) + "root " + peerPath(settings.root) +
           ";\n" + settings.serverLines + "\n}\n}\n";
}

}  // namespace

int freePort() {
    return Socket::listenOnLoopback().localPort();
}

Peer::Peer() {
    // Some give up their rights before they open their log.
    runCommand({"chmod", "777", peerName(".")});
}

void Peer::stop() {
    constexpr int askToEnd = 15;
    process_->signal(askToEnd);
    process_->wait();
}

std::string Peer::log() const {
    // Some write it as another user.
    return runCommand({"cat", peerName(logName)});
}

void Peer::start(const Command& command) {
    constexpr int attempts = 5;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        port_ = freePort();
        process_.emplace(command(port_), directory_.path() / "output");
        if (becomesReady()) {
            return;
        }
    }
    throw std::runtime_error(command(port_).front() + " doesn't start; it printed: " + output());
}

bool Peer::becomesReady() {
    constexpr std::chrono::milliseconds pause{2};
    const auto end = std::chrono::steady_clock::now() + patience;
    while (std::chrono::steady_clock::now() < end) {
        if (Socket::connectToLoopback(port_).isOpen()) {
            // Whoever answers is ours only if ours still lives.
            return !process_->waitFor(std::chrono::milliseconds(0));
        }
        if (process_->waitFor(pause)) {
            return false;
        }
    }
    return false;
}

std::string Peer::writeSettings(const std::string& text, std::string_view name) const {
    directory_.write(name, text);
    return peerName(name);
}

Nginx::Nginx(const NginxSettings& settings) {
    start([&](int port) {
        const std::string file =
            writeSettings(nginxText(settings, peerName("."), peerName(logName), port));
        return std::vector<std::string>{"nginx", "-p", peerName("."), "-e", "stderr", "-c", file};
    });
}

Tinyproxy::Tinyproxy() {
    start([&](int port) {
        const std::string file =
            writeSettings("Port " + std::to_string(port) + "\nListen 127.0.0.1\nTimeout 60\n" +
                          "LogLevel Info\nLogFile \"" + peerName(logName) + "\"\n");
        return std::vector<std::string>{"tinyproxy", "-d", "-c", file};
    });
}

Squid::Squid(const std::string& lines) {
    start([&](int port) {
        // Of several addresses of one name it takes the first alone.
        const std::string hosts = writeSettings("127.0.0.1 localhost\n", "hosts");
        const std::string file = writeSettings(
            "http_port 127.0.0.1:" + std::to_string(port) + "\n" + lines +
            "\nhttp_access allow all\ncache deny all\npinger_enable off\npid_filename none\n"
            "shutdown_lifetime 0 seconds\ncoredump_dir none\nhosts_file " +
            hosts + "\ncache_log " + peerName("cache.log") +
            "\naccess_log stdio:" + peerName(logName) + "\n");
        // Under one service name, several of them would share their segments of memory.
        service_ = "kiv" + std::to_string(port);
        return std::vector<std::string>{"squid", "-N", "-d", "1", "-n", service_, "-f", file};
    });
}

Squid::~Squid() {
    // It is killed right after this, and would leave its segments behind.
    const std::string segments = "/dev/shm/" + service_ + "-cf__";
    runCommand(
        {"rm", "-f", segments + "metadata.shm", segments + "queues.shm", segments + "readers.shm"});
}

}  // namespace TestSupport
