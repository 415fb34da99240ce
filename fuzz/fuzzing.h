#pragma once

// What the fuzz targets share: each takes bytes through `LLVMFuzzerTestOneInput` and holds what
// comes out of them to a rule.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace Fuzzing {

/// Ends the process where a rule is broken, so that the fuzzer keeps the input.
inline void require(bool rule) {
    if (!rule) {
        std::abort();
    }
}

/// Takes an input apart, front to back; what is asked for beyond its end is 0 or empty.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size)
        : rest_(reinterpret_cast<const char*>(data), size) {}

    std::uint8_t byte() {
        const std::uint8_t value = rest_.empty() ? 0 : static_cast<std::uint8_t>(rest_.front());
        rest_.remove_prefix(rest_.empty() ? 0 : 1);
        return value;
    }

    /// Up to the next NUL, which is taken too.
    std::string text() {
        const std::string_view piece = rest_.substr(0, rest_.find('\0'));
        rest_.remove_prefix(std::min(rest_.size(), piece.size() + 1));
        return std::string(piece);
    }

    std::string bytes(std::size_t count) {
        const std::string_view piece = rest_.substr(0, count);
        rest_.remove_prefix(piece.size());
        return std::string(piece);
    }

    bool isEmpty() const { return rest_.empty(); }
    std::string_view rest() const { return rest_; }

private:
    std::string_view rest_;
};

}  // namespace Fuzzing

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
