// Requests that bring nothing: an abort is seen all the same, and none lasts for ever.

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "networking/context.h"
#include "networking/fetcher.h"
#include "networking/stall_clock.h"
#include "support/scripted_server.h"
#include "support/server_scripts.h"

using namespace std::chrono_literals;
using TestSupport::Break;
using TestSupport::breakAt;
using TestSupport::Connection;
using TestSupport::FetchedResponse;
using TestSupport::Fetcher;
using TestSupport::ok;
using TestSupport::ScriptedServer;
using TestSupport::ShortLimits;

namespace {

/// A server that falls silent: at which point of the exchange, in bytes of the response.
struct Silence {
    const char* name;
    std::size_t at;
    int status;
    std::int64_t received;
};

const std::string wholeResponse = ok("0123456789").bytes();
const std::vector<Silence> silences = {
    {"before the first byte", 0, 0, 0},
    {"in the headers", 20, 0, 0},
    {"in the body", wholeResponse.size() - 7, 200, 3},
};

}  // namespace

TEST(HttpAbort, IsSeenWhileAResponseStalls) {
    ShortLimits limits;
    limits->progressInterval = 5ms;
    for (const Silence& silence : silences) {
        ScriptedServer server;
        server.on("/file", breakAt(wholeResponse, silence.at, Break::Stall));
        Fetcher fetcher;
        fetcher.useServer(server.port());
        FetchedResponse response;
        response.wantsStop = [&] {
            return response.ticks >= 3 && response.received == silence.received;
        };

        fetcher.fetch("/file", response);

        EXPECT_EQ(response.status, silence.status) << silence.name;
        EXPECT_EQ(response.received, silence.received) << silence.name;
        EXPECT_TRUE(response.cancelled) << silence.name;
        EXPECT_EQ(response.callsAfterCancel, 0) << silence.name;
        EXPECT_EQ(response.reason(), 0) << "no error behind a cancel: " << silence.name;
        EXPECT_TRUE(server.waitForOpenConnections(0)) << silence.name;
    }
}

TEST(HttpAbort, IsSeenWhileAHandshakeStalls) {
    ShortLimits limits;
    limits->progressInterval = 5ms;
    ScriptedServer server;
    server.onConnection([](Connection& client) { client.stall(); });
    Fetcher fetcher;
    fetcher.useServer(server.port());
    const Norvel::Networking::ClientSSLConfiguration systemCertificates;
    EXPECT_TRUE(fetcher.pool.setSSLContext(fetcher.error, &systemCertificates));
    FetchedResponse response;
    response.wantsStop = [&response] { return response.ticks == 3; };
    fetcher.fetch("/file", response);
    EXPECT_EQ(response.ticks, 3);
    EXPECT_EQ(response.reason(), 0);
}

TEST(HttpAbort, EndsEachRequestThatIsRunning) {
    ScriptedServer server;
    server.on("/endless", TestSupport::sendEndlessBody());
    Fetcher fetcher;
    fetcher.useServer(server.port());
    std::vector<FetchedResponse> responses(Fetcher::clientCount);
    for (FetchedResponse& response : responses) {
        response.wantsStop = [&response] { return response.pieces == 10; };
        EXPECT_EQ(fetcher.start("/endless", response), "");
    }
    fetcher.waitForAll();
    for (const FetchedResponse& response : responses) {
        EXPECT_EQ(response.pieces, 10);
        EXPECT_EQ(response.callsAfterCancel, 0);
        EXPECT_EQ(response.reason(), 0);
    }
    server.on("/file", ok("afterwards"));
    EXPECT_EQ(fetcher.fetch("/file").body, "afterwards");
}

TEST(HttpTimeLimit, SilentServerEndsTheRequestAsAnError) {
    ShortLimits limits;
    limits->stallTime = 200ms;
    for (const Silence& silence : silences) {
        ScriptedServer server;
        server.on("/file", breakAt(wholeResponse, silence.at, Break::Stall));
        Fetcher fetcher;
        fetcher.useServer(server.port());
        const FetchedResponse response = fetcher.fetch("/file");
        EXPECT_EQ(response.reason(), CURLE_OPERATION_TIMEDOUT) << silence.name;
    }
}

TEST(HttpTimeLimit, HandshakeThatNeverEndsIsAnError) {
    ShortLimits limits;
    limits->connectTime = 50ms;
    ScriptedServer server;
    server.onConnection([](Connection& client) { client.stall(); });
    Fetcher fetcher;
    fetcher.useServer(server.port());
    const Norvel::Networking::ClientSSLConfiguration systemCertificates;
    EXPECT_TRUE(fetcher.pool.setSSLContext(fetcher.error, &systemCertificates));
    EXPECT_EQ(fetcher.fetch("/file").reason(), CURLE_OPERATION_TIMEDOUT);
}

TEST(HttpTimeLimit, LimitsAreThoseThatAreDocumented) {
    const Norvel::Networking::Limits limits;
    EXPECT_EQ(limits.connectTime, 30s);
    EXPECT_EQ(limits.stallTime, 60s);
    EXPECT_EQ(limits.progressInterval, 1s);
}

namespace {

/// When a transfer ends that brings `bytes` each `interval` seconds, `times` times.
std::chrono::seconds lifeOf(std::int64_t bytes, int interval, int times) {
    const Norvel::Networking::TimePoint start{};
    Norvel::Networking::StallClock clock(60s);
    clock.start(start);
    for (int i = 1; i <= times; ++i) {
        const auto now = start + std::chrono::seconds(interval) * i;
        if (now >= clock.deadline()) {
            break;
        }
        clock.received(now, bytes);
    }
    return std::chrono::duration_cast<std::chrono::seconds>(clock.deadline() - start);
}

}  // namespace

TEST(StallClock, OneByteASecondKeepsATransferAliveAndLessDoesNot) {
    EXPECT_EQ(lifeOf(0, 1, 0), 60s) << "nothing at all";
    EXPECT_EQ(lifeOf(1, 1, 1'000), 1'060s) << "a byte a second";
    EXPECT_EQ(lifeOf(1'000'000'000'000, 10, 5), 110s) << "plenty doesn't buy more than the limit";
    EXPECT_EQ(lifeOf(30, 30, 10), 360s) << "a piece every 30 seconds, at a byte a second";
    EXPECT_LT(lifeOf(1, 2, 1'000), 121s) << "a byte every two seconds";
    EXPECT_LT(lifeOf(1, 50, 1'000), 121s) << "a byte now and then";
}
