#include "networking/server_address.h"

#include <gtest/gtest.h>

#include <cstring>

#include "networking/norvel_networking.h"

namespace {

struct SplitCase {
    const char* text;
    bool sound;
    const char* host;
    int port;
};

constexpr int untouched = -7;

}  // namespace

TEST(ParseServerWithPort, SplitsOnlyAPortAtTheEndAndOutsideBrackets) {
    constexpr SplitCase cases[] = {
        {"server.example", true, "server.example", untouched},
        {"server.example:8080", true, "server.example", 8080},
        {"server:65535", true, "server", 65535},
        {"server:00080", true, "server", 80},
        {"server:0", true, "server", 0},
        {":80", true, nullptr, 80},
        {"[::1]:80", true, "[::1]", 80},
        {"[::1]", true, "[::1]", untouched},
        {"me:secret@server:81", true, "me:secret@server", 81},
        {"me:80@server", true, "me:80@server", untouched},
        {"me:[x@[::1]:80", true, "me:[x@[::1]", 80},
        // What no port follows stays whole.
        {"server:", false, "server:", untouched},
        {"server:65536", false, "server:65536", untouched},
        {"server:000080", false, "server:000080", untouched},
        {"server:-1", false, "server:-1", untouched},
        {"server:80x", false, "server:80x", untouched},
        {"[::1]:", false, "[::1]:", untouched},
        {":", false, ":", untouched},
        {"[::1", true, "[::1", untouched},
    };
    for (const SplitCase& test : cases) {
        Brelt::CharString host("before");
        int port = untouched;
        EXPECT_EQ(Norvel::Networking::parseServerWithPort(
                      test.text, test.text + std::strlen(test.text), host, port),
                  test.sound)
            << test.text;
        EXPECT_STREQ(host.ptr(), test.host) << test.text;
        EXPECT_EQ(port, test.port) << test.text;
    }
}

TEST(ParseServerWithPort, ReadsNothingBehindTheEnd) {
    const char* text = "server:8080/path";
    Brelt::CharString host;
    int port = untouched;
    EXPECT_TRUE(Norvel::Networking::parseServerWithPort(text, text + 9, host, port));
    EXPECT_STREQ(host.ptr(), "server");
    EXPECT_EQ(port, 80);
}

TEST(ReadServerAddress, CutsAndDecodesUserInformation) {
    Norvel::Networking::ServerAddress address;
    EXPECT_EQ(readServerAddress("a%3Ab@c:d%40%zz:e@[::1]", 81, address), "");
    EXPECT_EQ(address.user, "a:b@c");
    EXPECT_EQ(address.password, "d@%zz:e");
    EXPECT_TRUE(address.hasCredentials);
    EXPECT_EQ(address.origin("http", 80), "http://[::1]:81");
    EXPECT_EQ(readServerAddress("plain", 443, address), "");
    EXPECT_FALSE(address.hasCredentials);
    EXPECT_EQ(address.origin("https", 443), "https://plain");
}
