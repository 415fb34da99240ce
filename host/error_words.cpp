// Turns the library's traces into words for a person. See error_words.h.

#include "error_words.h"

#include <charconv>
#include <optional>
#include <system_error>

#include "text.h"

namespace KivHost {

namespace {

struct Words {
    std::uint32_t number;
    std::string_view text;
};

constexpr Words transferTable[] = {
    {1, "the scheme isn't one that the library speaks"},
    {3, "the address isn't well formed"},
    {5, "the proxy's name could not be resolved"},
    {6, "the server's name could not be resolved"},
    {7, "could not connect"},
    {8, "the answer isn't sound HTTP"},
    {16, "the HTTP/2 connection broke"},
    {18, "the response ended too early"},
    {23, "the received bytes could not be taken in"},
    {27, "out of memory"},
    {28, "it took too long"},
    {35, "no TLS connection could be made"},
    {42, "stopped by this program"},
    {52, "the connection ended without an answer"},
    {55, "sending failed"},
    {56, "receiving failed"},
    {58, "the own certificate can't be used"},
    {59, "no common cipher for TLS"},
    {60, "the server's certificate isn't trusted"},
    {61, "the response has a coding that can't be read"},
    {77, "the file of trusted certificates can't be read"},
    {80, "the TLS connection could not be ended in order"},
    {91, "the server's certificate lacks a valid status"},
    {92, "the HTTP/2 stream broke"},
    {97, "the proxy refused the connection"},
};

constexpr Words certificateTable[] = {
    {2, "its issuer isn't known"},
    {7, "its signature is wrong"},
    {9, "it isn't valid yet"},
    {10, "it has expired"},
    {18, "it is signed by itself"},
    {19, "the chain ends in a certificate that isn't trusted"},
    {20, "its issuer isn't known"},
    {21, "its signature could not be checked"},
    {22, "the chain is too long"},
    {23, "it was revoked"},
    {24, "its issuer may not issue certificates"},
    {26, "it is meant for another purpose"},
    {27, "its issuer isn't trusted"},
    {62, "it is for another host name"},
    {64, "it is for another address"},
    {66, "its key is too weak"},
    {67, "its issuer's key is too weak"},
    {68, "its signature is of a kind too weak"},
};

constexpr Words statusTable[] = {
    {0, "no status came"},
    {204, "no content"},
    {206, "a part only"},
    {301, "moved; redirects aren't followed"},
    {302, "found elsewhere; redirects aren't followed"},
    {303, "see elsewhere; redirects aren't followed"},
    {304, "not modified, which wasn't asked"},
    {307, "moved; redirects aren't followed"},
    {308, "moved; redirects aren't followed"},
    {400, "the server doesn't understand the request"},
    {401, "the server wants a password"},
    {403, "forbidden"},
    {404, "not found"},
    {407, "the proxy wants a password"},
    {429, "too many requests"},
    {500, "the server failed"},
    {502, "the server behind got no sound answer"},
    {503, "the server isn't available now"},
    {504, "the server behind took too long"},
};

template <std::size_t N>
std::string_view find(const Words (&table)[N], std::uint32_t number) {
    for (const Words& words : table) {
        if (words.number == number) {
            return words.text;
        }
    }
    return {};
}

/// Flags above the result code of a transfer.
constexpr std::uint32_t underlyingIsProxyStatus = 0x2000;
constexpr std::uint32_t underlyingIsCertificateResult = 0x4000;

/// The number behind `label` in `text`.
std::optional<std::uint32_t> numberAfter(std::string_view text, std::string_view label,
                                         int base = 10) {
    const std::size_t at = text.find(label);
    if (at == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(at + label.size());
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc()) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(number);
}

std::string labelled(std::string_view label, std::uint32_t number, std::string_view words) {
    return "; " + std::string(label) + " " + std::to_string(number) +
           (words.empty() ? "" : ", " + std::string(words));
}

/// What the second number of a connection error tells; the flags say of whom.
std::string underlyingWords(std::uint32_t flags, std::uint32_t underlying) {
    if (underlying == 0) {
        return {};
    }
    if ((flags & underlyingIsCertificateResult) != 0) {
        return labelled("certificate check", underlying, certificateWords(underlying));
    }
    if ((flags & underlyingIsProxyStatus) != 0) {
        return labelled("the proxy's answer", underlying, statusWords(underlying));
    }
    const std::string words = std::system_category().message(static_cast<int>(underlying));
    return labelled("system error", underlying, words);
}

std::string connectionWords(std::string_view message) {
    const auto reason = numberAfter(message, "reason=");
    const auto flags = numberAfter(message, "extraF=", 16);
    const auto underlying = numberAfter(message, "underlying=");
    if (!reason || !flags || !underlying) {
        return std::string(message);
    }
    std::string_view words = transferWords(*reason);
    if (words.empty()) {
        words = "the transfer failed";
    }
    return "Connection error: " + std::string(words) + " (code " + std::to_string(*reason) +
           underlyingWords(*flags, *underlying) + ")";
}

std::string withStatusWords(std::string_view message) {
    const auto status = numberAfter(message, "(");
    const std::string_view words = status ? statusWords(*status) : std::string_view();
    return std::string(message) + (words.empty() ? "" : ": " + std::string(words));
}

}  // namespace

std::string_view transferWords(std::uint32_t reason) {
    return find(transferTable, reason);
}

std::string_view certificateWords(std::uint32_t result) {
    return find(certificateTable, result);
}

std::string_view statusWords(std::uint32_t status) {
    return find(statusTable, status);
}

std::string explainMessage(std::string_view message) {
    message = withoutLineEnd(message);
    if (message.starts_with("Connection error: ")) {
        return printable(connectionWords(message));
    }
    if (message.starts_with("Unexpected HTTP status (")) {
        return printable(withStatusWords(message));
    }
    return printable(message);
}

std::vector<std::string> explainTrace(const Brelt::ErrorChain& error) {
    std::vector<std::string> lines;
    for (const Brelt::ErrorNode* node = error.head(); node != nullptr; node = node->next) {
        std::string line = explainMessage(node->message);
        if (line.empty()) {
            line = "code " + std::to_string(node->code);
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace KivHost
