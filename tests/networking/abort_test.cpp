// Servers that fall silent: an abort is seen all the same, and no request lasts for ever.

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "networking/context.h"
#include "networking/fetcher.h"
#include "networking/stall_clock.h"
#include "support/server_scripts.h"

using namespace std::chrono_literals;
using namespace TestSupport;
using Norvel::Networking::Limits;

namespace {

struct Silence {
    const char* name;
    /// Bytes of the response before it; without them it comes in the TLS handshake.
    std::optional<std::size_t> at;
    int status;
    std::int64_t received;
    /// What ends it.
    std::chrono::milliseconds Limits::*limit;
};

const std::string wholeResponse = ok("0123456789").bytes();
const std::vector<Silence> silences = {
    {"in the handshake", std::nullopt, 0, 0, &Limits::connectTime},
    {"before the first byte", 0, 0, 0, &Limits::stallTime},
    {"in the headers", 20, 0, 0, &Limits::stallTime},
    {"in the body", wholeResponse.size() - 7, 200, 3, &Limits::stallTime},
};

void fetchInto(FetchedResponse& response, const Silence& silence) {
    Exchange exchange;
    if (silence.at) {
        exchange.server.on("/file", breakAt(wholeResponse, *silence.at, Break::Stall));
    } else {
        const Norvel::Networking::ClientSSLConfiguration systemCertificates;
        EXPECT_TRUE(
            exchange.fetcher.pool.setSSLContext(exchange.fetcher.error, &systemCertificates));
    }
    exchange.fetcher.fetch("/file", response);
    EXPECT_EQ(response.status, silence.status);
    EXPECT_EQ(response.received, silence.received);
    EXPECT_TRUE(exchange.server.waitForOpenConnections(0));
}

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

TEST(HttpSilence, IsNoObstacleToAnAbort) {
    ShortLimits limits;
    limits->progressInterval = 5ms;
    for (const Silence& silence : silences) {
        SCOPED_TRACE(silence.name);
        FetchedResponse response;
        response.wantsStop = [&] {
            return response.ticks >= 3 && response.received == silence.received;
        };
        fetchInto(response, silence);
        EXPECT_TRUE(response.cancelled);
        EXPECT_EQ(response.callsAfterCancel, 0);
        EXPECT_EQ(response.reason(), 0) << "no error behind a cancel";
    }
}

TEST(HttpSilence, EndsTheRequestAsAnErrorInTheEnd) {
    for (const Silence& silence : silences) {
        SCOPED_TRACE(silence.name);
        const ShortLimits limits;
        Norvel::Networking::currentLimits().*silence.limit = 200ms;
        FetchedResponse response;
        fetchInto(response, silence);
        EXPECT_EQ(response.reason(), CURLE_OPERATION_TIMEDOUT);
    }
}

TEST(HttpSilence, LimitsAreThoseThatAreDocumented) {
    const Limits limits;
    EXPECT_EQ(limits.connectTime, 30s);
    EXPECT_EQ(limits.stallTime, 60s);
    EXPECT_EQ(limits.progressInterval, 1s);
}

TEST(StallClock, OneByteASecondKeepsATransferAliveAndLessDoesNot) {
    EXPECT_EQ(lifeOf(0, 1, 0), 60s) << "nothing at all";
    EXPECT_EQ(lifeOf(1, 1, 1'000), 1'060s) << "a byte a second";
    EXPECT_EQ(lifeOf(1'000'000'000'000, 10, 5), 110s) << "plenty doesn't buy more than the limit";
    EXPECT_EQ(lifeOf(30, 30, 10), 360s) << "a piece every 30 seconds, at a byte a second";
    EXPECT_LT(lifeOf(1, 2, 1'000), 121s) << "a byte every two seconds";
    EXPECT_LT(lifeOf(1, 50, 1'000), 121s) << "a byte now and then";
}
