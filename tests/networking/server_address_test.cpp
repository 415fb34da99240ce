#include <gtest/gtest.h>

#include <string>

#include "networking/norvel_networking.h"

TEST(ParseServerWithPort, SplitsOnlyAPortAtTheEndAndOutsideBrackets) {
    constexpr int untouched = -7;
    const struct {
        std::string text;
        bool sound;
        const char* host;
        int port;
    } cases[] = {
        {"server", true, "server", untouched},
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
    for (const auto& test : cases) {
        // Nothing behind the end is read.
        const std::string longer = test.text + "9";
        Brelt::CharString host("before");
        int port = untouched;
        EXPECT_EQ(Norvel::Networking::parseServerWithPort(
                      longer.data(), longer.data() + test.text.size(), host, port),
                  test.sound)
            << test.text;
        EXPECT_STREQ(host.ptr(), test.host) << test.text;
        EXPECT_EQ(port, test.port) << test.text;
    }
}
