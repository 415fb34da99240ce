// A pattern against a text, under any flags: the same as the recursive form says.

#include "foundation/wildcard.h"

#include <algorithm>

#include "foundation/wildcard_oracle.h"
#include "fuzzing.h"

using Fuzzing::require;

namespace {

/// The recursive form takes a power of the text's length for each star.
bool isSoonJudged(const std::string& pattern, const std::string& text) {
    return std::count(pattern.begin(), pattern.end(), '*') <= 4 && text.size() <= 40;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzzing::Input input(data, size);
    const std::int32_t flags = input.byte() & 63;
    const std::string pattern = input.text();
    const std::string text = input.text();
    const std::int32_t result = Brelt::wildcardMatchFlags(pattern.c_str(), text.c_str(), flags);
    require(result == 0 || result == 1);
    if (isSoonJudged(pattern, text)) {
        require(result == Brelt::WildcardOracle(text.c_str(), flags).match(pattern.c_str()));
    }
    return 0;
}
