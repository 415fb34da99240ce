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

/// OpenSSL's numbers, which libcurl hands on.
constexpr long notVerified = 1;
constexpr long nameMismatch = 62;

/// Why the server's certificate was refused, or 0. libcurl compares the name itself, before it has
/// asked for OpenSSL's verdict on a certificate that was trusted.
long certificateVerdict(CURLcode result, long verified) {
    if (result == CURLE_PEER_FAILED_VERIFICATION && verified == notVerified) {
        return nameMismatch;
    }
    const bool verdict = verified != notVerified && (result == CURLE_SSL_CONNECT_ERROR ||
                                                     result == CURLE_PEER_FAILED_VERIFICATION);
    return verdict ? verified : 0;
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
    const long verdict = certificateVerdict(result, info(CURLINFO_SSL_VERIFYRESULT));
    if (verdict != 0) {
        flags |= UnderlyingIsCertificateResult;
        return static_cast<std::uint32_t>(verdict);
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
