// The user's proxy settings where calls of the registry are counted, and fail.

#include "foundation/win32/fault_injection.h"
#include "foundation/win32/registry_stand_in.h"
#include "system_proxy_fixture.h"

using Brelt::FaultInjection;
using TestSupport::SystemProxy;
using TestSupport::Texts;

namespace {

TEST_F(SystemProxy, RegistryIsReadOnceAndItsErrorHandedOutOnce) {
    setText("ProxyServer", "p:1");
    EXPECT_FALSE(getSystemProxySettings(settings_, true));
    const FaultInjection counter({.calls = Brelt::regOpenKeyCall, .strikeAt = 1000});
    setText("ProxyServer", "q:2");
    SystemProxySettings second;
    EXPECT_FALSE(getSystemProxySettings(second, false));
    EXPECT_EQ(second.httpProxy.holder(), settings_.httpProxy.holder());
    EXPECT_EQ(counter.callCount(), 0);

    TestSupport::removeRegistryValue("ProxyEnable");
    EXPECT_EQ(getSystemProxySettings(settings_, true).codeAt(0), 2);
    EXPECT_TRUE(isBlank());
    setNumber("ProxyEnable", 1);
    EXPECT_FALSE(getSystemProxySettings(settings_, false));
    EXPECT_TRUE(isBlank());
    EXPECT_EQ(counter.callCount(), 1);
}

TEST_F(SystemProxy, EachFailedCallOfTheRegistryCostsItsOwnValueOnly) {
    setText("ProxyServer", "p:1;http=p;");
    setText("ProxyOverride", "a");
    Texts seen;
    for (std::int64_t call = 1;; ++call) {
        const FaultInjection faults({.calls = Brelt::anyCall, .strikeAt = call, .code = 5});
        const Brelt::ErrorChain error = getSystemProxySettings(settings_, true);
        EXPECT_EQ(error.codeAt(0), error ? 5 : 0);
        EXPECT_EQ(static_cast<bool>(error), isBlank());
        if (!faults.hasStruck()) {
            break;
        }
        seen.push_back(error ? "error" : addresses() + settings_.overrideText.cstr());
    }
    EXPECT_EQ(seen, (Texts{"error", "error", "error", "  a", "  a", "http://p  ", "http://p  "}));
    EXPECT_EQ(addresses() + settings_.overrideText.cstr(), "http://p  a");
    EXPECT_EQ(Brelt::openStandInRegistryKeys(), 0);
}

}  // namespace
