// The pool as a whole: its clients, how they are handed out, and its end.

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "networking/fetcher.h"
#include "support/scripted_server.h"
#include "support/server_scripts.h"

using Norvel::Networking::HttpClient;
using Norvel::Networking::HttpClientPool;
using TestSupport::Break;
using TestSupport::breakAt;
using TestSupport::FetchedResponse;
using TestSupport::Fetcher;
using TestSupport::Gate;
using TestSupport::ok;
using TestSupport::ScriptedServer;

TEST(HttpClientPool, RunsFiveRequestsAtOnce) {
    ScriptedServer server;
    // Nothing is answered before five are there.
    Gate& gate = server.makeGate(Fetcher::clientCount);
    server.on("/file", TestSupport::behindGate(gate, TestSupport::answer(ok("five"))));
    Fetcher fetcher;
    fetcher.useServer(server.port());
    std::array<FetchedResponse, Fetcher::clientCount> responses;
    for (FetchedResponse& response : responses) {
        EXPECT_EQ(fetcher.start("/file", response), "");
    }
    fetcher.waitForAll();
    for (const FetchedResponse& response : responses) {
        EXPECT_EQ(response.body, "five");
    }
    EXPECT_EQ(server.mostRequestsAtOnce(), Fetcher::clientCount);
}

TEST(HttpClientPool, ServesManyRequestsOverItsFewConnections) {
    constexpr int requestCount = 1'000;
    ScriptedServer server;
    server.otherwise([](TestSupport::Connection& client, const TestSupport::Request& request) {
        client.send(ok(request.target));
    });
    Fetcher fetcher;
    fetcher.useServer(server.port());
    std::vector<FetchedResponse> responses(requestCount);
    for (int i = 0; i < requestCount; ++i) {
        EXPECT_EQ(fetcher.start("/" + std::to_string(i), responses[static_cast<std::size_t>(i)]),
                  "");
    }
    fetcher.waitForAll();
    for (int i = 0; i < requestCount; ++i) {
        EXPECT_EQ(responses[static_cast<std::size_t>(i)].body, "/" + std::to_string(i));
    }
    EXPECT_LE(server.connections(), Fetcher::clientCount);
}

TEST(HttpClientPool, HandsOutTheClientThatHasBeenFreeTheLongest) {
    ScriptedServer server;
    server.on("/file", ok("x"));
    server.on("/stall", breakAt(ok("x").bytes(), 0, Break::Stall));
    Fetcher fetcher(3);
    fetcher.useServer(server.port());
    const auto next = [&fetcher] {
        int index = -1;
        EXPECT_NE(fetcher.pool.waitAvailable(&index), nullptr);
        return index;
    };
    EXPECT_EQ(next(), 0);
    EXPECT_EQ(next(), 0) << "handing out alone takes nothing";
    fetcher.fetch("/file");
    EXPECT_EQ(next(), 1);
    FetchedResponse stalled;
    EXPECT_EQ(fetcher.start("/stall", stalled), "");
    EXPECT_EQ(next(), 2);
    server.release();
    fetcher.waitForAll();
    EXPECT_EQ(next(), 2);
}

TEST(HttpClientPool, BusyClientAndLateSetUpAreRefused) {
    ScriptedServer server;
    server.on("/stall", breakAt(ok("x").bytes(), 0, Break::Stall));
    Fetcher fetcher(1);
    fetcher.useServer(server.port());
    FetchedResponse running;
    EXPECT_EQ(fetcher.start("/stall", running), "");

    FetchedResponse refused;
    Norvel::Err busy;
    EXPECT_FALSE(fetcher.pool.clients[0].request(busy, "/file", 1, &refused, nullptr, nullptr));
    EXPECT_STREQ(busy.chain.head()->message, "The client is busy");
    Norvel::Err late;
    EXPECT_FALSE(fetcher.pool.setServer(late, "other.example", 80, nullptr));
    EXPECT_STREQ(late.chain.head()->message, "The pool has had requests already");

    server.release();
    fetcher.waitForAll();
    EXPECT_EQ(running.body, "x");
    EXPECT_EQ(refused.status, 0);
}

TEST(HttpClientPool, EndsRunningRequestsWithoutAFurtherCallback) {
    ScriptedServer server;
    server.on("/stall", breakAt(ok("0123456789").bytes(), 45, Break::Stall));
    std::array<FetchedResponse, Fetcher::clientCount> responses;
    {
        Fetcher fetcher;
        fetcher.useServer(server.port());
        for (FetchedResponse& response : responses) {
            EXPECT_EQ(fetcher.start("/stall", response), "");
        }
        EXPECT_TRUE(server.waitForRequests(responses.size()));
        fetcher.pool.destroy();
        for (FetchedResponse& response : responses) {
            response.cancelled = true;  // from here on callbacks are counted
        }
        EXPECT_EQ(fetcher.pool.clients, nullptr);
        int index = 3;
        EXPECT_EQ(fetcher.pool.waitAvailable(&index), nullptr);
        fetcher.pool.destroy();
    }
    EXPECT_TRUE(server.waitForOpenConnections(0));
    for (const FetchedResponse& response : responses) {
        EXPECT_EQ(response.callsAfterCancel, 0);
        EXPECT_EQ(response.reason(), 0);
    }
}

TEST(HttpClientPool, WithoutInitializeEachCallFillsTheError) {
    for (const int impossible : {0, -1, 1'000'000}) {
        HttpClientPool pool{nullptr, 0, -1};
        EXPECT_FALSE(pool.initialize(impossible));
        const HttpClient::Callbacks callbacks{sizeof(callbacks), nullptr, nullptr, nullptr,
                                              nullptr,           nullptr, nullptr, 1};
        Norvel::Networking::Headers headers;
        std::array<Norvel::Err, 6> errors;
        EXPECT_FALSE(pool.setMode(errors[0], 2));
        EXPECT_FALSE(pool.setServer(errors[1], "127.0.0.1", 80, nullptr));
        EXPECT_FALSE(pool.setSSLContext(errors[2], nullptr));
        EXPECT_FALSE(pool.setProxyServer(errors[3], nullptr, 80));
        EXPECT_FALSE(pool.setCallbacks(errors[4], callbacks, nullptr));
        EXPECT_FALSE(pool.setHeaders(errors[5], headers, false));
        for (const Norvel::Err& error : errors) {
            ASSERT_TRUE(error.chain);
            EXPECT_STREQ(error.chain.head()->message, "The pool isn't initialized");
        }
        EXPECT_EQ(pool.waitAvailable(nullptr), nullptr);
        pool.destroy();
    }
}

TEST(HttpClientPool, RefusedSetUpIsToldAndStartsNoRequest) {
    struct Case {
        const char* host;
        int port;
        const char* message;
    };
    for (const Case& test : std::vector<Case>{
             {"", 80, "The server can't be used: no host name"},
             {"me:secret@", 80, "The server can't be used: no host name"},
             {"a b", 80, "The server can't be used: \"a b\" isn't a host name"},
             {"a/b", 80, "The server can't be used: \"a/b\" isn't a host name"},
             {"a:99999", 80, "The server can't be used: \"a:99999\" isn't a host name"},
             {"[::1", 80, "The server can't be used: \"[::1\" isn't a host name"},
             {"u:p\r@a", 0, "The server can't be used: port 0 is out of range"},
             {"a%00@b", 80, "The server can't be used: user information with a NUL in it"},
             {"a", 65536, "The server can't be used: port 65536 is out of range"}}) {
        Fetcher fetcher(1);
        EXPECT_FALSE(fetcher.pool.setServer(fetcher.error, test.host, test.port, nullptr));
        ASSERT_TRUE(fetcher.error.chain) << test.host;
        EXPECT_STREQ(fetcher.error.chain.head()->message, test.message);
        FetchedResponse response;
        EXPECT_EQ(fetcher.start("/", response),
                  "[HttpClient::request] -1: The set-up of the pool has failed");
    }
    Fetcher fetcher(1);
    fetcher.useServer(80);
    EXPECT_FALSE(fetcher.pool.setProxyServer(fetcher.error, "pro xy", 80));
    FetchedResponse response;
    EXPECT_EQ(fetcher.start("/", response),
              "[HttpClient::request] -1: The set-up of the pool has failed")
        << "and doesn't go direct";
}
