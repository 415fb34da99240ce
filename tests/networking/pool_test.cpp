// The pool as a whole: its clients, how they are handed out, and its end.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "networking/fetcher.h"
#include "support/server_scripts.h"

using namespace TestSupport;
using Norvel::Networking::HttpClientPool;

namespace {

class HttpPool : public testing::Test, protected Exchange {
protected:
    HttpPool() : Exchange(3) {
        server.on("/file", ok("x"));
        server.on("/stall", breakAt(ok("0123456789").bytes(), 45, Break::Stall));
    }
};

}  // namespace

TEST_F(HttpPool, HandsOutTheClientThatHasBeenFreeTheLongest) {
    const auto next = [this] {
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

TEST_F(HttpPool, BusyClientAndLateSetUpAreRefused) {
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
    EXPECT_EQ(running.body, "0123456789");
    EXPECT_EQ(refused.status, 0);
}

TEST_F(HttpPool, EndsRunningRequestsWithoutAFurtherCallback) {
    std::vector<FetchedResponse> responses(3);
    fetcher.startAll("/stall", responses);
    EXPECT_TRUE(server.waitForRequests(responses.size()));
    fetcher.pool.destroy();
    for (FetchedResponse& response : responses) {
        response.cancelled = true;  // from here on callbacks are counted
    }
    EXPECT_EQ(fetcher.pool.clients, nullptr);
    EXPECT_EQ(fetcher.pool.waitAvailable(nullptr), nullptr);
    fetcher.pool.destroy();
    EXPECT_TRUE(server.waitForOpenConnections(0));
    for (const FetchedResponse& response : responses) {
        EXPECT_EQ(response.callsAfterCancel, 0);
        EXPECT_EQ(response.reason(), 0);
    }
}

TEST_F(HttpPool, ThatCannotBeMadeRefusesItsSetUp) {
    for (const int impossible : {0, -1, 1'000'000}) {
        HttpClientPool pool{nullptr, 0, -1};
        EXPECT_FALSE(pool.initialize(impossible));
        Norvel::Err error;
        EXPECT_FALSE(pool.setMode(error, 2));
        EXPECT_STREQ(error.chain.head()->message, "The pool isn't initialized");
        EXPECT_EQ(pool.waitAvailable(nullptr), nullptr);
        pool.destroy();
    }
}

TEST_F(HttpPool, RefusedSetUpIsToldAndStartsNoRequest) {
    struct Case {
        bool isProxy;
        const char* host;
        int port;
        const char* message;
    };
    for (const Case& test : std::vector<Case>{
             {false, "", 80, "The server can't be used: no host name"},
             {false, "me:secret@", 80, "The server can't be used: no host name"},
             {false, "a b", 80, "The server can't be used: \"a b\" isn't a host name"},
             {false, "a/b", 80, "The server can't be used: \"a/b\" isn't a host name"},
             {false, "a:99999", 80, "The server can't be used: \"a:99999\" isn't a host name"},
             {false, "[::1", 80, "The server can't be used: \"[::1\" isn't a host name"},
             {false, "u:p\r@a", 0, "The server can't be used: port 0 is out of range"},
             {false, "a%00@b", 80, "The server can't be used: user information with a NUL in it"},
             {false, "a", 65536, "The server can't be used: port 65536 is out of range"},
             {true, "pro xy", 80, "The proxy can't be used: \"pro xy\" isn't a host name"}}) {
        Exchange refused(1);
        HttpClientPool& pool = refused.fetcher.pool;
        Norvel::Err error;
        EXPECT_FALSE(test.isProxy ? pool.setProxyServer(error, test.host, test.port)
                                  : pool.setServer(error, test.host, test.port, nullptr));
        ASSERT_TRUE(error.chain) << test.host;
        EXPECT_STREQ(error.chain.head()->message, test.message);
        FetchedResponse response;
        EXPECT_EQ(refused.fetcher.start("/", response),
                  "[HttpClient::request] -1: The set-up of the pool has failed");
    }
}
