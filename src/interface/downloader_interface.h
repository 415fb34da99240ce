#pragma once

// The way in: one exported function that fills a table, and the block that says what to download.
// Written for hosts, which load the library at run time and link nothing. Installed and public.
//
//     void* library = dlopen("libkivdownloader.so", RTLD_NOW);  // LoadLibraryW on Windows
//     void* entry = dlsym(library, "initDownloaderInterface");
//     DownloaderInterface table;
//     reinterpret_cast<InitDownloaderInterface>(entry)(&table);
//     NetworkInitializerRAIIImpl* network = table.initNetwork();
//     ConsoleSink sink;  // see message_sink.h
//     DownloaderParams params;
//     params.url = "https://assets.example/library";
//     params.targetDirectory = "/home/kim/library";
//     DownloaderImpl* downloader = table.createDownloader(&sink, &params);
//     std::int32_t result = table.download(downloader);  // 0: up to date; -1: the sink knows why
//     table.destroyDownloader(downloader);
//     table.deinitNetwork(network);
//
// The order of calls: `initDownloaderInterface`; `initNetwork`, whose object the host keeps;
// `createDownloader`; any number of `checkForUpdate` and `download`; `destroyDownloader`;
// `deinitNetwork` after the last downloader is gone. Nothing enforces it.
//
// Threads: every entry runs on the thread of its caller and returns when its work is done. A
// downloader is used by one thread at a time; several downloaders run side by side on threads of
// their own. The networking library's threads reach the host through its sink only.
//
// No exception leaves an entry, and nothing is printed: what went wrong goes to the sink.

#include <cstddef>
#include <cstdint>

#include "foundation/char_string.h"

class MessageSink;

/// What stands behind the two kinds of handle; opaque to the host.
class DownloaderImpl;
struct NetworkInitializerRAIIImpl;

/// How a downloader reaches its server.
enum DownloaderProxyMode : std::int32_t {
    /// The settings of the user's system, with their list of exceptions. Every value that isn't
    /// named here means the same.
    ProxyModeSystem = 1,
    /// The proxy in `proxyAddress`.
    ProxyModeAddress = 2,
    /// No proxy.
    ProxyModeDirect = 3,
};

/// What to download, where to, and by which road.
///
/// The host owns the block, fills it before `createDownloader` and keeps it alive until
/// `destroyDownloader`; the system keeps a pointer, and writes to it only to fill in a missing
/// `url`. The host changes it only while no call runs on the downloader. `targetDirectory` and
/// `subPath` are read anew by each call. `url` and the two proxy fields count until the first call
/// that gets as far as setting up transfers; to change them later, make another downloader.
///
/// Either side may hold, replace or release a text that the other made. The order of the fields is
/// part of the contract.
struct DownloaderParams {
    /// "http" or "https", a host, a port if it isn't the scheme's own, and the path of the remote
    /// library, as it is called, not percent-encoded, and without a "/" at its end. An empty one is
    /// replaced by the default, `http://library.example/kivlib`.
    Brelt::CharString url;
    /// A `DownloaderProxyMode`.
    std::int32_t proxyMode = ProxyModeSystem;
    /// Host and port of the proxy for `ProxyModeAddress`, such as "proxy.example:3128"; without a
    /// port it is 80.
    Brelt::CharString proxyAddress;
    /// The local directory that mirrors the remote library; made if it is missing. UTF-8.
    Brelt::CharString targetDirectory;
    /// Where within the library the stamp lies; empty means directly in its root. Locally the stamp
    /// lies at `subPath` below `targetDirectory`; the list's address has it in front of the path.
    Brelt::CharString subPath;
};
static_assert(offsetof(DownloaderParams, url) == 0);
static_assert(offsetof(DownloaderParams, proxyMode) == sizeof(void*));
static_assert(offsetof(DownloaderParams, proxyAddress) == 2 * sizeof(void*));
static_assert(offsetof(DownloaderParams, targetDirectory) == 3 * sizeof(void*));
static_assert(offsetof(DownloaderParams, subPath) == 4 * sizeof(void*));
static_assert(sizeof(DownloaderParams) == 5 * sizeof(void*));

/// The table of entries. The host allocates it; `initDownloaderInterface` fills it. The order of
/// the fields is part of the contract.
struct DownloaderInterface {
    /// 100, the version of this table.
    std::int32_t interfaceVersion;

    /// Makes a downloader, or gives null for want of memory.
    ///
    /// Keeps both pointers, neither of which may be null, and does nothing on the network, on the
    /// disk or with the sink: a `url` that can't be used shows up in the first call that needs it.
    /// Writes the default to an empty `url`.
    DownloaderImpl* (*createDownloader)(MessageSink* sink, DownloaderParams* params);

    /// Ends a downloader on which no call is running, and its connections. Null does nothing. Sink
    /// and block stay the host's.
    void (*destroyDownloader)(DownloaderImpl* downloader);

    /// Brings `targetDirectory` up to date, and returns when no request is in flight any more.
    ///
    /// 0: up to date, with or without something to fetch. -1: failed or stopped by the host; the
    /// sink has got one `reportError`, except for a null handle, for a local stamp that could be
    /// made but not filled, and where memory for the report was wanting. Files that had been saved
    /// by then stay; the local stamp `id.txt` differs from the server's, so that the next call
    /// starts over. The downloader can be used again.
    std::int32_t (*download)(DownloaderImpl* downloader);

    /// Asks whether the server's library differs from the local copy, by the stamp alone; writes
    /// nothing to the disk.
    ///
    /// 1: it differs, or there is no local copy. 0: it is the same. -1: as for `download`.
    std::int32_t (*checkForUpdate)(DownloaderImpl* downloader);

    /// Starts the networking of the process; without it no https URL works.
    ///
    /// Gives an object to hand to `deinitNetwork`, also when the start failed, which
    /// `getNorvelNetworkingStatus` tells; null for want of memory.
    NetworkInitializerRAIIImpl* (*initNetwork)();

    /// Ends what one `initNetwork` began, after the last downloader has been destroyed. Null does
    /// nothing.
    void (*deinitNetwork)(NetworkInitializerRAIIImpl* network);

    /// How the start went: 0 and the text "No error", or -1 and the reason.
    ///
    /// Writes at most `bufferSize` bytes to `buffer`, the NUL among them. A null `network` reads as
    /// "Network not initialized". One call at a time for one object.
    std::int32_t (*getNorvelNetworkingStatus)(NetworkInitializerRAIIImpl* network,
                                              std::int32_t bufferSize, char* buffer);
};
static_assert(offsetof(DownloaderInterface, interfaceVersion) == 0);
static_assert(offsetof(DownloaderInterface, createDownloader) == sizeof(void*));
static_assert(offsetof(DownloaderInterface, destroyDownloader) == 2 * sizeof(void*));
static_assert(offsetof(DownloaderInterface, download) == 3 * sizeof(void*));
static_assert(offsetof(DownloaderInterface, checkForUpdate) == 4 * sizeof(void*));
static_assert(offsetof(DownloaderInterface, initNetwork) == 5 * sizeof(void*));
static_assert(offsetof(DownloaderInterface, deinitNetwork) == 6 * sizeof(void*));
static_assert(offsetof(DownloaderInterface, getNorvelNetworkingStatus) == 7 * sizeof(void*));
static_assert(sizeof(DownloaderInterface) == 8 * sizeof(void*));

/// Marks the one function that leaves the library.
#if defined(_WIN32)
#if defined(KIV_BUILDING_LIBRARY)
#define KIV_EXPORT __declspec(dllexport)
#else
#define KIV_EXPORT
#endif
#else
#define KIV_EXPORT __attribute__((visibility("default")))
#endif

/// Fills `table`, which must not be null; reads nothing from it, and may be called any number of
/// times on any thread.
extern "C" KIV_EXPORT void initDownloaderInterface(DownloaderInterface* table);

/// Type of that function, for a host that looks it up by its name.
using InitDownloaderInterface = void (*)(DownloaderInterface* table);
