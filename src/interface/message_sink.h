#pragma once

// The host's side of the conversation: what a downloader tells its host, and how the host stops it.
// A host derives from `MessageSink`; the rooms behind the table call it. Installed and public.
//
//     class ConsoleSink final : public MessageSink {
//     public:
//         void setProgressRange(std::int32_t) override {}
//         void setProgress(std::int32_t value) override { permille_ = value; }
//         void setProgressText(const char* text) override { show(text); }
//         std::int32_t getAbortCode() override { return stopWanted_ ? 1 : 0; }
//         void progressBegin() override {}
//         void progressEnd() override {}
//         void logInfo(const char* format, ...) override { /* va_start, vsnprintf, va_end */ }
//         void reportWarning(const char*, std::int32_t, const char* format, ...) override;
//         void reportError(const Brelt::ErrorChain& e) override { show(e.toCharString().cstr()); }
//         void logError(const char* format, ...) override;
//         void logDebug(const char* format, ...) override;
//         std::atomic<std::int32_t> permille_{0};
//         std::atomic<bool> stopWanted_{false};  // set by a signal handler, a button, ...
//     };

#include <cstdint>

#include "foundation/error_node.h"

/// Receives log lines, progress and failures of a downloader, and answers whether to go on.
///
/// The host owns the sink and keeps it alive until `destroyDownloader` has returned; the system
/// keeps a pointer and never copies or destroys it. Nothing is called outside of `download` and
/// `checkForUpdate`, and nothing after they have returned.
///
/// Threads: `setProgress`, `setProgressText` and `getAbortCode` also come on threads of the
/// networking library, from up to five transfers at once, while the host's own thread waits or
/// logs. All other operations come on the thread that called `download` or `checkForUpdate`. The
/// system takes no lock around any of them: the sink guards its own data, and returns quickly,
/// since a transfer waits for it.
///
/// Every text is UTF-8, NUL-terminated and valid during the call only. No operation may throw, and
/// none may call the table with the downloader that is running.
///
/// A stage is one span of progress, such as the files of a run. It sends `setProgressText`; with a
/// known size also `setProgress` with 0 and the text with megabytes; then `setProgressRange`,
/// `setProgress` with 0, `progressBegin`; any number of `setProgress` and `setProgressText`; and
/// `progressEnd`, which is missing where a stage's request could not be started.
///
/// There is no virtual destructor, so that these eleven operations stand first in the table of
/// virtual functions, in this order, whatever else a host's class adds behind them.
class MessageSink {
public:
    /// `upper` is the value that stands for a whole stage: always 1000, so values are per mille.
    virtual void setProgressRange(std::int32_t upper) = 0;

    /// `value` is the share of the stage's bytes that has arrived, in per mille.
    ///
    /// It starts at 0 and never falls within a stage, but two transfers may deliver their values
    /// out of order. It passes 1000 when the server sends more than its list had promised. A stage
    /// of unknown size stays at 0.
    virtual void setProgress(std::int32_t value) = 0;

    /// The stage's line for a person, such as "Downloading files (3MB / 12MB)"; a megabyte is
    /// 1,000,000 bytes. Sent again only when it changes.
    virtual void setProgressText(const char* text) = 0;

    /// 0 to go on; any other value stops the transfer that asks and stands in its failure as
    /// "Download aborted (%i)".
    ///
    /// Asked for each piece of each response, and about once a second while a response stalls. A
    /// sink that wants the run to end goes on giving the value until the call has returned -1.
    virtual std::int32_t getAbortCode() = 0;

    /// A stage's transfers start.
    virtual void progressBegin() = 0;

    /// The transfers of the stage have ended, well or not.
    virtual void progressEnd() = 0;

    /// A line that tells what is being done. `format` and what follows are as for `printf`.
    [[gnu::format(printf, 2, 3)]] virtual void logInfo(const char* format, ...) = 0;

    /// Something is wrong, and the work goes on: a proxy address that can't be used, a list entry
    /// that is ignored.
    ///
    /// `function` names the reporting function and has static lifetime; `code` is -1; `format` and
    /// what follows are as for `printf`.
    [[gnu::format(printf, 4, 5)]] virtual void reportWarning(const char* function,
                                                             std::int32_t code, const char* format,
                                                             ...) = 0;

    /// The failure that ends the call, which then returns -1; at most once in a call.
    ///
    /// `error` is never empty and reads as a trace of causes, outermost first. It is valid during
    /// the call; a copy shares its nodes, whose reference counts aren't atomic, and so stays on
    /// this thread. The chain's `toCharString` is the way to keep the text.
    virtual void reportError(const Brelt::ErrorChain& error) = 0;

    /// A line on a failure that has no trace of its own. `format` and what follows are as for
    /// `printf`.
    [[gnu::format(printf, 2, 3)]] virtual void logError(const char* format, ...) = 0;

    /// A detail: an address, the choice of the proxy. `format` and what follows are as for
    /// `printf`.
    [[gnu::format(printf, 2, 3)]] virtual void logDebug(const char* format, ...) = 0;

protected:
    ~MessageSink() = default;
};
