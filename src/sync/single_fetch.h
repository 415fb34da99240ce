#pragma once

// One request, waited for to its end, with a progress stage of its own: how the stamp and the list
// are fetched. For these two steps alone.

#include <cstdint>

#include "foundation/error_chain.h"
#include "foundation/pstream.h"
#include "interface/downloader_impl.h"

/// The words of a step that fetches one file; all of static lifetime.
struct SingleFetch {
    const char* function;
    const char* stage;
    /// Pushed where the request could not be started; such a stage is left open.
    const char* refused;
    /// Pushed where it ended in anything but status 200.
    const char* failed;
};

/// Fetches `target`, the request target as it goes on the wire, into the empty `stream`.
///
/// 0 if the stream holds the whole body of a response with status 200, else -1, told to the sink.
std::int32_t fetchSingle(DownloaderImpl& downloader, const SingleFetch& words, const char* target,
                         Brelt::PStream* stream);

/// Pushes `text` on `error`, tells the sink, and gives -1: the way out of a step that fails.
std::int32_t failStep(DownloaderImpl& downloader, const char* function, Brelt::ErrorChain error,
                      const char* text);
