// The user's proxy settings in all their forms, on any system.

#include "system_proxy_fixture.h"

#include <thread>

#include "support/environment_value.h"

using TestSupport::SystemProxy;
using TestSupport::Texts;

namespace {

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
    const TestSupport::EnvironmentValue servers("KIV_TEST_SERVERS", "http=a;ftp=b");
    setText("ProxyServer", "%KIV_TEST_SERVERS%", TestSupport::expandedType);
    EXPECT_FALSE(getSystemProxySettings(settings_, true));
    EXPECT_EQ(addresses(), "http://a  http://b");
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
