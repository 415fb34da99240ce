#pragma once

// A host that keeps in mind whether it was told of a failure, and formats what it is told, so that
// the sanitizers see the arguments.

#include <cstdarg>
#include <cstdint>

#include "foundation/string_builder.h"
#include "support/silent_sink.h"

namespace Fuzzing {

class SilentSink final : public TestSupport::SilentSink {
public:
    void reportWarning(const char*, std::int32_t, const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        char text[512];
        Brelt::formatBounded(text, sizeof(text), format, arguments);
        va_end(arguments);
    }
    void reportError(const Brelt::ErrorChain& error) override {
        toldFailure = static_cast<bool>(error);
        static_cast<void>(error.toCharString());
    }
    void logError(const char* format, ...) override {
        std::va_list arguments;
        va_start(arguments, format);
        char text[512];
        Brelt::formatBounded(text, sizeof(text), format, arguments);
        va_end(arguments);
        toldFailure = true;
    }
};

}  // namespace Fuzzing
