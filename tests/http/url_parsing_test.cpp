#include "http/url_parsing.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string show(const Brelt::CharString& text) {
    return text.holder() == nullptr ? "null" : text.cstr();
}

TEST(UrlParsing, Table) {
    const struct {
        const char* url;
        AddressingScheme defaultScheme;
        AddressingScheme result;
        const char* pieces;
    } cases[] = {
        {"http://server/path", SchemeHttp, SchemeHttp, "http server 80 /path"},
        {"https://server/path", SchemeHttp, SchemeHttps, "https server 443 /path"},
        {"hTTpS://Server:8443", SchemeHttp, SchemeHttps, "https Server 8443 null"},
        {"HTTP://server/", SchemeOther, SchemeHttp, "http server 80 /"},
        {"server:3128", SchemeHttp, SchemeHttp, "http server 3128 null"},
        {"server/a/b", SchemeHttps, SchemeHttps, "https server 443 /a/b"},
        {"server", SchemeOther, SchemeOther, "null server -1 null"},
        {"", SchemeHttp, SchemeHttp, "http null 80 null"},
        {"", SchemeOther, SchemeOther, "null null -1 null"},
        {"", static_cast<AddressingScheme>(7), static_cast<AddressingScheme>(7),
         "null null -1 null"},
        {"https://", SchemeHttp, SchemeHttps, "https null 443 null"},
        {"http:///path", SchemeHttp, SchemeHttp, "http null 80 /path"},
        {"http://:81/path", SchemeHttp, SchemeHttp, "http null 81 /path"},
        {"http://user@[::1]:81/p?q=a://b#f", SchemeHttp, SchemeHttp,
         "http user@[::1] 81 /p?q=a://b#f"},
        {"http://server:65536/", SchemeHttp, SchemeHttp, "http server:65536 80 /"},
        {"://server/x", SchemeHttp, SchemeOther, "null server -1 /x"},
        {"://server:8/x", SchemeHttp, SchemeOther, "null server 8 /x"},
        {"FTP://server/x", SchemeHttp, SchemeOther, "ftp server -1 /x"},
        {" http://server", SchemeHttp, SchemeOther, " http server -1 null"},
        {"server/x?y=http://z/w", SchemeHttp, SchemeOther, "server/x?y=http z -1 /w"},
    };
    for (const auto& c : cases) {
        Brelt::CharString scheme("stale");
        Brelt::CharString host("stale");
        Brelt::CharString path("stale");
        std::int32_t port = -7;
        EXPECT_EQ(parseUrl(c.url, scheme, host, port, path, c.defaultScheme), c.result) << c.url;
        EXPECT_EQ(show(scheme) + " " + show(host) + " " + std::to_string(port) + " " + show(path),
                  c.pieces)
            << c.url;
    }
}

}  // namespace
