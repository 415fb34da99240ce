// What a run of the library looks like to a person. See console_sink.h.

#include "console_sink.h"

#include <cstdarg>

#include "error_words.h"
#include "platform.h"
#include "progress_line.h"
#include "text.h"

namespace KivHost {

namespace {

/// More often than this nobody can read it, and writing to a terminal is slow.
constexpr std::chrono::milliseconds betweenDrawings{50};

constexpr std::string_view downloadingFile = "Downloading file \"%s\" (%lli bytes)";
constexpr std::string_view savingFile = "Saving file \"%s\"";

std::string formatted(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(static_cast<std::size_t>(length < 0 ? 0 : length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, again);
    va_end(again);
    text.pop_back();
    return text;
}

}  // namespace

ConsoleSink::ConsoleSink(Verbosity verbosity, bool onTerminal, std::int32_t columns)
    : verbosity_(verbosity),
      drawsProgress_(onTerminal && verbosity != Verbosity::Quiet),
      columns_(columns) {}

void ConsoleSink::setProgressRange(std::int32_t) {}

void ConsoleSink::setProgress(std::int32_t value) {
    const std::lock_guard lock(mutex_);
    permille_ = value;
    drawProgressInTime();
    announceTenth();
}

void ConsoleSink::setProgressText(const char* text) {
    const std::lock_guard lock(mutex_);
    stageText_ = printable(text);
    drawProgressInTime();
}

std::int32_t ConsoleSink::getAbortCode() {
    const std::int32_t code = stopRequested();
    if (code != 0 && !stopAnnounced_.exchange(true)) {
        say("Stopping; Ctrl-C once more ends it at once.");
    }
    return code;
}

void ConsoleSink::progressBegin() {
    const std::lock_guard lock(mutex_);
    stageOpen_ = true;
    permille_ = 0;
    tenths_ = 0;
    drawProgress();
}

void ConsoleSink::progressEnd() {
    const std::lock_guard lock(mutex_);
    closeStage();
}

void ConsoleSink::logInfo(const char* format, ...) {
    const bool isFetch = downloadingFile == format;
    filesFetched_ += isFetch ? 1 : 0;
    const bool isDetail = isFetch || savingFile == format;
    if (isDetail && drawsProgress_ && verbosity_ != Verbosity::Verbose) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    say(text);
}

void ConsoleSink::reportWarning(const char*, std::int32_t, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    complain("warning: " + text);
}

void ConsoleSink::reportError(const Brelt::ErrorChain& error) {
    if (stopRequested() == 0) {
        explain(explainTrace(error));
    }
    if (verbosity_ == Verbosity::Verbose) {
        say("trace: " + std::string(error.toCharString().cstr()));
    }
    const std::lock_guard lock(mutex_);
    closeStage();
}

void ConsoleSink::logError(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    complain(text);
}

void ConsoleSink::logDebug(const char* format, ...) {
    if (verbosity_ != Verbosity::Verbose) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    say(text);
}

void ConsoleSink::finish() {
    const std::lock_guard lock(mutex_);
    closeStage();
    std::fflush(stdout);
}

void ConsoleSink::say(std::string_view line) {
    if (verbosity_ != Verbosity::Quiet) {
        const std::lock_guard lock(mutex_);
        printLine(stdout, line);
    }
}

void ConsoleSink::complain(std::string_view line) {
    const std::lock_guard lock(mutex_);
    // Where both streams end in one place, the lines stay in order.
    std::fflush(stdout);
    printLine(stderr, "kivsync: " + std::string(line));
}

void ConsoleSink::explain(const std::vector<std::string>& lines) {
    complain(lines.empty() ? "unknown failure" : lines.front());
    const std::lock_guard lock(mutex_);
    for (std::size_t index = 1; index < lines.size(); ++index) {
        printLine(stderr, "  because: " + lines[index]);
    }
}

void ConsoleSink::printLine(std::FILE* stream, std::string_view line) {
    eraseProgress();
    std::fprintf(stream, "%s\n", printable(withoutLineEnd(line)).c_str());
    if (drawsProgress_) {
        std::fflush(stream);
        drawProgress();
    }
}

void ConsoleSink::eraseProgress() {
    if (progressShown_) {
        std::fprintf(stderr, "\r%s\r", progressLine("", 0, columns_).c_str());
        progressShown_ = false;
    }
}

void ConsoleSink::drawProgress() {
    if (drawsProgress_ && stageOpen_) {
        std::fprintf(stderr, "\r%s", progressLine(stageText_, permille_, columns_).c_str());
        progressShown_ = true;
        lastDrawn_ = std::chrono::steady_clock::now();
    }
}

void ConsoleSink::drawProgressInTime() {
    if (std::chrono::steady_clock::now() - lastDrawn_ >= betweenDrawings) {
        drawProgress();
    }
}

void ConsoleSink::announceTenth() {
    const std::int32_t tenths = tenthsOf(permille_);
    if (drawsProgress_ || !stageOpen_ || tenths <= tenths_ || verbosity_ == Verbosity::Quiet) {
        return;
    }
    tenths_ = tenths;
    printLine(stdout, stageText_ + ": " + std::to_string(tenths * 10) + " %");
}

void ConsoleSink::closeStage() {
    stageOpen_ = false;
    eraseProgress();
}

}  // namespace KivHost
