#pragma once

// A host that listens to nothing and only keeps in mind whether it was told of a failure.

#include <cstdarg>
#include <cstdint>

#include "foundation/string_builder.h"
#include "interface/message_sink.h"

namespace Fuzzing {

class SilentSink final : public MessageSink {
public:
    bool toldFailure = false;

    void setProgressRange(std::int32_t) override {}
    void setProgress(std::int32_t) override {}
    void setProgressText(const char*) override {}
    std::int32_t getAbortCode() override { return 0; }
    void progressBegin() override {}
    void progressEnd() override {}
    void logInfo(const char*, ...) override {}
    /// Formats as a host would, so that the sanitizers see the arguments.
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
    void logDebug(const char*, ...) override {}
};

}  // namespace Fuzzing
