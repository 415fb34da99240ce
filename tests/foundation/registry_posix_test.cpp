// The registry of the stand-in: its values from the environment, and calls that fail.

#include <gtest/gtest.h>

#include <deque>
#include <string>

#include "foundation/registry_values.h"
#include "foundation/splitting.h"
#include "foundation/win32/fault_injection.h"
#include "foundation/win32/registry_stand_in.h"
#include "foundation/win32/win32.h"
#include "support/environment_value.h"

using Brelt::FaultInjection;

namespace {

constexpr const char* variables[] = {"http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY",
                                     "ftp_proxy",  "FTP_PROXY",  "all_proxy",   "ALL_PROXY",
                                     "no_proxy",   "NO_PROXY"};

/// Starts with no proxy variable set, and puts back what was there.
class StandInRegistry : public TestSupport::RegistryValues {
protected:
    StandInRegistry() {
        for (const char* const name : variables) {
            before_.emplace_back(name, std::nullopt);
        }
    }

    /// The value as a text where only these variables are set, such as "all_proxy=a|no_proxy=b".
    std::string valueUnder(const std::string& environment, const char* name) {
        for (const char* const variable : variables) {
            TestSupport::setEnvironment(variable, std::nullopt);
        }
        Brelt::Table<Brelt::KeyValuePair> pairs;
        Brelt::splitKeyValuePairs(environment.c_str(), pairs, "|", '=', 0);
        for (std::int32_t i = 0; i < pairs.count; ++i) {
            TestSupport::setEnvironment(pairs.data[i].key.cstr(), pairs.data[i].value.cstr());
        }
        return Brelt::readRegistryValue(key, name, value).codeAt(0) == 2 ? "missing" : text();
    }

private:
    std::deque<TestSupport::EnvironmentValue> before_;
};

TEST_F(StandInRegistry, ProxyServerTakesTheListForm) {
    for (const char* const row :
         {" -> missing", "http_proxy=http://p:8080/ -> http=p:8080;",
          "http_proxy=HTTP://p:8080|ftp_proxy=q -> http=p:8080;ftp=q",
          "https_proxy=a|HTTPS_PROXY=b -> https=a;", "https_proxy=|HTTPS_PROXY=b// -> https=b/;",
          "HTTP_PROXY=evil -> missing", "all_proxy=p -> http=p;https=p;ftp=p",
          "ALL_PROXY=p|https_proxy=q -> http=p;https=q;ftp=p",
          "http_proxy=socks5://p:1080 -> http=socks5://p:1080;", "no_proxy=x -> missing"}) {
        const auto [environment, expected] = TestSupport::bothSides(row);
        EXPECT_EQ(valueUnder(environment, "ProxyServer"), expected) << row;
    }
}

TEST_F(StandInRegistry, ProxyEnableSaysWhetherAnyVariableIsSet) {
    for (const std::string name : variables) {
        EXPECT_EQ(valueUnder(name + "=x", "PROXYENABLE"), "<1>");
        EXPECT_EQ(value.type, REG_DWORD);
        EXPECT_EQ(value.number, name == "HTTP_PROXY" ? 0U : 1U) << name;
        EXPECT_EQ(valueUnder(name + "=", "ProxyEnable"), "<1>");
        EXPECT_EQ(value.number, 0U) << name;
    }
}

TEST_F(StandInRegistry, NoProxyTurnsIntoPatterns) {
    for (const char* const row :
         {"example.com -> example.com;*.example.com", ".example.com -> example.com;*.example.com",
          "* -> *", " a.b ,\tc.d  -> a.b;*.a.b;c.d;*.c.d", "*.a.b,x -> *.a.b;x;*.x",
          "host:8080,10.0.0.0/8,::1 -> host:8080;10.0.0.0/8;::1", ",, ,., -> missing"}) {
        const auto [noProxy, patterns] = TestSupport::bothSides(row);
        EXPECT_EQ(valueUnder("no_proxy=" + noProxy, "ProxyOverride"), patterns) << row;
    }
}

TEST_F(StandInRegistry, ExpansionReplacesReferencesToVariablesThatAreSet) {
    const TestSupport::EnvironmentValue set("KIV_A", "value");
    const TestSupport::EnvironmentValue empty("KIV_EMPTY", "");
    for (const char* const row :
         {" -> ", "plain -> plain", "%KIV_A% -> value", "<%KIV_A%%KIV_A%> -> <valuevalue>",
          "%KIV_EMPTY%x -> x", "%KIV_NONE% -> %KIV_NONE%", "50%KIV_A% -> 50value",
          "%no%KIV_A% -> %novalue", "100% -> 100%", "%% -> %%"}) {
        const auto [source, expanded] = TestSupport::bothSides(row);
        const std::u16string wide(source.begin(), source.end());
        EXPECT_EQ(stored(REG_EXPAND_SZ, wide.data(), 2 * wide.size()), expanded);
    }
    const FaultInjection faults({.calls = Brelt::expandEnvironmentStringsCall});
    EXPECT_EQ(text(), "<3>");
}

TEST_F(StandInRegistry, AFailedReadKeepsTheFormerValue) {
    ASSERT_EQ(stored(REG_SZ, u"former", 12), "former");
    TestSupport::setRegistryValue("v", REG_BINARY, "12345", 5);
    for (const std::int64_t call : {1, 2}) {
        const FaultInjection faults(
            {.calls = Brelt::regQueryValueCall, .strikeAt = call, .code = 5});
        EXPECT_EQ(read(), "[Brelt::readRegistryValue] 5: Error in registry value " +
                              std::string(call == 1 ? "query" : "read") +
                              " of v ((5) Access is denied.\r\n)");
        EXPECT_EQ(value.type, REG_SZ);
        EXPECT_EQ(value.size, 12U);
    }
}

TEST_F(StandInRegistry, OpeningAgainClosesTheFormerHandleOnce) {
    EXPECT_EQ(Brelt::openStandInRegistryKeys(), 1);
    EXPECT_EQ(openSettings(Brelt::RegistryReadAccess), "No error");
    EXPECT_EQ(Brelt::openStandInRegistryKeys(), 1);
    // A key may be its own base; here there is nothing below it, so it ends closed.
    EXPECT_EQ(key.open(key, "below", Brelt::RegistryReadAccess).codeAt(0), 2);
    EXPECT_EQ(Brelt::openStandInRegistryKeys(), 0);
    EXPECT_EQ(openSettings(0), "No error");
    EXPECT_EQ(Brelt::openStandInRegistryKeys(), 0);
}

}  // namespace
