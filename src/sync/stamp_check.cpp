// The stamp step: fetches the remote stamp and tells whether the local one is the same.

#include "sync/stamp_check.h"

#include <cstring>

#include "foundation/pfile_stream.h"
#include "interface/downloader_impl.h"
#include "sync/single_fetch.h"

namespace {

constexpr std::uint32_t genericRead = 0x80000000;
constexpr std::uint32_t shareRead = 1;
constexpr std::uint32_t existingFileOnly = 0;

/// 0 if the local stamp equals the remote one, else 1. Tells the sink which.
std::int32_t compareWithLocalStamp(DownloaderImpl& downloader, Brelt::PStream* remote) {
    MessageSink& sink = *downloader.sink;
    const Brelt::CharString path = downloader.getStampPath(0);
    sink.logInfo("Opening local stamp file \"%s\"", path.cstr());
    Brelt::PFileStream local;
    if (const auto error = local.Open(path.ptr(), genericRead, shareRead, existingFileOnly);
        error || local.IsOpen() == 0) {
        sink.logInfo("Opening local stamp file failed: %s", error.toCharString().cstr());
        return 1;
    }
    Brelt::ErrorChain dropped;
    const std::int32_t difference = compareStreams(dropped, &local, remote);
    local.Close();
    sink.logInfo("%s", difference == 0 ? "Local and remote stamp files match. Nothing to do."
                                       : "Local and remote stamp files are different.");
    return difference == 0 ? 0 : 1;
}

/// 0 if the next blocks are equal and the streams go on, 1 at the common end, -1 if they differ.
std::int32_t compareBlocks(Brelt::ErrorChain& error, Brelt::PStream* first,
                           Brelt::PStream* second) {
    constexpr std::int32_t blockSize = 16384;
    char firstBlock[blockSize];
    char secondBlock[blockSize];
    std::int32_t firstRead = 0;
    std::int32_t secondRead = 0;
    error = first->Read(firstBlock, blockSize, &firstRead);
    if (!error) {
        error = second->Read(secondBlock, blockSize, &secondRead);
    }
    if (error || firstRead != secondRead) {
        return -1;
    }
    if (firstRead == 0) {
        return 1;
    }
    return std::memcmp(firstBlock, secondBlock, static_cast<std::size_t>(firstRead)) == 0 ? 0 : -1;
}

}  // namespace

std::int32_t compareStreams(Brelt::ErrorChain& error, Brelt::PStream* first,
                            Brelt::PStream* second) {
    if (error || first->Size() != second->Size()) {
        return -1;
    }
    error = first->Seek(0);
    if (!error) {
        error = second->Seek(0);
    }
    std::int32_t state = error ? -1 : 0;
    while (state == 0) {
        state = compareBlocks(error, first, second);
    }
    return state == 1 ? 0 : -1;
}

std::int32_t DownloaderImpl::readRemoteIdFile(Brelt::PStream* stream) {
    constexpr SingleFetch words = {"DownloaderImpl::readRemoteIdFile", "Accessing stamp",
                                   "Could not download remote stamp file (request failed).",
                                   "Could not download remote stamp file"};
    sink->logInfo("Downloading remote stamp file");
    if (fetchSingle(*this, words, getStampPath(1).cstr(), stream) != 0) {
        return -1;
    }
    if (stream->Size() < 1) {
        return failStep(*this, words.function, {}, "Remote stamp file is empty");
    }
    return compareWithLocalStamp(*this, stream);
}
