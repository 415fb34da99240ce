// The user's proxy settings in all their forms, on any system.

#include <thread>
#include <vector>

#include "support/environment_value.h"
#include "system_proxy_fixture.h"

using namespace TestSupport;

TEST_F(SystemProxy, ServersHaveTwoFormsAndTheOverrideIsCutIntoPatterns) {
    const struct {
        const char* servers;
        const char* exceptions;
        const char* held;
    } cases[] = {
        {"p:1", "", "1,http://p:1,http://p:1,http://p:1|"},
        {"http=p:1", "", "1,http://http=p:1,http://http=p:1,http://http=p:1|"},
        {"http=p:1;", "", "1,http://p:1,,|"},
        {"p:1;", "", "1,,,|"},
        {"p:1;q:2", "", "1,,,|"},
        {"HTTP=a;Https=b;fTp=c", "", "1,http://a,http://b,http://c|"},
        {"https=b;socks=s;;", "", "1,,http://b,|"},
        {" http=a;ftp =b; https=c", "", "1,,,|"},
        {"http=a;http=b", "", "1,http://b,,|"},
        {"http=a;http=;http", "", "1,http://a,,|"},
        {"=a;http=b=c", "", "1,http://b=c,,|"},
        {"", "*.Example;10.*", "1,,,|*.Example;10.*|*.Example|10.*"},
        {"", ";a;; b;", "1,,,|;a;; b;|a| b"},
        {"", "<local>", "1,,,|<local>|<local>"},
        {"", ";;", "1,,,|;;"},
    };
    for (const auto& test : cases) {
        setText("ProxyServer", test.servers);
        setText("ProxyOverride", test.exceptions);
        EXPECT_EQ(reload(), test.held);
    }
}

TEST_F(SystemProxy, ValuesAreExpandedAndThoseThatAreNoTextLeaveTheRestStanding) {
    const EnvironmentValue servers("KIV_TEST_SERVERS", "http=a;ftp=b");
    setText("ProxyServer", "%KIV_TEST_SERVERS%", expandedType);
    setText("ProxyOverride", "a");
    EXPECT_EQ(reload(), "1,http://a,,http://b|a|a");
    setNumber("ProxyServer", 5);
    EXPECT_EQ(reload(), "1,,,|a|a");
    setText("ProxyServer", "p:1;http=q");
    removeRegistryValue("ProxyOverride");
    EXPECT_EQ(reload(), "1,http://q,,|");
}

TEST_F(SystemProxy, SwitchedOffReadsNothingFurther) {
    setText("ProxyServer", "http=p;");
    setText("ProxyOverride", "a");
    EXPECT_EQ(reload(), "1,http://p,,|a|a");
    setNumber("ProxyEnable", 0);
    EXPECT_EQ(reload(), nothing);
    setText("ProxyEnable", "1");
    EXPECT_EQ(reload(), nothing);
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
