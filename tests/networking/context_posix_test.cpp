// Where trusted certificates come from on POSIX; Windows has a store of its own for them.

#include <gtest/gtest.h>

#include <vector>

#include "networking/network_layer.h"
#include "support/environment_value.h"

using TestSupport::EnvironmentValue;
using TestSupport::isStarted;
using TestSupport::Start;

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
        EXPECT_EQ(start.flags & TestSupport::counted, 0U);
        EXPECT_FALSE(isStarted());
    }
    const EnvironmentValue oneOfTwo("SSL_CERT_DIR", "/nowhere:/");
    EXPECT_TRUE(Start().worked);
    const EnvironmentValue none("SSL_CERT_DIR", "");
    EXPECT_TRUE(Start().worked);
}
