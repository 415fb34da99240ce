// The stand-in registry: its one key, values from the environment and from tests, expansion.

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <optional>
#include <vector>

#include "foundation/win32/registry_stand_in.h"
#include "posix_test_support.h"

using TestSupport::wide;

namespace {

constexpr const char* variables[] = {"http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY",
                                     "ftp_proxy",  "FTP_PROXY",  "all_proxy",   "ALL_PROXY",
                                     "no_proxy",   "NO_PROXY"};
constexpr const char16_t* settingsKey =
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Internet Settings";
constexpr const char* missing = "(missing)";

using Environment = std::map<std::string, std::string>;

/// Starts with no proxy variable set, and puts back what was there.
class StandInRegistry : public testing::Test {
protected:
    StandInRegistry() {
        for (const char* const name : variables) {
            const char* const value = std::getenv(name);
            before_[name] = value == nullptr ? std::nullopt : std::optional<std::string>(value);
        }
        setEnvironment({});
        EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, settingsKey, 0, KEY_READ, &key), 0);
    }
    ~StandInRegistry() override {
        EXPECT_EQ(RegCloseKey(key), 0);
        Brelt::resetStandInRegistry();
        for (const auto& [name, value] : before_) {
            value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
        }
    }

    static void setEnvironment(const Environment& environment) {
        for (const char* const name : variables) {
            unsetenv(name);
        }
        for (const auto& [name, value] : environment) {
            setenv(name.c_str(), value.c_str(), 1);
        }
    }

    std::string textValue(const char16_t* name) const {
        DWORD size = 0;
        DWORD type = 0;
        if (RegQueryValueExW(key, name, nullptr, &type, nullptr, &size) != 0) {
            return missing;
        }
        EXPECT_EQ(type, REG_SZ);
        std::u16string text(size / sizeof(char16_t), u'?');
        EXPECT_EQ(RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<LPBYTE>(text.data()),
                                   &size),
                  0);
        EXPECT_EQ(text.back(), u'\0');
        return Brelt::PosixSupport::narrowed(text.c_str());
    }

    DWORD numberValue(const char16_t* name) const {
        DWORD number = 77;
        DWORD size = sizeof(number);
        DWORD type = 0;
        EXPECT_EQ(
            RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<LPBYTE>(&number), &size),
            0);
        EXPECT_EQ(type, REG_DWORD);
        return number;
    }

    HKEY key = nullptr;

private:
    std::map<std::string, std::optional<std::string>> before_;
};

TEST_F(StandInRegistry, ProxyServerTakesTheListForm) {
    struct Row {
        Environment environment;
        const char* value;
    };
    for (const Row& row : {
             Row{{}, missing},
             Row{{{"http_proxy", "http://p:8080/"}}, "http=p:8080;"},
             Row{{{"http_proxy", "HTTP://p:8080"}, {"ftp_proxy", "q"}}, "http=p:8080;ftp=q"},
             Row{{{"https_proxy", "a"}, {"HTTPS_PROXY", "b"}}, "https=a;"},
             Row{{{"https_proxy", ""}, {"HTTPS_PROXY", "b//"}}, "https=b/;"},
             Row{{{"HTTP_PROXY", "evil"}}, missing},
             Row{{{"all_proxy", "p"}}, "http=p;https=p;ftp=p"},
             Row{{{"ALL_PROXY", "p"}, {"https_proxy", "q"}}, "http=p;https=q;ftp=p"},
             Row{{{"http_proxy", "socks5://p:1080"}}, "http=socks5://p:1080;"},
             Row{{{"no_proxy", "x"}}, missing},
         }) {
        setEnvironment(row.environment);
        EXPECT_EQ(textValue(u"ProxyServer"), row.value);
    }
}

TEST_F(StandInRegistry, ProxyEnableSaysWhetherAnyVariableIsSet) {
    EXPECT_EQ(numberValue(u"ProxyEnable"), 0U);
    for (const char* const name : variables) {
        setEnvironment({{name, "x"}});
        EXPECT_EQ(numberValue(u"PROXYENABLE"), std::string(name) == "HTTP_PROXY" ? 0U : 1U) << name;
        setEnvironment({{name, ""}});
        EXPECT_EQ(numberValue(u"ProxyEnable"), 0U) << name;
    }
}

TEST_F(StandInRegistry, NoProxyTurnsIntoPatterns) {
    struct Row {
        const char* noProxy;
        const char* value;
    };
    for (const Row& row : {
             Row{"example.com", "example.com;*.example.com"},
             Row{".example.com", "example.com;*.example.com"},
             Row{"*", "*"},
             Row{" a.b ,\tc.d ", "a.b;*.a.b;c.d;*.c.d"},
             Row{"*.a.b,x", "*.a.b;x;*.x"},
             Row{"host:8080,10.0.0.0/8,::1", "host:8080;10.0.0.0/8;::1"},
             Row{",, ,.,", missing},
         }) {
        setEnvironment({{"no_proxy", row.noProxy}});
        EXPECT_EQ(textValue(u"ProxyOverride"), row.value) << row.noProxy;
    }
}

TEST_F(StandInRegistry, ValuesOfATestStandBeforeTheEnvironment) {
    setEnvironment({{"http_proxy", "p"}});
    Brelt::setStandInRegistryValue("proxyserver", REG_SZ, u"own", 8);
    Brelt::removeStandInRegistryValue("ProxyEnable");
    EXPECT_EQ(textValue(u"ProxyServer"), "own");
    EXPECT_EQ(textValue(u"ProxyEnable"), missing);
    Brelt::resetStandInRegistry();
    EXPECT_EQ(textValue(u"ProxyServer"), "http=p;");
    EXPECT_EQ(numberValue(u"ProxyEnable"), 1U);
}

TEST_F(StandInRegistry, ValueThatDoesntFitIsNotDelivered) {
    Brelt::setStandInRegistryValue("v", REG_BINARY, "12345", 5);
    BYTE buffer[5] = {};
    DWORD size = 4;
    EXPECT_EQ(RegQueryValueExW(key, u"v", nullptr, nullptr, buffer, &size),
              static_cast<LSTATUS>(ERROR_MORE_DATA));
    EXPECT_EQ(size, 5U);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(RegQueryValueExW(key, u"v", nullptr, nullptr, buffer, &size), 0);
    EXPECT_EQ(buffer[4], '5');
}

TEST_F(StandInRegistry, HoldsTheOneKeyAndCountsItsHandles) {
    HKEY other = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"SOFTWARE\\Other", 0, KEY_READ, &other), 2);
    EXPECT_EQ(RegOpenKeyExW(nullptr, settingsKey, 0, KEY_READ, &other), 6);
    EXPECT_EQ(RegOpenKeyExW(key, settingsKey, 0, KEY_READ, &other), 2);
    EXPECT_EQ(other, nullptr);
    const std::int32_t open = Brelt::openStandInRegistryKeys();
    EXPECT_EQ(open, 1);
    const auto* const inCapitals =
        u"SOFTWARE\\MICROSOFT\\WINDOWS\\CURRENTVERSION\\INTERNET SETTINGS";
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, inCapitals, 0, KEY_WRITE, &other), 0);
    EXPECT_EQ(Brelt::openStandInRegistryKeys(), open + 1);
    EXPECT_EQ(RegCloseKey(other), 0);
    EXPECT_EQ(Brelt::openStandInRegistryKeys(), open);
    EXPECT_EQ(RegCloseKey(HKEY_CURRENT_USER), 0);
    EXPECT_EQ(RegCloseKey(nullptr), 6);
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExW(nullptr, u"ProxyEnable", nullptr, nullptr, nullptr, &size), 6);
}

TEST(StandInExpansion, ReplacesReferencesToVariablesThatAreSet) {
    setenv("KIV_TEST_A", "value", 1);
    setenv("KIV_TEST_EMPTY", "", 1);
    struct Row {
        const char* source;
        const char* expanded;
    };
    for (const Row& row : {
             Row{"", ""},
             Row{"plain", "plain"},
             Row{"%KIV_TEST_A%", "value"},
             Row{"<%KIV_TEST_A%%KIV_TEST_A%>", "<valuevalue>"},
             Row{"%KIV_TEST_EMPTY%x", "x"},
             Row{"%KIV_TEST_NONE%", "%KIV_TEST_NONE%"},
             Row{"50%KIV_TEST_A%", "50value"},
             Row{"%no%KIV_TEST_A%", "%novalue"},
             Row{"100%", "100%"},
             Row{"%%", "%%"},
         }) {
        const std::u16string source = wide(row.source);
        const DWORD needed = ExpandEnvironmentStringsW(source.c_str(), nullptr, 0);
        ASSERT_EQ(needed, std::string(row.expanded).size() + 1) << row.source;
        std::vector<WCHAR> text(needed, u'?');
        EXPECT_EQ(ExpandEnvironmentStringsW(source.c_str(), text.data(), needed), needed);
        EXPECT_EQ(Brelt::PosixSupport::narrowed(text.data()), row.expanded);
    }
    unsetenv("KIV_TEST_A");
    unsetenv("KIV_TEST_EMPTY");
}

}  // namespace
