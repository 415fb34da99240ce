// The user's proxy settings where calls of the registry are counted, and fail.

#include <vector>

#include "foundation/win32/fault_injection.h"
#include "foundation/win32/registry_stand_in.h"
#include "system_proxy_fixture.h"

using namespace TestSupport;
using Brelt::FaultInjection;

TEST_F(SystemProxy, RegistryIsReadOnceAndItsErrorHandedOutOnce) {
    setText("ProxyServer", "p:1");
    reload();
    const FaultInjection counter({.calls = Brelt::regOpenKeyCall, .strikeAt = 1000});
    setText("ProxyServer", "q:2");
    SystemProxySettings second;
    EXPECT_FALSE(getSystemProxySettings(second, false));
    EXPECT_EQ(second.httpProxy.holder(), settings_.httpProxy.holder());
    EXPECT_EQ(counter.callCount(), 0);

    removeRegistryValue("ProxyEnable");
    EXPECT_EQ(getSystemProxySettings(settings_, true).codeAt(0), 2);
    EXPECT_EQ(held(), nothing);
    setNumber("ProxyEnable", 1);
    EXPECT_FALSE(getSystemProxySettings(settings_, false));
    EXPECT_EQ(held(), nothing);
    EXPECT_EQ(counter.callCount(), 1);
}

TEST_F(SystemProxy, EachFailedCallOfTheRegistryCostsItsOwnValueOnly) {
    setText("ProxyServer", "p:1;http=p;");
    setText("ProxyOverride", "a");
    std::vector<std::string> seen;
    for (bool hasStruck = true; hasStruck;) {
        const FaultInjection faults({.calls = Brelt::anyCall,
                                     .strikeAt = static_cast<std::int64_t>(seen.size() + 1),
                                     .code = 5});
        const Brelt::ErrorChain error = getSystemProxySettings(settings_, true);
        seen.push_back(std::to_string(error.codeAt(0)) + ": " + held());
        hasStruck = faults.hasStruck();
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"5: 0,,,|", "5: 0,,,|", "5: 0,,,|", "0: 1,,,|a|a",
                                              "0: 1,,,|a|a", "0: 1,http://p,,|", "0: 1,http://p,,|",
                                              "0: 1,http://p,,|a|a"}));
    EXPECT_EQ(Brelt::openStandInRegistryKeys(), 0);
}
