#pragma once

// A host that listens to nothing, allocates nothing, and only keeps in mind whether it was told of
// a failure.

#include <cstdint>

#include "interface/message_sink.h"

namespace TestSupport {

class SilentSink : public MessageSink {
public:
    bool toldFailure = false;

    void setProgressRange(std::int32_t) override {}
    void setProgress(std::int32_t) override {}
    void setProgressText(const char*) override {}
    std::int32_t getAbortCode() override { return 0; }
    void progressBegin() override {}
    void progressEnd() override {}
    void logInfo(const char*, ...) override {}
    void reportWarning(const char*, std::int32_t, const char*, ...) override {}
    void reportError(const Brelt::ErrorChain&) override { toldFailure = true; }
    void logError(const char*, ...) override { toldFailure = true; }
    void logDebug(const char*, ...) override {}
};

}  // namespace TestSupport
