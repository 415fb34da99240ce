#include "support/peers.h"

#include <chrono>
#include <stdexcept>

#include "support/patience.h"
#include "support/sockets.h"

namespace TestSupport {

namespace {

/// The file of each peer's log in its directory.
constexpr std::string_view logName = "requests.log";

std::string serverBlock(const NginxSettings& settings, const std::string& port) {
    std::string text = "listen 127.0.0.1:" + port;
    if (settings.certificate) {
        text += " ssl http2;\nssl_certificate " + peerPath(settings.certificate->file) +
                ";\nssl_certificate_key " + peerPath(settings.certificate->key);
    }
    return text + ";\nroot " + peerPath(settings.root) + ";\n" + settings.serverLines;
}

std::string nginxText(const NginxSettings& settings, const std::string& directory,
                      const std::string& logFile, const std::string& port) {
    std::string paths;
    for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
        paths.append(kind).append("_temp_path ").append(directory).append("/temp;\n");
    }
    // One process, so that its end is the end of it all.
    return "daemon off;\nmaster_process off;\nuser root;\npid " + directory +
           "/pid;\nerror_log stderr warn;\nevents {}\nhttp {\n" + paths +
           "log_format line '$request $status';\naccess_log " + logFile + " line;\nserver {\n" +
           serverBlock(settings, port) + "}\n}\n";
}

}  // namespace

int freePort() {
    return Socket::listenOnLoopback().localPort();
}

Peer::Peer() {
    // Some give up their rights before they open their log.
    runCommand({"chmod", "777", peerName(".")});
}

std::string Peer::stopAndReadLog() {
    constexpr int askToEnd = 15;
    process_->signal(askToEnd);
    process_->wait();
    // Some write it as another user.
    return runCommand({"cat", peerName(logName)});
}

void Peer::start(const Command& command) {
    constexpr int attempts = 5;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        port_ = freePort();
        process_.emplace(command(std::to_string(port_)), directory_.path() / "output");
        if (becomesReady()) {
            return;
        }
    }
    throw std::runtime_error("a peer doesn't start; it printed: " + process_->output());
}

bool Peer::becomesReady() {
    constexpr std::chrono::milliseconds pause{2};
    const auto end = std::chrono::steady_clock::now() + patience;
    while (std::chrono::steady_clock::now() < end) {
        // Whoever answers is ours only if ours still lives.
        const bool answers = Socket::connectToLoopback(port_).isOpen();
        if (process_->waitFor(pause)) {
            return false;
        }
        if (answers) {
            return true;
        }
    }
    return false;
}

std::string Peer::writeSettings(const std::string& text, std::string_view name) const {
    directory_.write(name, text);
    return peerName(name);
}

Nginx::Nginx(const NginxSettings& settings) {
    start([&](const std::string& port) {
        const std::string text = nginxText(settings, peerName("."), peerName(logName), port);
        return std::vector<std::string>{"nginx",  "-p", peerName("."),      "-e",
                                        "stderr", "-c", writeSettings(text)};
    });
}

Tinyproxy::Tinyproxy() {
    start([&](const std::string& port) {
        const std::string text = "Port " + port + "\nListen 127.0.0.1\nTimeout 60\n" +
                                 "LogLevel Info\nLogFile \"" + peerName(logName) + "\"\n";
        return std::vector<std::string>{"tinyproxy", "-d", "-c", writeSettings(text)};
    });
}

Squid::Squid(const std::string& lines) {
    start([&](const std::string& port) {
        // Of several addresses of one name it takes the first alone.
        const std::string hosts = writeSettings("127.0.0.1 localhost\n", "hosts");
        const std::string text =
            "http_port 127.0.0.1:" + port + "\n" + lines +
            "http_access allow all\ncache deny all\npinger_enable off\npid_filename none\n"
            "shutdown_lifetime 0 seconds\ncoredump_dir none\nhosts_file " +
            hosts + "\ncache_log " + peerName("cache.log") +
            "\naccess_log stdio:" + peerName(logName) + "\n";
        // Under one service name, several of them would share their segments of memory.
        service_ = "kiv" + port;
        return std::vector<std::string>{"squid", "-N",     "-d", "1",
                                        "-n",    service_, "-f", writeSettings(text)};
    });
}

Squid::~Squid() {
    // It is killed right after this, and would leave its segments behind.
    const std::string segments = "/dev/shm/" + service_ + "-cf__";
    runCommand(
        {"rm", "-f", segments + "metadata.shm", segments + "queues.shm", segments + "readers.shm"});
}

}  // namespace TestSupport
