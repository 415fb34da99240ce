#pragma once

// What a run of the library looks like to a person: lines, warnings, the trace of a failure, and on
// a terminal one line of progress. For kivsync.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "interface/message_sink.h"

namespace KivHost {

enum class Verbosity { Quiet, Normal, Verbose };

/// Prints lines to standard output; warnings, failures and progress to standard error.
///
/// One lock guards all of it, since progress comes on several threads. A stage that the library
/// leaves open ends with the next failure, or with `finish`.
class ConsoleSink final : public MessageSink {
public:
    /// With `onTerminal`, progress is a line that is drawn over and over, and the lines for each
    /// file show only when verbose; without it, progress is a line for each tenth.
    ConsoleSink(Verbosity verbosity, bool onTerminal, std::int32_t columns);

    void setProgressRange(std::int32_t upper) override;
    void setProgress(std::int32_t value) override;
    void setProgressText(const char* text) override;
    std::int32_t getAbortCode() override;
    void progressBegin() override;
    void progressEnd() override;
    void logInfo(const char* format, ...) override;
    void reportWarning(const char* function, std::int32_t code, const char* format, ...) override;
    void reportError(const Brelt::ErrorChain& error) override;
    void logError(const char* format, ...) override;
    void logDebug(const char* format, ...) override;

    /// Ends what is still open on the terminal; the last call on a sink.
    void finish();

    /// A line of the program's own on standard output, unless quiet.
    void say(std::string_view line);

    /// A line of the program's own on standard error.
    void complain(std::string_view line);

    /// Files that the library has begun to fetch.
    std::int32_t filesFetched() const { return filesFetched_; }

private:
    void explain(const std::vector<std::string>& lines);

    // All of these are called with the lock held.
    void printLine(std::FILE* stream, std::string_view line);
    void eraseProgress();
    void drawProgress();
    void drawProgressInTime();
    void announceTenth();
    void closeStage();

    const Verbosity verbosity_;
    const bool drawsProgress_;
    const std::int32_t columns_;

    std::mutex mutex_;
    bool stageOpen_ = false;
    bool progressShown_ = false;
    std::int32_t permille_ = 0;
    std::int32_t tenths_ = 0;
    std::string stageText_;
    std::chrono::steady_clock::time_point lastDrawn_;

    std::atomic<bool> stopAnnounced_{false};
    std::atomic<std::int32_t> filesFetched_{0};
};

}  // namespace KivHost
