// Where trusted certificates come from on POSIX; Windows has a store of its own for them.

#include <gtest/gtest.h>

#include "networking/network_layer.h"
#include "support/environment_value.h"

using namespace TestSupport;

TEST(NetworkingContext, FailedStartTellsWhyAndIsNotCounted) {
    const struct {
        const char* variable;
        const char* value;
        const char* text;
    } cases[] = {
        {"SSL_CERT_FILE", "/nowhere/ca.pem",
         "SSL_CERT_FILE names \"/nowhere/ca.pem\", which can't be read"},
        {"SSL_CERT_FILE", "/", "SSL_CERT_FILE names \"/\", which can't be read"},
        {"SSL_CERT_DIR", "/nowhere:/nor/here",
         "SSL_CERT_DIR names \"/nowhere:/nor/here\", which can't be read"},
        {"SSL_CERT_DIR", "/nowhere:/", nullptr},
        {"SSL_CERT_DIR", "", nullptr},
    };
    for (const auto& test : cases) {
        const EnvironmentValue value(test.variable, test.value);
        const Start start;
        EXPECT_STREQ(start.text.ptr(), test.text);
        EXPECT_EQ(start.worked, test.text == nullptr);
        EXPECT_EQ(start.isCounted(), start.worked);
        EXPECT_EQ(isStarted(), start.worked);
    }
}
