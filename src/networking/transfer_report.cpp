// What a transfer tells the owner: the four ways through the owner's callbacks. No exception of
// theirs gets past here.

#include <cstdint>

#include "networking/transfer.h"

namespace Norvel::Networking {

namespace {

/// Flags above the reason, which has 12 bits.
enum ReasonFlag : std::uint32_t {
    StatusKnown = 0x1000,
    UnderlyingIsProxyStatus = 0x2000,
    UnderlyingIsCertificateResult = 0x4000,
};

bool isTlsFailure(CURLcode result) {
    return result == CURLE_SSL_CONNECT_ERROR || result == CURLE_PEER_FAILED_VERIFICATION;
}

}  // namespace

void Transfer::tellStatus(std::int32_t status) {
    if (settings_.callbacks.status == nullptr) {
        return;
    }
    try {
        settings_.callbacks.status(&settings_.source, token_, &status);
    } catch (...) {
        fail(CURLE_ABORTED_BY_CALLBACK);
    }
}

bool Transfer::tellProgress(evbuffer* piece, TimePoint now) {
    lastTold_ = now;
    if (settings_.callbacks.progress == nullptr) {
        return true;
    }
    ResponseProgress progress{0, 0, 0, received_};
    Response response(piece);
    try {
        settings_.callbacks.progress(&settings_.source, token_, &progress, &response);
    } catch (...) {
        return fail(CURLE_ABORTED_BY_CALLBACK);
    }
    cancelled_ = progress.cancel != 0;
    return !cancelled_;
}

void Transfer::tellError(CURLcode result) {
    if (settings_.callbacks.error == nullptr) {
        return;
    }
    std::uint32_t flags = statusSeen_ ? StatusKnown : 0U;
    const std::uint32_t underlying = underlyingError(result, flags);
    const ResponseError error{static_cast<std::uint32_t>(result) | flags, underlying};
    try {
        settings_.callbacks.error(&settings_.source, &error, token_);
    } catch (...) {
        // There is nobody left to tell.
    }
}

/// The number that says most about this failure.
std::uint32_t Transfer::underlyingError(CURLcode result, std::uint32_t& flags) const {
    const long certificate = info(CURLINFO_SSL_VERIFYRESULT);
    if (isTlsFailure(result) && certificate != 0) {
        flags |= UnderlyingIsCertificateResult;
        return static_cast<std::uint32_t>(certificate);
    }
    const long proxyStatus = info(CURLINFO_HTTP_CONNECTCODE);
    if (attempts_ == 0 && proxyStatus >= 300) {
        flags |= UnderlyingIsProxyStatus;
        return static_cast<std::uint32_t>(proxyStatus);
    }
    const long osError = info(CURLINFO_OS_ERRNO);
    // The second connection may well have failed as the first did.
    const bool failedAgain =
        attempts_ > 1 && (result == CURLE_RECV_ERROR || result == CURLE_SEND_ERROR);
    const bool fresh = result == CURLE_COULDNT_CONNECT || failedAgain || osError != staleOsError_;
    return fresh && failure_ == CURLE_OK ? static_cast<std::uint32_t>(osError) : 0U;
}

}  // namespace Norvel::Networking
