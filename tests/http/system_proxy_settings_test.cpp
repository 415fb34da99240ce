#include "http/system_proxy_settings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "foundation/text_tools.h"
#include "foundation/win32/fault_injection.h"
#include "foundation/win32/registry_stand_in.h"
#include "foundation/win32/win32.h"

using Brelt::FaultInjection;

namespace {

using Texts = std::vector<std::string>;

/// The values of the key, put into the stand-in.
class SystemProxy : public testing::Test {
protected:
    SystemProxy() {
        setNumber("ProxyEnable", 1);
        Brelt::removeStandInRegistryValue("ProxyServer");
        Brelt::removeStandInRegistryValue("ProxyOverride");
    }
    ~SystemProxy() override {
        EXPECT_EQ(Brelt::openStandInRegistryKeys(), 0);
        Brelt::resetStandInRegistry();
    }

    static void setNumber(const char* name, std::uint32_t number) {
        Brelt::setStandInRegistryValue(name, REG_DWORD, &number, sizeof(number));
    }

    static void setText(const char* name, const char* text, std::uint32_t type = REG_SZ) {
        Brelt::TextConverter converter(text);
        const Brelt::WideChar* wide = converter.getWide();
        Brelt::setStandInRegistryValue(
            name, type, wide, static_cast<std::uint32_t>(converter.wideSize) * sizeof(*wide));
    }

    /// The three addresses, with blanks between them.
    std::string addresses() const {
        return std::string(settings_.httpProxy.cstr()) + " " + settings_.httpsProxy.cstr() + " " +
               settings_.ftpProxy.cstr();
    }

    Texts bypassed() const {
        Texts entries;
        for (std::int32_t i = 0; i < settings_.bypassList.count; ++i) {
            entries.emplace_back(settings_.bypassList.data[i].cstr());
        }
        return entries;
    }

    bool isBlank() const {
        return settings_.enabled == 0 && addresses() == "  " && settings_.overrideText.isEmpty() &&
               bypassed().empty();
    }

    SystemProxySettings settings_;
};

TEST_F(SystemProxy, ServersHaveTwoForms) {
    const struct {
        const char* servers;
        const char* addresses;
    } cases[] = {
        {"p:1", "http://p:1 http://p:1 http://p:1"},
        {"http://p:1", "http://http://p:1 http://http://p:1 http://http://p:1"},
        {"http=p:1", "http://http=p:1 http://http=p:1 http://http=p:1"},
        {"http=p:1;", "http://p:1  "},
        {"p:1;", "  "},
        {"p:1;q:2", "  "},
        {"HTTP=a;Https=b;fTp=c", "http://a http://b http://c"},
        {"https=b;socks=s;;", " http://b "},
        {" http=a;ftp =b; https=c", "  "},
        {"http=a;http=b", "http://b  "},
        {"http=a;http=;http", "http://a  "},
        {"=a;http=b=c", "http://b=c  "},
        {"", "  "},
    };
    for (const auto& c : cases) {
        setText("ProxyServer", c.servers);
        EXPECT_FALSE(getSystemProxySettings(settings_, true));
        EXPECT_EQ(settings_.enabled, 1);
        EXPECT_EQ(addresses(), c.addresses) << c.servers;
    }
}

TEST_F(SystemProxy, OverrideIsCutIntoPatterns) {
    const struct {
        const char* text;
        Texts entries;
    } cases[] = {
        {"*.Example;10.*", {"*.Example", "10.*"}},
        {";a;; b;", {"a", " b"}},
        {"<local>", {"<local>"}},
        {";;", {}},
        {"", {}},
    };
    for (const auto& c : cases) {
        setText("ProxyOverride", c.text);
        EXPECT_FALSE(getSystemProxySettings(settings_, true));
        EXPECT_STREQ(settings_.overrideText.cstr(), c.text);
        EXPECT_EQ(bypassed(), c.entries) << c.text;
    }
}

TEST_F(SystemProxy, ValuesOfTypeTwoAreExpandedBeforeTheyAreCut) {
    setenv("KIV_TEST_SERVERS", "http=a;ftp=b", 1);
    setText("ProxyServer", "%KIV_TEST_SERVERS%", REG_EXPAND_SZ);
    EXPECT_FALSE(getSystemProxySettings(settings_, true));
    EXPECT_EQ(addresses(), "http://a  http://b");
    unsetenv("KIV_TEST_SERVERS");
}

TEST_F(SystemProxy, ValuesThatAreNoTextLeaveTheRestStanding) {
    setNumber("ProxyServer", 5);
    setText("ProxyOverride", "a");
    EXPECT_FALSE(getSystemProxySettings(settings_, true));
    EXPECT_EQ(settings_.enabled, 1);
    EXPECT_EQ(addresses(), "  ");
    EXPECT_EQ(bypassed(), Texts{"a"});
}

TEST_F(SystemProxy, SwitchedOffReadsNothingFurther) {
    setText("ProxyServer", "p:1");
    setText("ProxyOverride", "a");
    EXPECT_FALSE(getSystemProxySettings(settings_, true));
    EXPECT_FALSE(isBlank());
    setNumber("ProxyEnable", 0);
    EXPECT_FALSE(getSystemProxySettings(settings_, true));
    EXPECT_TRUE(isBlank());
    setText("ProxyEnable", "1");
    EXPECT_FALSE(getSystemProxySettings(settings_, true));
    EXPECT_TRUE(isBlank());
}

TEST_F(SystemProxy, RegistryIsReadOnceAndItsErrorHandedOutOnce) {
    setText("ProxyServer", "p:1");
    EXPECT_FALSE(getSystemProxySettings(settings_, true));
    const FaultInjection counter({.calls = Brelt::regOpenKeyCall, .strikeAt = 1000});
    setText("ProxyServer", "q:2");
    SystemProxySettings second;
    EXPECT_FALSE(getSystemProxySettings(second, false));
    EXPECT_EQ(second.httpProxy.holder(), settings_.httpProxy.holder());
    EXPECT_EQ(counter.callCount(), 0);

    Brelt::removeStandInRegistryValue("ProxyEnable");
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
}

TEST_F(SystemProxy, ThreadsSeeWholeRecordsFromTheFirstUseOn) {
    setText("ProxyServer", "p:1");
    setText("ProxyOverride", "a;b");
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int round = 0; round < 50; ++round) {
                SystemProxySettings settings;
                EXPECT_FALSE(getSystemProxySettings(settings, round % 2 == 0));
                EXPECT_STREQ(settings.ftpProxy.cstr(), "http://p:1");
                EXPECT_EQ(settings.bypassList.count, 2);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
