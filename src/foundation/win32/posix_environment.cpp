// The environment as the registry's stand-in shows it: a Linux user's proxy variables as the values
// that Windows keeps, and references to variables in texts.

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "foundation/win32/posix_support.h"

namespace Support = Brelt::PosixSupport;
using Support::RegistryBytes;

namespace {

/// The value of a variable, or null; good until the environment changes.
const char* environmentValue(const char* name) {
    // A host that changes its environment while others read it has that race with all libraries.
    return std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
}

/// Lower case first. `upper` is null where the name in capitals isn't to be trusted.
std::string variable(const char* lower, const char* upper) {
    for (const char* const name : {lower, upper}) {
        const char* const value = name == nullptr ? nullptr : environmentValue(name);
        if (value != nullptr && *value != '\0') {
            return value;
        }
    }
    return {};
}

// A server that runs programs for its requests puts a request's "Proxy" header into HTTP_PROXY.
std::string httpProxy() {
    return variable("http_proxy", nullptr);
}
std::string httpsProxy() {
    return variable("https_proxy", "HTTPS_PROXY");
}
std::string ftpProxy() {
    return variable("ftp_proxy", "FTP_PROXY");
}
std::string allProxy() {
    return variable("all_proxy", "ALL_PROXY");
}
std::string noProxy() {
    return variable("no_proxy", "NO_PROXY");
}

bool beginsWithHttp(std::string_view text) {
    constexpr std::string_view scheme = "http://";
    return text.size() >= scheme.size() &&
           std::equal(scheme.begin(), scheme.end(), text.begin(), [](char wanted, char given) {
               return wanted == (given >= 'A' && given <= 'Z' ? given - 'A' + 'a' : given);
           });
}

std::string addressOf(std::string_view proxy) {
    if (beginsWithHttp(proxy)) {
        proxy.remove_prefix(std::string_view("http://").size());
    }
    if (proxy.ends_with('/')) {
        proxy.remove_suffix(1);
    }
    return std::string(proxy);
}

/// `text` with one more piece, ";" between the pieces.
void addPiece(std::string& text, const std::string& piece) {
    text += text.empty() ? piece : ";" + piece;
}

std::string proxyServer() {
    struct Row {
        const char* protocol;
        std::string proxy;
    };
    const std::string fallback = allProxy();
    std::string list;
    for (const Row& row :
         {Row{"http", httpProxy()}, {"https", httpsProxy()}, {"ftp", ftpProxy()}}) {
        const std::string& proxy = row.proxy.empty() ? fallback : row.proxy;
        if (!proxy.empty()) {
            addPiece(list, std::string(row.protocol) + "=" + addressOf(proxy));
        }
    }
    // Without a ";" the whole text would be read as one address for all protocols.
    const bool isAlone = !list.empty() && list.find(';') == std::string::npos;
    return isAlone ? list + ";" : list;
}

/// A domain covers itself and what lies below it; all else stays as it is.
std::string patternsOf(std::string_view entry) {
    if (entry.find_first_of("*:/") != std::string_view::npos) {
        return std::string(entry);
    }
    if (entry.starts_with('.')) {
        entry.remove_prefix(1);
    }
    const std::string domain(entry);
    return domain.empty() ? domain : domain + ";*." + domain;
}

std::string proxyOverride() {
    constexpr std::string_view separators = ", \t";
    const std::string text = noProxy();
    std::string list;
    for (std::size_t start = text.find_first_not_of(separators); start != std::string::npos;) {
        const std::size_t end = std::min(text.find_first_of(separators, start), text.size());
        const std::string patterns = patternsOf(std::string_view(text).substr(start, end - start));
        if (!patterns.empty()) {
            addPiece(list, patterns);
        }
        start = text.find_first_not_of(separators, end);
    }
    return list;
}

DWORD proxyEnable() {
    const bool isSet = !httpProxy().empty() || !httpsProxy().empty() || !ftpProxy().empty() ||
                       !allProxy().empty() || !noProxy().empty();
    return isSet ? 1 : 0;
}

std::optional<RegistryBytes> textValue(const std::string& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    const std::u16string wide = Support::widened(text);
    const auto* const first = reinterpret_cast<const BYTE*>(wide.c_str());
    return RegistryBytes{REG_SZ, {first, first + (wide.size() + 1) * sizeof(WCHAR)}};
}

RegistryBytes numberValue(DWORD number) {
    const auto* const first = reinterpret_cast<const BYTE*>(&number);
    return RegistryBytes{REG_DWORD, {first, first + sizeof(number)}};
}

/// A reference to a variable that isn't set stays as it is.
std::u16string expanded(const std::u16string& source) {
    std::u16string result;
    std::size_t position = 0;
    for (std::size_t start = source.find(u'%'); start != std::u16string::npos;) {
        const std::size_t end = source.find(u'%', start + 1);
        if (end == std::u16string::npos) {
            break;
        }
        const std::string name =
            Support::narrowed(source.substr(start + 1, end - start - 1).c_str());
        const char* const value = environmentValue(name.c_str());
        result.append(source, position, (value == nullptr ? end : start) - position);
        result.append(value == nullptr ? std::u16string() : Support::widened(value));
        position = value == nullptr ? end : end + 1;
        start = source.find(u'%', position);
    }
    return result.append(source, position, std::u16string::npos);
}

}  // namespace

namespace Brelt::PosixSupport {

std::optional<RegistryBytes> valueFromEnvironment(const std::string& name) {
    if (name == "proxyenable") {
        return numberValue(proxyEnable());
    }
    if (name == "proxyserver") {
        return textValue(proxyServer());
    }
    return name == "proxyoverride" ? textValue(proxyOverride()) : std::nullopt;
}

}  // namespace Brelt::PosixSupport

DWORD ExpandEnvironmentStringsW(LPCWSTR source, LPWSTR destination, DWORD size) {
    if (Support::isStruck(Brelt::expandEnvironmentStringsCall)) {
        return 0;
    }
    const std::u16string text = expanded(source);
    const std::size_t needed = text.size() + 1;
    if (destination != nullptr && size >= needed) {
        std::copy_n(text.c_str(), needed, destination);
    }
    return static_cast<DWORD>(needed);
}
