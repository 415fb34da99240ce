// The scripted server is the witness of many tests: here it is held to its word.

#include "support/scripted_server.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>

#include "support/patience.h"
#include "support/server_scripts.h"
#include "support/system_facts.h"

using namespace TestSupport;

namespace {

/// A client that speaks bytes.
class Client {
public:
    explicit Client(const ScriptedServer& server)
        : socket_(Socket::connectToLoopback(server.port())) {}

    void ask(std::string_view bytes) { socket_.send(bytes.data(), bytes.size()); }

    void get(std::string_view target) {
        ask("GET " + std::string(target) + " HTTP/1.1\r\nHost: h\r\n\r\n");
    }

    /// Reads `size` bytes, or less if the connection ends.
    std::string read(std::size_t size) {
        std::string text;
        std::array<char, 4096> piece;
        while (text.size() < size && wait() == WaitResult::Ready) {
            last_ = socket_.receive(piece.data(), std::min(piece.size(), size - text.size()));
            if (!last_ || *last_ <= 0) {
                break;
            }
            text.append(piece.data(), static_cast<std::size_t>(*last_));
        }
        return text;
    }

    std::string readToEnd() { return read(std::size_t{1} << 30); }
    bool sawReset() const { return last_ == -1; }

private:
    WaitResult wait() { return waitForSocket(socket_, Interest::Read, {}, patience); }

    Socket socket_;
    std::optional<std::int64_t> last_;
};

constexpr std::string_view smallAnswer = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nhi";

}  // namespace

TEST(ScriptedServer, KeepsConnectionsAndRecordsRequestsToTheByte) {
    ScriptedServer server;
    server.on("/a b", ok("hi"));
    Client client(server);
    client.get("/a b");
    EXPECT_EQ(client.read(smallAnswer.size()), smallAnswer);
    client.ask("GET /missing HTTP/1.1\r\nuser-AGENT:  x y\r\nConnection: close\r\n\r\n");
    EXPECT_EQ(client.readToEnd(),
              "HTTP/1.1 404 Not Found\r\nContent-Length: 13\r\n\r\nno such file\n");

    const std::vector<Request> requests = server.requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0].head, "GET /a b HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_EQ(requests[0].target, "/a b");
    EXPECT_EQ(requests[1].header("User-Agent"), "x y");
    EXPECT_EQ(requests[1].header("Accept"), std::nullopt);
    EXPECT_EQ(requests[1].connection, 1);
    EXPECT_EQ(requests[1].indexOnConnection, 1);
    EXPECT_TRUE(server.waitForOpenConnections(0));
    EXPECT_EQ(server.connections(), 1);
}

TEST(ScriptedServer, BreaksAtTheByteItWasTold) {
    ScriptedServer server;
    server.on("/closed", breakAt(std::string(smallAnswer), 20, Break::Close));
    server.on("/reset", breakAt(std::string(smallAnswer), 20, Break::Reset));
    server.on("/unanswered", breakAt({}, 0, Break::Close));

    Client closed(server);
    closed.get("/closed");
    EXPECT_EQ(closed.readToEnd(), smallAnswer.substr(0, 20));
    EXPECT_FALSE(closed.sawReset());

    Client reset(server);
    reset.get("/reset");
    reset.readToEnd();
    EXPECT_EQ(reset.sawReset(), showsResets());

    Client unanswered(server);
    unanswered.get("/unanswered");
    EXPECT_EQ(unanswered.readToEnd(), "");
}

TEST(ScriptedServer, StallsUntilReleased) {
    ScriptedServer server;
    server.on("/stalled", breakAt(std::string(smallAnswer), 20, Break::Stall));
    Client client(server);
    client.get("/stalled");
    EXPECT_EQ(client.read(20), smallAnswer.substr(0, 20));
    server.release();
    EXPECT_EQ(client.read(smallAnswer.size() - 20), smallAnswer.substr(20));
}

TEST(ScriptedServer, EndsStallsAndEndlessAnswersWhenItStops) {
    ScriptedServer server;
    server.on("/stalled", breakAt(std::string(smallAnswer), 20, Break::Stall));
    server.on("/endless", sendEndlessHeaders());
    server.on("/gated", behindGate(server.makeGate(9), answer(ok("hi"))));
    Client stalled(server);
    stalled.get("/stalled");
    Client endless(server);
    endless.get("/endless");
    Client gated(server);
    gated.get("/gated");
    ASSERT_TRUE(server.waitForRequests(3));
    server.stop();
    EXPECT_EQ(stalled.readToEnd(), smallAnswer.substr(0, 20));
    EXPECT_EQ(server.openConnections(), 0);
}

TEST(ScriptedServer, GateLetsNobodyThroughBeforeAllAreThere) {
    ScriptedServer server;
    Gate& gate = server.makeGate(3);
    std::atomic<int> through{0};
    server.on("/gated", [&](Connection& client, const Request&) {
        EXPECT_TRUE(gate.arrive());
        ++through;
        client.send(ok("hi"));
    });
    std::deque<Client> clients;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(through, 0);
        clients.emplace_back(server).get("/gated");
        ASSERT_TRUE(gate.waitForArrivals(i + 1));
    }
    for (Client& client : clients) {
        EXPECT_EQ(client.read(smallAnswer.size()), smallAnswer);
    }
    EXPECT_EQ(server.mostRequestsAtOnce(), 3);
}

TEST(ScriptedServer, ChunkedCodingAndEncodedTargetsAreWellFormed) {
    Response response = ok("0123456789abcdefghi");
    response.framing = Response::Framing::Chunked;
    response.chunkSize = 17;
    EXPECT_EQ(response.bytes(),
              "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
              "11\r\n0123456789abcdefg\r\n2\r\nhi\r\n0\r\n\r\n");
    EXPECT_EQ(percentEncoded("a b/\xC3\xA9~-._%\x01"), "a%20b/%C3%A9~-._%25%01");
}

TEST(ScriptedServer, AnswersNonsenseInsteadOfWaitingForMoreOfIt) {
    ScriptedServer server;
    Client client(server);
    client.ask("\x16\x03\x01 hello");
    EXPECT_EQ(client.readToEnd().substr(0, 12), "HTTP/1.1 400");
}
