#pragma once

// A host that writes down everything it is told, in one ordered list, and stops a run on demand.
//
//     RecordingSink sink;
//     sink.abortAfterPolls(20, 7);
//     const std::int32_t result = sink.during([&] { return table.download(downloader); });
//     EXPECT_EQ(sink.steps(), (Lines{"logInfo Downloading remote stamp file", ...}));
//     EXPECT_EQ(sink.errorNodes().at(0), (ErrorLine{"DownloaderImpl::downloadFiles", -1, "..."}));
//
// A line is the operation's name, a blank and what came with it, formatted: "setProgress 0",
// "reportWarning DownloaderImpl::x -1 text", "reportError " and the chain's text.

#include <cstdarg>
#include <cstdint>
#include <functional>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "interface/message_sink.h"

namespace TestSupport {

using Lines = std::vector<std::string>;

/// One node of a reported chain.
struct ErrorLine {
    std::string function;
    std::int32_t code = 0;
    std::string message;

    bool operator==(const ErrorLine&) const = default;
};

inline std::ostream& operator<<(std::ostream& stream, const ErrorLine& line) {
    return stream << '[' << line.function << "] " << line.code << ": " << line.message;
}

/// Every call is held to the sink's contract, and the destructor fails the test if one broke it:
/// nothing comes outside of `during`, and only the three operations of transfers come on another
/// thread than its caller's. A test that never uses `during` drives the sink by hand, and nothing
/// of this is judged.
class RecordingSink final : public MessageSink {
public:
    RecordingSink() = default;
    RecordingSink(const RecordingSink&) = delete;
    RecordingSink& operator=(const RecordingSink&) = delete;
    ~RecordingSink();

    /// Runs `call` and gives its result; afterwards nothing may come any more.
    std::int32_t during(const std::function<std::int32_t()>& call);

    /// `getAbortCode` gives 0 `polls` more times, and then the code.
    void abortAfterPolls(std::int32_t polls, std::int32_t code);
    void goOn() { abortAfterPolls(0, 0); }

    /// Called with each line on the thread that brought it, after it was recorded and before the
    /// operation returns. Set before the run.
    void onLine(std::function<void(const std::string&)> observer) {
        observer_ = std::move(observer);
    }

    /// All lines; without those of `getAbortCode`, which only `polls` counts.
    Lines lines() const;
    /// The same without what depends on how the bytes came in: `setProgress` and `setProgressText`
    /// between a `progressBegin` and its `progressEnd`.
    Lines steps() const;
    /// What came with one operation, its name taken off.
    Lines of(const std::string& operation) const;
    /// How often the abort was asked for.
    std::int32_t polls() const;

    /// The chain of the last `reportError`: as one text, and node by node, newest first.
    std::string errorText() const;
    std::vector<ErrorLine> errorNodes() const;

    /// What broke the contract, one line each; the destructor's judgement. Taking them away here
    /// leaves nothing to judge.
    Lines takeViolations();

    void clear();

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

private:
    enum class Threads { CallersOnly, Any };

    void setRunning(bool running);
    void record(const std::string& line, Threads threads = Threads::CallersOnly);
    void recordFormatted(const std::string& start, const char* format, std::va_list arguments);
    void judge(const std::string& line, Threads threads);

    mutable std::mutex mutex_;
    Lines lines_;
    Lines violations_;
    std::vector<ErrorLine> errorNodes_;
    std::function<void(const std::string&)> observer_;
    std::thread::id caller_;
    bool judged_ = false;
    bool running_ = false;
    std::int32_t polls_ = 0;
    std::int32_t pollsLeft_ = 0;
    std::int32_t abortCode_ = 0;
};

}  // namespace TestSupport
