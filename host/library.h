#pragma once

// The library as a program sees it: found and loaded at run time, its objects held by owners.
// For kivsync.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "interface/downloader_interface.h"

namespace KivHost {

/// Where the library is looked for, in this order, by a program in `programDirectory`; the last is
/// its bare name, which leaves the search to the system's loader.
std::vector<std::filesystem::path> libraryCandidates(const std::filesystem::path& programDirectory);

/// Loads the library for the rest of the process's life and fills its table. Raises
/// `std::runtime_error` with a text for a person.
DownloaderInterface loadDownloaderLibrary();

/// The networking of the process, up for as long as this object lives.
class Network {
public:
    explicit Network(const DownloaderInterface& table);
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;
    ~Network();

    /// Raises `std::runtime_error` with the reason if the start has failed.
    void requireStarted() const;

private:
    const DownloaderInterface& table_;
    NetworkInitializerRAIIImpl* network_;
};

/// One downloader. Sink and parameters outlive it.
class Downloader {
public:
    /// Raises `std::bad_alloc`.
    Downloader(const DownloaderInterface& table, MessageSink& sink, DownloaderParams& params);
    Downloader(const Downloader&) = delete;
    Downloader& operator=(const Downloader&) = delete;
    ~Downloader();

    std::int32_t download() { return table_.download(downloader_); }
    std::int32_t checkForUpdate() { return table_.checkForUpdate(downloader_); }

private:
    const DownloaderInterface& table_;
    DownloaderImpl* downloader_;
};

}  // namespace KivHost
