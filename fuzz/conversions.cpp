// The two conversions: any bytes come back as they were, nothing is written beyond the room, and
// any units can be read.

#include <cstring>
#include <memory>
#include <vector>

#include "foundation/text_tools.h"
#include "fuzzing.h"

using Brelt::WideChar;
using Fuzzing::require;

namespace {

/// The one text that doesn't come back: two surrogates of three bytes each that make a pair.
bool hasSplitPair(const std::string& text) {
    for (std::size_t i = 0; i + 5 < text.size(); ++i) {
        const auto at = [&](std::size_t k) { return static_cast<unsigned char>(text[i + k]); };
        if (at(0) == 0xED && at(1) >= 0xA0 && at(3) == 0xED && at(4) >= 0xB0) {
            return true;
        }
    }
    return false;
}

void convertAndBack(const std::string& text) {
    const std::int32_t units = Brelt::utf8ToWide(text.c_str(), nullptr, 0);
    std::vector<WideChar> wide(static_cast<std::size_t>(units) + 1);
    require(Brelt::utf8ToWide(text.c_str(), wide.data(), units + 1) == units);
    const std::int32_t bytes = Brelt::wideToUtf8(wide.data(), nullptr, 0);
    std::vector<char> narrow(static_cast<std::size_t>(bytes) + 1);
    require(Brelt::wideToUtf8(wide.data(), narrow.data(), bytes + 1) == bytes);
    require(hasSplitPair(text) || text == narrow.data());
}

/// On the heap, so that the sanitizer sees a unit too many.
void convertInto(const std::string& text, std::int32_t room) {
    const auto wide = std::make_unique<WideChar[]>(static_cast<std::size_t>(room));
    require(Brelt::utf8ToWide(text.c_str(), wide.get(), room) <= room);
}

void convertUnits(const std::string& bytes, std::int32_t room) {
    std::vector<WideChar> wide(bytes.size() / 2 + 1);
    std::memcpy(wide.data(), bytes.data(), bytes.size() / 2 * 2);
    const auto narrow = std::make_unique<char[]>(static_cast<std::size_t>(room));
    require(Brelt::wideToUtf8(wide.data(), narrow.get(), room) <= room);
    require(Brelt::wideToUtf8(wide.data(), nullptr, 0) >= 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzzing::Input input(data, size);
    const std::int32_t room = input.byte();
    const std::string bytes(input.rest());
    const std::string text = input.text();
    convertAndBack(text);
    convertInto(text, room);
    convertUnits(bytes, room);
    return 0;
}
