#pragma once

// An HTTP server on loopback that does to the byte what a test tells it, also what no sound server
// does. One test reads as a conversation: what is asked, what is answered, how it breaks.
//
//     ScriptedServer server;
//     server.on("/lib/id.txt", ok("stamp 7\n"));
//     server.on("/lib/filelist.json", breakAt(ok(list).bytes(), 100, Break::Reset));
//     server.on("/lib/a.tx", [](Connection& client, const Request& request) {
//         EXPECT_EQ(request.header("User-Agent"), "kivdownloader");
//         client.send("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nabc");
//         if (client.stall()) {
//             client.send("defghi");
//         }
//     });
//     ... a run against server.url("/lib") ...
//     EXPECT_EQ(server.targets(), ...);
//
// Ready-made scripts stand in server_scripts.h. Each connection has a thread of its own, on which
// the handlers run, several at once; the destructor ends every wait and joins them all. A target
// without a handler gets a 404, and what is no HTTP nothing.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "support/http_response.h"
#include "support/sockets.h"

namespace TestSupport {

class ScriptedServer;

/// One request as it came.
struct Request {
    /// All its bytes, with the empty line at the end.
    std::string head;
    std::string target;
    /// The how-manieth of its connection, from 0.
    int indexOnConnection = 0;

    /// The value of a header, or nothing; letters of either case are one.
    std::optional<std::string> header(std::string_view name) const;
};

/// The server's end of one connection; belongs to the thread that runs its handler.
///
/// What sends gives false, with the connection closed, when the client has gone or the server ends.
class Connection {
public:
    Connection(ScriptedServer& server, Socket socket)
        : server_(server), socket_(std::move(socket)) {}

    bool isOpen() const { return socket_.isOpen(); }

    bool send(std::string_view bytes);
    bool send(const Response& response) { return send(response.bytes()); }
    /// Sends `piece` bytes per `interval`, beginning at once.
    bool drip(std::string_view bytes, std::size_t piece, std::chrono::milliseconds interval);
    /// Sends `piece` over and over, until the client or the server ends it.
    void sendForever(std::string_view piece);

    /// Says nothing more until `ScriptedServer::release`: true. False when the client has gone.
    bool stall();

    /// The next request of the client; false when there is none any more.
    bool readRequest(Request& request);

    void close();
    void reset();

private:
    /// False, with the connection closed, if the client or the server ends meanwhile.
    bool staysFor(std::chrono::milliseconds time);
    bool waitFor(Interest interest);
    bool fill();

    ScriptedServer& server_;
    Socket socket_;
    std::string received_;
    int requests_ = 0;
};

using Handler = std::function<void(Connection&, const Request&)>;

class ScriptedServer {
public:
    ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;
    ~ScriptedServer();

    int port() const { return port_; }
    /// "127.0.0.1:" and the port.
    std::string address() const { return "127.0.0.1:" + std::to_string(port_); }
    std::string url(const std::string& path) const { return "http://" + address() + path; }

    /// What happens on a request for exactly this target; a later call replaces an earlier one,
    /// also while a client is at work.
    void on(const std::string& target, Handler handler);
    void on(const std::string& target, const Response& response);
    /// What happens on every other target.
    void otherwise(Handler handler);
    /// Whole files, kept alive between requests: name under `prefix` to content.
    void serve(std::string_view prefix, const std::map<std::string, std::string>& files);

    /// Ends all stalls, those to come included.
    void release() { released_ = true; }

    /// The requests so far, in the order of their arrival.
    std::vector<Request> requests() const;
    std::vector<std::string> targets() const;
    int requestCount(std::string_view target) const;
    int connections() const;

    /// For the test: false if that many requests, or so few open connections, never come.
    bool waitForRequests(std::size_t count) const;
    bool waitForOpenConnections(int atMost) const;

private:
    friend class Connection;

    struct Worker {
        Connection connection;
        std::thread thread;
    };
    using Workers = std::list<Worker>;

    void acceptClients();
    void start(Socket socket);
    void joinFinished();
    void runConnection(Workers::iterator worker);
    std::shared_ptr<const Handler> record(const Request& request);
    void connectionClosed();

    Socket listener_;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    std::atomic<bool> released_{false};

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::unordered_map<std::string, std::shared_ptr<const Handler>> handlers_;
    std::shared_ptr<const Handler> otherwise_;
    std::vector<Request> requests_;
    int connections_ = 0;
    int openConnections_ = 0;
    Workers running_;
    Workers finished_;

    std::thread acceptor_;
};

}  // namespace TestSupport
