// The start and stop of the network layer, and what https pools make of it.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "networking/fetcher.h"
#include "networking/network_layer.h"

using namespace TestSupport;
using Norvel::Networking::getNorvelNetworkingContext;

TEST(NetworkingContext, IsThereFromTheFirstStartToTheLastStop) {
    EXPECT_FALSE(isStarted());
    Start first;
    EXPECT_TRUE(first.worked);
    EXPECT_TRUE(first.isCounted());
    EXPECT_TRUE(isStarted());
    EXPECT_TRUE(Start().worked);
    EXPECT_TRUE(isStarted());
    first.stop();
    EXPECT_FALSE(isStarted());
    first.stop();
    first.deinitialize(true);
    EXPECT_FALSE(isStarted());
    const Start again;
    EXPECT_TRUE(isStarted()) << "stops too many have left no debt";
}

TEST(NetworkingContext, HttpsNeedsTheStartedLayer) {
    const auto setUpTls = [](const Norvel::Networking::ClientSSLConfiguration* configuration) {
        Fetcher fetcher(1);
        const bool accepted = fetcher.pool.setSSLContext(fetcher.error, configuration);
        EXPECT_NE(accepted, static_cast<bool>(fetcher.error.chain));
        return accepted;
    };
    EXPECT_FALSE(setUpTls(getNorvelNetworkingContext()->clientSsl));
    Start start;
    const auto* const kept = getNorvelNetworkingContext()->clientSsl;
    EXPECT_TRUE(setUpTls(kept));
    start.stop();
    EXPECT_FALSE(setUpTls(kept)) << "what was kept from a layer that has stopped";
}

TEST(NetworkingContext, StartsAndStopsOfManyThreadsAddUp) {
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&failures] {
            for (int round = 0; round < 200; ++round) {
                const Start start;
                failures += start.worked && isStarted() ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    EXPECT_FALSE(isStarted());
}
