#include "interface/downloader_impl.h"
#include "support/recording_sink.h"
#include "system_proxy_fixture.h"

using namespace TestSupport;

namespace {

class ProxySelection : public SystemProxy {
protected:
    /// "host:port", or ":port" for a direct connection, and behind it the lines that were told.
    std::string choose(const char* server) {
        sink_.clear();
        Brelt::CharString host("stale");
        std::int32_t port = -7;
        downloader_.getHttpProxyForAddr(server, host, port);
        std::string text = std::string(host.cstr()) + ":" + std::to_string(port);
        for (const std::string& line : sink_.lines()) {
            text += "\n" + line;
        }
        return text;
    }

    RecordingSink sink_;
    DownloaderParams params_;
    DownloaderImpl downloader_{&sink_, &params_};
};

std::string given(const std::string& address) {
    return "\nlogDebug HTTP proxy address: \"" + address + "\"";
}

std::string named(const std::string& address) {
    return "\nlogDebug Using system proxy settings.\nlogDebug System HTTP proxy address: \"" +
           address + "\"";
}

std::string warning(const std::string& text) {
    return "\nreportWarning DownloaderImpl::getHttpProxyForAddr -1 " + text +
           ". Using direct connection.";
}

const std::string disabled = ":80\nlogDebug HTTP proxy disabled. Using direct connection.";
const std::string bypassed =
    ":80\nlogDebug Using system proxy settings."
    "\nlogDebug HTTP bypassed, using direct connection.";

}  // namespace

TEST_F(ProxySelection, GivenAddressIsTakenOrRefusedWithAWarning) {
    const struct {
        std::int32_t mode;
        const char* address;
        std::string told;
    } cases[] = {
        {2, "proxy.example", "proxy.example:80" + given("proxy.example")},
        {2, "HTTP://Proxy:3128", "Proxy:3128" + given("HTTP://Proxy:3128")},
        {2, ":3", ":80" + given(":3")},
        {2, "http://p/",
         ":80" + given("http://p/") + warning("Ivalid http proxy address \"http://p/\"")},
        {2, "https://p:9",
         ":80" + given("https://p:9") +
             warning("Unkown addressing scheme of the http proxy address \"https://p:9\"")},
        {2, "", disabled},
        {3, "proxy:3128", disabled},
    };
    for (const auto& test : cases) {
        params_.proxyMode = test.mode;
        params_.proxyAddress = test.address;
        EXPECT_EQ(choose("server"), test.told);
    }
}

TEST_F(ProxySelection, SystemsHttpEntryIsTakenUnlessTheHostIsExceptedOrThereIsDoubt) {
    const char* const both = "http=h:1;https=s:2";
    const char* const intern = "*.intern;10.?.0.1";
    const struct {
        std::uint32_t enable;
        const char* servers;
        const char* exceptions;
        const char* server;
        std::string told;
    } cases[] = {
        {1, both, intern, "server.example", "h:1" + named("http://h:1")},
        {1, both, intern, "intern", "h:1" + named("http://h:1")},
        {1, both, intern, "A.B.INTERN", bypassed},
        {1, both, intern, "10.7.0.1", bypassed},
        {1, "https=s:2;", "*", "", bypassed},
        {1, "https=s:2;", "", "server", ":80" + named("")},
        {1, "socks5://s:1", "", "server",
         ":80" + named("http://socks5://s:1") +
             warning("Ivalid http proxy address \"http://socks5://s:1\"")},
        {0, "h:1", "*", "server", ":80\nlogDebug Using system proxy settings."},
    };
    for (const auto& test : cases) {
        setNumber("ProxyEnable", test.enable);
        setText("ProxyServer", test.servers);
        setText("ProxyOverride", test.exceptions);
        reload();
        for (const std::int32_t mode : {0, 1, 4, -1}) {
            params_.proxyMode = mode;
            EXPECT_EQ(choose(test.server), test.told);
        }
    }
}
