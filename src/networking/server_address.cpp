// Cutting of host texts: with a port for the caller, with user information for a pool.

#include "networking/server_address.h"

#include <curl/curl.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>

#include "networking/norvel_networking.h"

namespace Norvel::Networking {

namespace {

constexpr std::int32_t highestPort = 65'535;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The number of 1 to 5 digits, or -1 for any other text and for a number no port can have.
std::int32_t portNumber(std::string_view digits) {
    if (digits.empty() || digits.size() > 5 ||
        !std::all_of(digits.begin(), digits.end(), isDigit)) {
        return -1;
    }
    std::int32_t number = 0;
    for (const char digit : digits) {
        number = number * 10 + (digit - '0');
    }
    return number <= highestPort ? number : -1;
}

/// Where the last ":" stands, if that is outside brackets and behind user information; else npos.
std::size_t portColon(std::string_view text) {
    const std::size_t colon = text.rfind(':');
    const std::string_view before = text.substr(0, colon);
    const std::size_t opened = before.rfind('[');
    const bool inBrackets =
        opened != std::string_view::npos && before.find(']', opened) == std::string_view::npos;
    const bool inUser =
        colon != std::string_view::npos && text.find('@', colon) != std::string_view::npos;
    return inBrackets || inUser ? std::string_view::npos : colon;
}

Brelt::CharString toCharString(std::string_view text) {
    return {text.data(), static_cast<std::int32_t>(text.size())};
}

int hexValue(char c) {
    if (isDigit(c)) {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string percentDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool coded = text[i] == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 &&
                           hexValue(text[i + 2]) >= 0;
        decoded +=
            coded ? static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2])) : text[i];
        i += coded ? 2 : 0;
    }
    return decoded;
}

/// False for what can't be told to libcurl, whose texts end at a NUL.
bool readCredentials(std::string_view text, ServerAddress& address) {
    const std::size_t colon = text.find(':');
    address.hasCredentials = true;
    address.user = percentDecoded(text.substr(0, colon));
    if (colon != std::string_view::npos) {
        address.password = percentDecoded(text.substr(colon + 1));
    }
    return address.user.find('\0') == std::string::npos &&
           address.password.find('\0') == std::string::npos;
}

/// Whether a byte in the host would be taken for another part of a URL.
bool breaksHost(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte <= 0x20 || byte == 0x7F || std::string_view("/?#\\@").find(c) != std::string::npos;
}

struct UrlCleanup {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using Url = std::unique_ptr<CURLU, UrlCleanup>;

/// Lets libcurl judge the host, and turns a name beyond ASCII into its ASCII form where libcurl
/// can: it has to stand in the request line for a proxy.
bool acceptHost(std::string& host) {
    const Url url(curl_url());
    const std::string text = "http://" + host + "/";
    if (url == nullptr || curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK) {
        return false;
    }
#if LIBCURL_VERSION_NUM >= 0x075800
    const bool ascii =
        std::all_of(host.begin(), host.end(), [](char c) { return (c & 0x80) == 0; });
    char* converted = nullptr;
    if (!ascii) {
        if (curl_url_get(url.get(), CURLUPART_HOST, &converted, CURLU_PUNYCODE) != CURLUE_OK) {
            return false;
        }
        const std::unique_ptr<char, void (*)(void*)> owned(converted, curl_free);
        host = converted;
    }
#endif
    return true;
}

}  // namespace

bool parseServerWithPort(const char* begin, const char* end, Brelt::CharString& host, int& port) {
    const std::string_view text(begin, static_cast<std::size_t>(end - begin));
    const std::size_t colon = portColon(text);
    if (colon == std::string_view::npos) {
        host = toCharString(text);
        return true;
    }
    const std::int32_t number = portNumber(text.substr(colon + 1));
    if (number < 0) {
        host = toCharString(text);
        return false;
    }
    host = toCharString(text.substr(0, colon));
    port = number;
    return true;
}

std::string ServerAddress::origin(const char* scheme, std::int32_t schemePort) const {
    std::string text = std::string(scheme) + "://" + host;
    return port == schemePort ? text : text + ":" + std::to_string(port);
}

std::string readServerAddress(const char* host, std::int32_t port, ServerAddress& address) {
    const std::string_view text(host);
    const std::size_t at = text.rfind('@');
    address = {};
    address.host = at == std::string_view::npos ? text : text.substr(at + 1);
    address.port = port;
    if (at != std::string_view::npos && !readCredentials(text.substr(0, at), address)) {
        return "user information with a NUL in it";
    }
    if (address.host.empty()) {
        return "no host name";
    }
    if (port < 1 || port > highestPort) {
        return "port " + std::to_string(port) + " is out of range";
    }
    if (portColon(address.host) != std::string_view::npos ||
        std::any_of(address.host.begin(), address.host.end(), breaksHost) ||
        !acceptHost(address.host)) {
        return "\"" + address.host + "\" isn't a host name";
    }
    return {};
}

}  // namespace Norvel::Networking
