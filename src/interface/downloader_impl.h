#pragma once

// The object behind the host's downloader handle, with the steps of a run as its members.
// Declared here, so that the driver can call each step; a step is defined in the room that owns it:
// transfer setup and proxy choice in http, stamps, list, files and saving in sync.

#include <cstddef>
#include <cstdint>

#include "foundation/char_string.h"
#include "foundation/error_chain.h"
#include "foundation/pstream.h"
#include "foundation/table.h"
#include "interface/downloader_interface.h"
#include "interface/message_sink.h"

class HttpGetter;

/// A downloader. Used by one thread of the host's at a time; its transfers run on threads of the
/// networking library, which reach it through `HttpGetter` alone.
///
/// Unless told otherwise a step returns 0 for success and -1 for failure, which it has told the
/// sink then, and raises `std::bad_alloc` only where memory runs out. On every way out of a step no
/// request is in flight.
class DownloaderImpl {
public:
    struct ListFile;

    /// Null until transfer setup has succeeded; kept from then on. Made and unmade in http only.
    HttpGetter* httpGetter;
    /// The path part of the download URL; remote addresses are built on it.
    Brelt::CharString remotePath;
    /// The host's; never null.
    MessageSink* sink;
    /// The host's; never null.
    DownloaderParams* params;

    DownloaderImpl(MessageSink* hostSink, DownloaderParams* hostParams);
    DownloaderImpl(const DownloaderImpl&) = delete;
    DownloaderImpl& operator=(const DownloaderImpl&) = delete;
    ~DownloaderImpl();

    /// The whole run: the steps below in their order. 0 if the local copy is up to date, else -1.
    std::int32_t download();

    /// Builds the getter for `url` and the proxy choice, unless there is one.
    std::int32_t initHttpGetter();
    /// The only way to unmake the getter; ends what its pool has running.
    void releaseHttpGetter();
    /// Fills in the proxy for the server `addr`, or an empty host and port 80 for a direct
    /// connection. Never fails: doubt ends in a direct connection, at most with a warning.
    void getHttpProxyForAddr(const char* addr, Brelt::CharString& proxyHost,
                             std::int32_t& proxyPort);

    /// Fetches the remote stamp into the empty `stream` and compares it with the local one.
    /// 1: they differ, or there is no local one. 0: the same. -1: it could not be fetched.
    std::int32_t readRemoteIdFile(Brelt::PStream* stream);
    /// Fetches the file list into the empty `stream`.
    std::int32_t downloadListFile(Brelt::PStream* stream);
    /// Fills the empty `files` with those entries of the list that this run fetches.
    std::int32_t parseListFile(Brelt::PStream* stream, Brelt::Table<ListFile>& files);
    /// Fetches and saves all of `files`, five at a time.
    std::int32_t downloadFiles(const Brelt::Table<ListFile>& files);
    /// Copies the stamp in `stamp` to the local stamp file: the one commit that a run has.
    std::int32_t writeLocalIdFile(Brelt::PStream* stamp);

    /// Writes `stream` to the file `name` below the target directory, and makes its directories.
    /// Tells nobody of a failure but its caller.
    Brelt::ErrorChain saveFile(const char* name, Brelt::PStream* stream);

    /// The address of `name`, relative to the library's root: the local path, or, with `forRequest`
    /// other than 0, the percent-encoded request target. A refused path gives the empty text.
    Brelt::CharString getFilePath(const char* name, std::int32_t forRequest);
    /// The stamp's address, in the same manner.
    Brelt::CharString getStampPath(std::int32_t forRequest);
};
static_assert(offsetof(DownloaderImpl, httpGetter) == 0);
static_assert(offsetof(DownloaderImpl, remotePath) == sizeof(void*));
static_assert(offsetof(DownloaderImpl, sink) == 2 * sizeof(void*));
static_assert(offsetof(DownloaderImpl, params) == 3 * sizeof(void*));
static_assert(sizeof(DownloaderImpl) == 4 * sizeof(void*));

/// One file to fetch. Names are relative to the library's root.
struct DownloaderImpl::ListFile {
    /// Saved under this name.
    Brelt::CharString localName;
    /// Requested by this name: the local one, or that of the lossy variant.
    Brelt::CharString remoteName;
    /// Bytes as the list has them; for progress and log lines only.
    std::int64_t size = 0;

    /// Fills an entry; a `jpegSize` above 0 makes it the lossy variant of a ".tx" map.
    ///
    /// Fails for a lossy variant of anything else, with the local name as both names.
    Brelt::ErrorChain init(const Brelt::CharString& path, std::int64_t fullSize,
                           std::int64_t jpegSize);
};
static_assert(offsetof(DownloaderImpl::ListFile, localName) == 0);
static_assert(offsetof(DownloaderImpl::ListFile, remoteName) == sizeof(void*));
static_assert(offsetof(DownloaderImpl::ListFile, size) == 2 * sizeof(void*));
static_assert(sizeof(void*) != 8 || sizeof(DownloaderImpl::ListFile) == 24);
