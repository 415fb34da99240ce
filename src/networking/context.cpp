// Counted starts of the network layer.

#include "networking/context.h"

#include <curl/curl.h>

#include <atomic>
#include <cstdint>
#include <exception>
#include <mutex>

namespace Norvel::Networking {

namespace {

/// In `flags` of a start: it is counted.
constexpr std::uint32_t countedFlag = 0x2;

struct Layer {
    std::mutex mutex;
    std::int32_t starts = 0;
    ClientSSLConfiguration configuration;
    std::atomic<bool> started{false};
};

/// Never destroyed: pools of the host's may outlive the static objects.
Layer& layer() {
    static auto* const instance = new Layer;
    return *instance;
}

/// Counts one start more; the first reads the certificates' place.
std::string startLayer() {
    if (!startCurl()) {
        return "libcurl can't be started";
    }
    const std::lock_guard lock(layer().mutex);
    if (layer().starts == 0) {
        std::string trouble = readCertificateSource(layer().configuration.certificates);
        if (!trouble.empty()) {
            return trouble;
        }
        layer().started = true;
    }
    ++layer().starts;
    return {};
}

void tell(Brelt::CharString& text, const char* trouble) noexcept {
    try {
        text = trouble;
    } catch (const std::exception&) {
        text.clear();
    }
}

}  // namespace

bool startCurl() {
    static std::mutex mutex;
    static bool started = false;
    const std::lock_guard lock(mutex);
    if (!started && curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK) {
        keepLibraryLoaded();
        started = true;
    }
    return started;
}

std::string copyConfiguration(const ClientSSLConfiguration* configuration,
                              ClientSSLConfiguration& copy) {
    const std::lock_guard lock(layer().mutex);
    const bool ofLayer = configuration == &layer().configuration;
    if (configuration == nullptr || (ofLayer && layer().starts == 0)) {
        return "https needs the network layer, which isn't started";
    }
    copy = *configuration;
    return {};
}

const NetworkingContext* getNorvelNetworkingContext() {
    // Two constant records instead of one that changes: a reader never sees half a change.
    static const NetworkingContext stopped{nullptr, nullptr};
    static const NetworkingContext started{nullptr, &layer().configuration};
    return layer().started ? &started : &stopped;
}

bool NetworkingContextInitializerRAII::initializeDefault(const char* /*name*/,
                                                         Brelt::CharString& errorText) {
    if ((flags & countedFlag) != 0) {
        return true;
    }
    try {
        const std::string trouble = startLayer();
        if (trouble.empty()) {
            flags |= countedFlag;
            return true;
        }
        tell(errorText, trouble.c_str());
    } catch (const std::exception& exception) {
        tell(errorText, exception.what());
    }
    return false;
}

void NetworkingContextInitializerRAII::deinitialize(bool wasCounted) {
    if (!wasCounted || (flags & countedFlag) == 0) {
        return;
    }
    flags &= ~countedFlag;
    const std::lock_guard lock(layer().mutex);
    --layer().starts;
    layer().started = layer().starts > 0;
}

}  // namespace Norvel::Networking
