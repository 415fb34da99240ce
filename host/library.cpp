// The library as a program sees it. See library.h.

#include "library.h"

#include <array>
#include <new>
#include <stdexcept>
#include <system_error>

#include "platform.h"
#include "text.h"

namespace KivHost {

namespace {

constexpr std::int32_t knownInterface = 100;

/// One that is there but can't be loaded ends the search: its reason is worth more than a later
/// "not found".
void* loadFirst(const std::vector<std::filesystem::path>& candidates) {
    std::string reason;
    for (const std::filesystem::path& candidate : candidates) {
        std::error_code ignored;
        if (candidate.is_absolute() && !std::filesystem::exists(candidate, ignored)) {
            continue;
        }
        void* library = loadLibrary(candidate, reason);
        if (library == nullptr) {
            break;
        }
        return library;
    }
    throw std::runtime_error("the library can't be loaded: " + reason);
}

}  // namespace

std::vector<std::filesystem::path> libraryCandidates(
    const std::filesystem::path& programDirectory) {
    std::vector<std::filesystem::path> candidates;
    if (programDirectory.is_absolute()) {
        for (const char* place : {".", "../lib", KIV_LIBRARY_PLACE}) {
            const std::filesystem::path file = programDirectory / place / libraryFileName;
            candidates.push_back(file.lexically_normal());
        }
    }
    candidates.emplace_back(libraryFileName);
    return candidates;
}

DownloaderInterface loadDownloaderLibrary() {
    void* library = loadFirst(libraryCandidates(programDirectory()));
    const auto initialize = reinterpret_cast<InitDownloaderInterface>(
        libraryFunction(library, "initDownloaderInterface"));
    if (initialize == nullptr) {
        throw std::runtime_error("the library lacks initDownloaderInterface");
    }
    DownloaderInterface table{};
    initialize(&table);
    if (table.interfaceVersion != knownInterface) {
        throw std::runtime_error("the library has version " +
                                 std::to_string(table.interfaceVersion) +
                                 " of its table, and this program knows 100 alone");
    }
    return table;
}

Network::Network(const DownloaderInterface& table) : table_(table), network_(table.initNetwork()) {}

Network::~Network() {
    table_.deinitNetwork(network_);
}

void Network::requireStarted() const {
    std::array<char, 1024> reason{};
    const auto size = static_cast<std::int32_t>(reason.size());
    if (table_.getNorvelNetworkingStatus(network_, size, reason.data()) != 0) {
        throw std::runtime_error("networking could not be started: " + std::string(reason.data()));
    }
}

Downloader::Downloader(const DownloaderInterface& table, MessageSink& sink,
                       DownloaderParams& params)
    : table_(table), downloader_(table.createDownloader(&sink, &params)) {
    if (downloader_ == nullptr) {
        throw std::bad_alloc();
    }
}

Downloader::~Downloader() {
    table_.destroyDownloader(downloader_);
}

}  // namespace KivHost
