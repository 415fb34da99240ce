// Texts between file names, JSON and a terminal. See text.h.

#include "text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace KivHost {

namespace {

/// What the first byte of a sequence says: its length, and the smallest code point that needs it.
struct Lead {
    std::size_t length;
    std::uint32_t bits;
    std::uint32_t smallest;
};

Lead readLead(unsigned char byte) {
    if (byte < 0x80) {
        return {1, byte, 0};
    }
    if (byte < 0xC0) {
        return {0, 0, 0};
    }
    if (byte < 0xE0) {
        return {2, byte & 0x1FU, 0x80};
    }
    if (byte < 0xF0) {
        return {3, byte & 0x0FU, 0x800};
    }
    return byte < 0xF8 ? Lead{4, byte & 0x07U, 0x10000} : Lead{0, 0, 0};
}

bool isControl(std::string_view sequence) {
    const auto first = static_cast<unsigned char>(sequence[0]);
    if (sequence.size() == 1) {
        return first < 0x20 || first == 0x7F;
    }
    // U+0080 to U+009F, which some terminals obey.
    return first == 0xC2 && static_cast<unsigned char>(sequence[1]) < 0xA0;
}

void appendEscaped(std::string& result, std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        result += "\\x";
        result += digits[value >> 4U];
        result += digits[value & 15U];
    }
}

}  // namespace

std::size_t utf8SequenceLength(std::string_view text) {
    if (text.empty()) {
        return 0;
    }
    const Lead lead = readLead(static_cast<unsigned char>(text[0]));
    if (lead.length == 0 || lead.length > text.size()) {
        return 0;
    }
    std::uint32_t codePoint = lead.bits;
    for (const char byte : text.substr(1, lead.length - 1)) {
        const auto value = static_cast<unsigned char>(byte);
        if ((value & 0xC0U) != 0x80U) {
            return 0;
        }
        codePoint = (codePoint << 6U) | (value & 0x3FU);
    }
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    const bool isSound = codePoint >= lead.smallest && codePoint <= 0x10FFFF && !isSurrogate;
    return isSound ? lead.length : 0;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = utf8SequenceLength(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = utf8SequenceLength(text);
        const std::string_view sequence = text.substr(0, length == 0 ? 1 : length);
        if (length == 0 || isControl(sequence)) {
            appendEscaped(result, sequence);
        } else {
            result += sequence;
        }
        text.remove_prefix(sequence.size());
    }
    return result;
}

std::string_view withoutLineEnd(std::string_view text) {
    return text.substr(0, text.find_last_not_of("\r\n ") + 1);
}

std::string withoutLastSlash(std::string text) {
    if (text.ends_with('/') && !text.ends_with("://")) {
        text.pop_back();
    }
    return text;
}

std::string withoutOuterSlashes(std::string text) {
    std::ranges::replace(text, '\\', '/');
    text.erase(0, std::min(text.find_first_not_of('/'), text.size()));
    text.erase(text.find_last_not_of('/') + 1);
    return text;
}

void printFailure(const char* program, const char* reason) noexcept {
    try {
        std::fprintf(stderr, "%s: %s\n", program, printable(reason).c_str());
    } catch (...) {
        std::fprintf(stderr, "%s: out of memory\n", program);
    }
}

std::string pathToText(const std::filesystem::path& path) {
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

std::filesystem::path textToPath(std::string_view text) {
    return {std::u8string(text.begin(), text.end())};
}

}  // namespace KivHost
