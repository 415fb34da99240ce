// The start and stop of the network layer, and what https pools make of it.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "networking/fetcher.h"
#include "networking/network_layer.h"
#include "networking/norvel_networking.h"
#include "support/scripted_server.h"
#include "support/server_scripts.h"

using Norvel::Networking::getNorvelNetworkingContext;
using TestSupport::Fetcher;
using TestSupport::isStarted;
using TestSupport::Start;

TEST(NetworkingContext, IsThereFromTheFirstStartToTheLastStop) {
    EXPECT_FALSE(isStarted());
    Start first;
    EXPECT_TRUE(first.worked);
    EXPECT_NE(first.flags & TestSupport::counted, 0U);
    EXPECT_TRUE(isStarted());
    {
        const Start second;
        EXPECT_TRUE(second.worked);
    }
    EXPECT_TRUE(isStarted());
    first.stop();
    EXPECT_FALSE(isStarted());
    first.stop();
    first.deinitialize(true);
    EXPECT_FALSE(isStarted());
    const Start again;
    EXPECT_TRUE(isStarted()) << "stops too many have left no debt";
}

TEST(NetworkingContext, HttpsNeedsTheStartedLayerAndHttpDoesNot) {
    TestSupport::ScriptedServer server;
    server.on("/file", TestSupport::ok("plain"));
    Fetcher plain;
    plain.useServer(server.port());
    EXPECT_EQ(plain.fetch("/file").body, "plain");
    const auto setUpTls = [](const Norvel::Networking::ClientSSLConfiguration* configuration) {
        Fetcher fetcher(1);
        const bool accepted = fetcher.pool.setSSLContext(fetcher.error, configuration);
        EXPECT_NE(accepted, static_cast<bool>(fetcher.error.chain));
        return accepted;
    };
    EXPECT_FALSE(setUpTls(getNorvelNetworkingContext()->clientSsl));
    const Norvel::Networking::ClientSSLConfiguration* kept = nullptr;
    {
        const Start start;
        kept = getNorvelNetworkingContext()->clientSsl;
        EXPECT_TRUE(setUpTls(kept));
    }
    EXPECT_FALSE(setUpTls(kept)) << "what was kept from a layer that has stopped";
    EXPECT_EQ(plain.fetch("/file").body, "plain");
}

TEST(NetworkingContext, StartsAndStopsOfManyThreadsAddUp) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    std::atomic<int> failures{0};
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
