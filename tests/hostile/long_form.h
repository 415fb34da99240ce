#pragma once

// Some tests have a short form for each day, and a long one that leaves nothing out.

#include <cstdlib>
#include <string_view>

namespace TestSupport {

/// True where KIV_LONG_TESTS is 1 in the environment.
inline bool isLongForm() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no test changes this variable.
    const char* value = std::getenv("KIV_LONG_TESTS");
    return value != nullptr && std::string_view(value) == "1";
}

template <class Value>
Value longOrShort(Value longForm, Value shortForm) {
    return isLongForm() ? longForm : shortForm;
}

}  // namespace TestSupport
