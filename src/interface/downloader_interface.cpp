// The seven entries behind the table. No exception gets past them.

#include "interface/downloader_interface.h"

#include <exception>
#include <memory>
#include <new>

#include "foundation/pmem_stream.h"
#include "interface/downloader_impl.h"
#include "interface/network_initializer.h"

namespace {

constexpr const char* defaultUrl = "http://library.example/kivlib";

/// What is left to do for a failure that came as an exception: tell it once, if there is memory to.
void reportException(MessageSink& sink, const char* function, const char* what) noexcept {
    try {
        const auto error = Brelt::ErrorChain::make(function, -1, "%s", what);
        if (error) {
            sink.reportError(error);
        }
    } catch (...) {  // NOLINT(bugprone-empty-catch): the result alone tells the host now
    }
}

template <class Step>
std::int32_t guarded(DownloaderImpl& downloader, const char* function, Step step) noexcept {
    try {
        return step(downloader);
    } catch (const std::exception& exception) {
        reportException(*downloader.sink, function, exception.what());
    } catch (...) {
        reportException(*downloader.sink, function, "Unknown exception");
    }
    return -1;
}

DownloaderImpl* createDownloader(MessageSink* sink, DownloaderParams* params) noexcept {
    try {
        auto downloader = std::make_unique<DownloaderImpl>(sink, params);
        if (params->url.isEmpty()) {
            params->url.assign(defaultUrl);
        }
        return params->url.isEmpty() ? nullptr : downloader.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void destroyDownloader(DownloaderImpl* downloader) noexcept {
    delete downloader;
}

std::int32_t download(DownloaderImpl* downloader) noexcept {
    if (downloader == nullptr) {
        return -1;
    }
    return guarded(*downloader, "DownloaderImpl::download",
                   [](DownloaderImpl& self) { return self.download(); });
}

std::int32_t checkForUpdate(DownloaderImpl* downloader) noexcept {
    if (downloader == nullptr) {
        return -1;
    }
    return guarded(*downloader, "checkForUpdate", [](DownloaderImpl& self) {
        Brelt::PMemStream stamp(4096);
        const std::int32_t result = self.initHttpGetter();
        return result != 0 ? result : self.readRemoteIdFile(&stamp);
    });
}

NetworkInitializerRAIIImpl* initNetwork() noexcept {
    try {
        return new NetworkInitializerRAIIImpl();
    } catch (const std::exception&) {
        return nullptr;
    }
}

void deinitNetwork(NetworkInitializerRAIIImpl* network) noexcept {
    delete network;
}

std::int32_t getNorvelNetworkingStatus(NetworkInitializerRAIIImpl* network, std::int32_t bufferSize,
                                       char* buffer) noexcept {
    const Brelt::ErrorChain status =
        network != nullptr
            ? network->error
            : Brelt::ErrorChain::make("getNorvelNetworkingStatus", -1, "Network not initialized");
    status.print(buffer, bufferSize);
    return network == nullptr ? -1 : status.codeAt(0);
}

}  // namespace

void initDownloaderInterface(DownloaderInterface* table) {
    *table = {.interfaceVersion = 100,
              .createDownloader = createDownloader,
              .destroyDownloader = destroyDownloader,
              .download = download,
              .checkForUpdate = checkForUpdate,
              .initNetwork = initNetwork,
              .deinitNetwork = deinitNetwork,
              .getNorvelNetworkingStatus = getNorvelNetworkingStatus};
}
