// Texts cut at bytes: no piece holds one, and what was cut is there again when the pieces are put
// together.

#include "foundation/splitting.h"

#include <algorithm>

#include "fuzzing.h"

using Brelt::CharString;
using Fuzzing::require;

namespace {

std::string joined(const Brelt::Table<CharString>& pieces, char delimiter) {
    std::string text;
    for (std::int32_t i = 0; i < pieces.count; ++i) {
        text += i == 0 ? "" : std::string(1, delimiter);
        text += pieces.data[i].cstr();
    }
    return text;
}

/// A row of texts, each with its NUL, and an empty one at the end.
void splitRow(std::string text, std::int32_t flags) {
    std::replace(text.begin(), text.end(), ';', '\0');
    const std::string row = text + '\0';
    Brelt::Table<CharString> pieces;
    const std::int32_t count = Brelt::splitByChar(row.c_str(), '\0', pieces, flags);
    require(count == pieces.count);
    require(count == 0 || pieces.data[0] == text.c_str());
}

void splitByByte(const std::string& text, char delimiter, std::int32_t flags) {
    if (delimiter == '\0' || text.empty()) {
        splitRow(text, flags);
        return;
    }
    Brelt::Table<CharString> pieces;
    const std::int32_t count = Brelt::splitByChar(text.c_str(), delimiter, pieces, flags);
    require(count == pieces.count);
    for (std::int32_t i = 0; i < count; ++i) {
        const std::string piece = pieces.data[i].cstr();
        require(piece.find(delimiter) == std::string::npos);
        require((flags & Brelt::SplitKeepEmpty) != 0 || !piece.empty());
    }
    if ((flags & Brelt::SplitKeepEmpty) != 0) {
        require(joined(pieces, delimiter) == text);
    }
}

void splitIntoPairs(const std::string& text, const std::string& delimiters, char separator) {
    Brelt::Table<Brelt::KeyValuePair> pairs;
    Brelt::splitKeyValuePairs(text.c_str(), pairs, delimiters.c_str(), separator, 0);
    for (std::int32_t i = 0; i < pairs.count; ++i) {
        const std::string key = pairs.data[i].key.cstr();
        require(separator == '\0' || key.find(separator) == std::string::npos);
        require(key.find_first_of(delimiters) == std::string::npos);
    }
}

void splitOnce(const std::string& text, const std::string& delimiters) {
    Brelt::DelimiterSet set;
    for (const char c : delimiters) {
        set.add(c);
    }
    const Brelt::KeyValuePair pair = Brelt::splitAtFirstOf(text.c_str(), set);
    const std::size_t at = text.find_first_of(delimiters);
    require(text.substr(0, at) == pair.key.cstr());
    require(at == std::string::npos ? pair.value.ptr() == nullptr
                                    : text.substr(at + 1) == pair.value.cstr());
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzzing::Input input(data, size);
    const std::int32_t flags = input.byte() & 7;
    const auto delimiter = static_cast<char>(input.byte());
    const std::string delimiters = input.text();
    const std::string text = input.text();
    splitByByte(text, delimiter, flags);
    splitIntoPairs(text, delimiters, delimiter);
    splitOnce(text, delimiters);
    Brelt::Table<std::int32_t> positions;
    Brelt::findDelimiters(text.c_str(), delimiters.c_str(), positions);
    for (std::int32_t i = 0; i < positions.count; ++i) {
        require(i == 0 || positions.data[i - 1] < positions.data[i]);
    }
    return 0;
}
