#include <gtest/gtest.h>

#include <string>

#include "foundation/text_tools.h"
#include "http/system_proxy_settings.h"
#include "interface/downloader_impl.h"
#include "support/recording_sink.h"
#include "support/registry_values.h"

using namespace TestSupport;

namespace {

constexpr std::uint32_t textType = 1;
constexpr std::uint32_t numberType = 4;

void setText(const char* name, const std::string& text) {
    Brelt::TextConverter converter(text.c_str());
    const auto* wide = converter.getWide();
    setRegistryValue(
        name, textType, wide,
        static_cast<std::uint32_t>(converter.wideSize * static_cast<int>(sizeof(*wide))));
}

struct SelectionCase {
    std::int32_t mode;
    const char* address;
    const char* host;
    std::int32_t port;
    Lines told;
};

class ProxySelection : public testing::Test {
protected:
    ProxySelection() : downloader_(&sink_, &params_) {}
    ~ProxySelection() override { resetRegistry(); }

    /// What the user's system says from now on.
    static void useSystem(std::uint32_t enable, const std::string& server,
                          const std::string& exceptions) {
        setRegistryValue("ProxyEnable", numberType, &enable, sizeof(enable));
        setText("ProxyServer", server);
        setText("ProxyOverride", exceptions);
        SystemProxySettings settings;
        EXPECT_FALSE(getSystemProxySettings(settings, true));
    }

    /// "host:port", or ":port" for a direct connection.
    std::string choose(const char* server) {
        sink_.clear();
        Brelt::CharString host("stale");
        std::int32_t port = -7;
        downloader_.getHttpProxyForAddr(server, host, port);
        return std::string(host.cstr()) + ":" + std::to_string(port);
    }

    RecordingSink sink_;
    DownloaderParams params_;
    DownloaderImpl downloader_;
};

std::string warning(const std::string& text) {
    return "reportWarning DownloaderImpl::getHttpProxyForAddr -1 " + text +
           ". Using direct connection.";
}

TEST_F(ProxySelection, GivenAddressIsTakenOrRefusedWithAWarning) {
    const std::string disabled = "logDebug HTTP proxy disabled. Using direct connection.";
    const auto given = [](const std::string& address) {
        return "logDebug HTTP proxy address: \"" + address + "\"";
    };
    const SelectionCase cases[] = {
        {2, "proxy.example", "proxy.example", 80, {given("proxy.example")}},
        {2, "proxy:3128", "proxy", 3128, {given("proxy:3128")}},
        {2, "HTTP://Proxy:3128", "Proxy", 3128, {given("HTTP://Proxy:3128")}},
        {2, ":3", "", 80, {given(":3")}},
        {2,
         "http://p/",
         "",
         80,
         {given("http://p/"), warning("Ivalid http proxy address \"http://p/\"")}},
        {2,
         "https://p:9",
         "",
         80,
         {given("https://p:9"),
          warning("Unkown addressing scheme of the http proxy address \"https://p:9\"")}},
        {2, "", "", 80, {disabled}},
        {3, "proxy:3128", "", 80, {disabled}},
    };
    for (const SelectionCase& example : cases) {
        params_.proxyMode = example.mode;
        params_.proxyAddress = example.address;
        EXPECT_EQ(choose("server"), std::string(example.host) + ":" + std::to_string(example.port))
            << example.address;
        EXPECT_EQ(sink_.lines(), example.told) << example.address;
    }
}

TEST_F(ProxySelection, SystemModeTakesTheHttpEntryUnlessTheHostIsExcepted) {
    const Lines used = {"logDebug Using system proxy settings.",
                        "logDebug System HTTP proxy address: \"http://h:1\""};
    const Lines bypassed = {used[0], "logDebug HTTP bypassed, using direct connection."};
    useSystem(1, "http=h:1;https=s:2", "*.intern;10.?.0.1");
    for (const std::int32_t mode : {0, 1, 4, -1}) {
        params_.proxyMode = mode;
        EXPECT_EQ(choose("server.example"), "h:1");
        EXPECT_EQ(sink_.lines(), used);
    }
    EXPECT_EQ(choose("intern"), "h:1");
    EXPECT_EQ(choose("A.B.INTERN"), ":80");
    EXPECT_EQ(sink_.lines(), bypassed);
    EXPECT_EQ(choose("10.7.0.1"), ":80");
    useSystem(1, "https=s:2;", "*");
    EXPECT_EQ(choose(""), ":80");
    EXPECT_EQ(sink_.lines(), bypassed);
}

TEST_F(ProxySelection, DoubtAboutTheSystemEndsInADirectConnection) {
    params_.proxyMode = ProxyModeSystem;
    useSystem(0, "h:1", "*");
    EXPECT_EQ(choose("server"), ":80");
    EXPECT_EQ(sink_.lines(), Lines{"logDebug Using system proxy settings."});
    useSystem(1, "https=s:2;", "");
    EXPECT_EQ(choose("server"), ":80");
    EXPECT_EQ(sink_.lines().back(), "logDebug System HTTP proxy address: \"\"");
    useSystem(1, "socks5://s:1", "");
    EXPECT_EQ(choose("server"), ":80");
    EXPECT_EQ(sink_.lines().back(), warning("Ivalid http proxy address \"http://socks5://s:1\""));
    removeRegistryValue("ProxyEnable");
    SystemProxySettings settings;
    EXPECT_TRUE(getSystemProxySettings(settings, true));
    EXPECT_EQ(choose("server"), ":80");
    EXPECT_EQ(sink_.lines(), Lines{"logDebug Using system proxy settings."});
}

}  // namespace
