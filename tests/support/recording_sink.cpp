#include "support/recording_sink.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>

namespace TestSupport {

RecordingSink::~RecordingSink() {
    for (const std::string& violation : takeViolations()) {
        ADD_FAILURE() << "the sink was called against its contract: " << violation;
    }
}

std::int32_t RecordingSink::during(const std::function<std::int32_t()>& call) {
    setRunning(true);
    const std::int32_t result = call();
    setRunning(false);
    return result;
}

void RecordingSink::setRunning(bool running) {
    const std::lock_guard lock(mutex_);
    judged_ = true;
    running_ = running;
    caller_ = std::this_thread::get_id();
}

void RecordingSink::abortAfterPolls(std::int32_t polls, std::int32_t code) {
    const std::lock_guard lock(mutex_);
    pollsLeft_ = polls;
    abortCode_ = code;
}

Lines RecordingSink::lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
}

Lines RecordingSink::steps() const {
    Lines result;
    bool inStage = false;
    for (const std::string& line : lines()) {
        inStage = line == "progressBegin" || (inStage && line != "progressEnd");
        if (!inStage ||
            !(line.starts_with("setProgress ") || line.starts_with("setProgressText "))) {
            result.push_back(line);
        }
    }
    return result;
}

Lines RecordingSink::of(const std::string& operation) const {
    Lines result;
    for (const std::string& line : lines()) {
        if (line.starts_with(operation + " ")) {
            result.push_back(line.substr(operation.size() + 1));
        }
    }
    return result;
}

std::int32_t RecordingSink::polls() const {
    const std::lock_guard lock(mutex_);
    return polls_;
}

std::string RecordingSink::errorText() const {
    const Lines errors = of("reportError");
    return errors.empty() ? std::string() : errors.back();
}

std::vector<ErrorLine> RecordingSink::errorNodes() const {
    const std::lock_guard lock(mutex_);
    return errorNodes_;
}

Lines RecordingSink::takeViolations() {
    const std::lock_guard lock(mutex_);
    return std::exchange(violations_, {});
}

void RecordingSink::clear() {
    const std::lock_guard lock(mutex_);
    lines_.clear();
    errorNodes_.clear();
    polls_ = 0;
}

void RecordingSink::setProgressRange(std::int32_t upper) {
    record("setProgressRange " + std::to_string(upper));
}

void RecordingSink::setProgress(std::int32_t value) {
    record("setProgress " + std::to_string(value), Threads::Any);
}

void RecordingSink::setProgressText(const char* text) {
    record(std::string("setProgressText ") + text, Threads::Any);
}

std::int32_t RecordingSink::getAbortCode() {
    const std::lock_guard lock(mutex_);
    judge("getAbortCode", Threads::Any);
    ++polls_;
    return pollsLeft_-- > 0 ? 0 : abortCode_;
}

void RecordingSink::progressBegin() {
    record("progressBegin");
}

void RecordingSink::progressEnd() {
    record("progressEnd");
}

void RecordingSink::logInfo(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    recordFormatted("logInfo ", format, arguments);
    va_end(arguments);
}

void RecordingSink::reportWarning(const char* function, std::int32_t code, const char* format,
                                  ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const std::string start = "reportWarning " + std::string(function);
    recordFormatted(start + " " + std::to_string(code) + " ", format, arguments);
    va_end(arguments);
}

void RecordingSink::reportError(const Brelt::ErrorChain& error) {
    std::vector<ErrorLine> nodes;
    for (const Brelt::ErrorNode* node = error.head(); node != nullptr; node = node->next) {
        nodes.push_back(
            {node->function == nullptr ? "" : node->function, node->code, node->message});
    }
    {
        const std::lock_guard lock(mutex_);
        errorNodes_ = std::move(nodes);
    }
    record(std::string("reportError ") + error.toCharString().cstr());
}

void RecordingSink::logError(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    recordFormatted("logError ", format, arguments);
    va_end(arguments);
}

void RecordingSink::logDebug(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    recordFormatted("logDebug ", format, arguments);
    va_end(arguments);
}

void RecordingSink::recordFormatted(const std::string& start, const char* format,
                                    std::va_list arguments) {
    // Longer than any line with a path or a trace in it.
    std::array<char, 16384> text;
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): clang 14 loses sight of va_start here
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    EXPECT_LT(static_cast<std::size_t>(length), text.size());
    record(start + text.data());
}

void RecordingSink::record(const std::string& line, Threads threads) {
    {
        const std::lock_guard lock(mutex_);
        judge(line, threads);
        lines_.push_back(line);
    }
    if (observer_) {
        observer_(line);
    }
}

void RecordingSink::judge(const std::string& line, Threads threads) {
    if (!judged_) {
        return;
    }
    if (!running_) {
        violations_.push_back("after the call had returned: " + line);
    } else if (threads == Threads::CallersOnly && std::this_thread::get_id() != caller_) {
        violations_.push_back("on a thread of the library: " + line);
    }
}

}  // namespace TestSupport
