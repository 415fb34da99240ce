// The start and stop of the network layer, and what https pools make of it.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "networking/environment_value.h"
#include "networking/fetcher.h"
#include "networking/norvel_networking.h"
#include "support/scripted_server.h"
#include "support/server_scripts.h"

using Norvel::Networking::getNorvelNetworkingContext;
using Norvel::Networking::NetworkingContextInitializerRAII;
using TestSupport::EnvironmentValue;
using TestSupport::Fetcher;

namespace {

constexpr std::uint32_t counted = 0x2;

struct Start : NetworkingContextInitializerRAII {
    Start() : NetworkingContextInitializerRAII{0, 0x10000, nullptr} {
        worked = initializeDefault("$$temp", text);
    }
    Start(const Start&) = delete;
    Start& operator=(const Start&) = delete;
    ~Start() { stop(); }

    void stop() {
        flags |= 0x10000;
        deinitialize((flags & counted) != 0);
    }

    bool worked;
    Brelt::CharString text;
};

bool isStarted() {
    return getNorvelNetworkingContext()->clientSsl != nullptr;
}

}  // namespace

TEST(NetworkingContext, IsThereFromTheFirstStartToTheLastStop) {
    EXPECT_FALSE(isStarted());
    Start first;
    EXPECT_TRUE(first.worked);
    EXPECT_NE(first.flags & counted, 0U);
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

TEST(NetworkingContext, FailedStartTellsWhyAndIsNotCounted) {
    struct Case {
        const char* variable;
        const char* value;
        const char* text;
    };
    for (const Case& test :
         std::vector<Case>{{"SSL_CERT_FILE", "/nowhere/ca.pem",
                            "SSL_CERT_FILE names \"/nowhere/ca.pem\", which can't be read"},
                           {"SSL_CERT_FILE", "/", "SSL_CERT_FILE names \"/\", which can't be read"},
                           {"SSL_CERT_DIR", "/nowhere:/nor/here",
                            "SSL_CERT_DIR names \"/nowhere:/nor/here\", which can't be read"}}) {
        const EnvironmentValue value(test.variable, test.value);
        const Start start;
        EXPECT_FALSE(start.worked);
        EXPECT_STREQ(start.text.cstr(), test.text);
        EXPECT_EQ(start.flags & counted, 0U);
        EXPECT_FALSE(isStarted());
    }
    const EnvironmentValue oneOfTwo("SSL_CERT_DIR", "/nowhere:/");
    EXPECT_TRUE(Start().worked);
    const EnvironmentValue none("SSL_CERT_DIR", "");
    EXPECT_TRUE(Start().worked);
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
