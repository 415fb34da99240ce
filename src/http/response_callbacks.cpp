// The getter's callbacks, on threads of the networking library, and the progress that they drive.
// An exception must not cross them: it becomes a failure of the request.

#include <cmath>
#include <exception>
#include <limits>

#include "foundation/text_tools.h"
#include "http/http_getter.h"

using Norvel::Networking::CallbackSource;
using Norvel::Networking::ReqTokenGeneralType;
using Norvel::Networking::Response;
using Norvel::Networking::ResponseError;
using Norvel::Networking::ResponseProgress;

namespace {

constexpr const char* progressCallback = "HttpGetter::responseProgressCb";

/// The slot's failure when a node could not be made: without a status it can't pass for success.
void ensureFailed(ClientSlot& slot) {
    if (!slot.error) {
        slot.httpStatus = 0;
    }
}

/// The bytes that one callback takes from the library; freed on every way out.
struct ReceivedBytes {
    Norvel::Buffer buffer;

    ReceivedBytes() = default;
    ReceivedBytes(const ReceivedBytes&) = delete;
    ReceivedBytes& operator=(const ReceivedBytes&) = delete;
    ~ReceivedBytes() {
        if (buffer.content != nullptr) {
            Norvel::internalEvbufferFree(buffer.content);
        }
    }
};

/// Cuts to an integer; what a server sends may leave the type.
template <class Real>
std::int32_t truncateSaturated(Real value) {
    constexpr auto lowest = std::numeric_limits<std::int32_t>::min();
    constexpr auto highest = std::numeric_limits<std::int32_t>::max();
    if (!(value > static_cast<Real>(lowest))) {
        return lowest;
    }
    return value >= static_cast<Real>(highest) ? highest : static_cast<std::int32_t>(value);
}

/// A megabyte is 1,000,000 bytes.
std::int32_t toMegabytes(std::int64_t bytes) {
    return truncateSaturated(static_cast<double>(bytes) * 0.000001);
}

HttpGetter* getterOf(const CallbackSource* source) {
    return source == nullptr ? nullptr : static_cast<HttpGetter*>(source->userData);
}

}  // namespace

void HttpGetter::responseIgnoredCb(CallbackSource* /*source*/, ReqTokenGeneralType* /*token*/) {}

void HttpGetter::responseStatusCb(CallbackSource* source, ReqTokenGeneralType* token,
                                  const std::int32_t* status) {
    if (getterOf(source) != nullptr && token != nullptr && status != nullptr) {
        static_cast<ClientSlot*>(token)->httpStatus = *status;
    }
}

void HttpGetter::responseProgressCb(CallbackSource* source, ReqTokenGeneralType* token,
                                    ResponseProgress* progress, Response* response) {
    HttpGetter* getter = getterOf(source);
    if (getter == nullptr || token == nullptr || progress == nullptr || response == nullptr) {
        return;
    }
    auto& slot = *static_cast<ClientSlot*>(token);
    try {
        getter->receive(slot, *progress, *response);
    } catch (const std::exception& exception) {
        slot.error.push(progressCallback, -1, "%s", exception.what());
        ensureFailed(slot);
        progress->cancel = 1;
    } catch (...) {
        slot.error.push(progressCallback, -1, "Unknown exception");
        ensureFailed(slot);
        progress->cancel = 1;
    }
}

void HttpGetter::responseErrorCb(CallbackSource* source, const ResponseError* error,
                                 ReqTokenGeneralType* token) {
    constexpr std::uint32_t reasonBits = 0xFFF;
    if (getterOf(source) == nullptr || error == nullptr || token == nullptr) {
        return;
    }
    auto& slot = *static_cast<ClientSlot*>(token);
    slot.error.push("HttpGetter::responseErrorCb", -1,
                    "Connection error: reason=%d extraF=%x underlying=%d",
                    static_cast<int>(error->reason & reasonBits), error->reason & ~reasonBits,
                    static_cast<int>(error->underlying));
    ensureFailed(slot);
}

void HttpGetter::receive(ClientSlot& slot, ResponseProgress& progress, Response& response) {
    if (const std::int32_t abortCode = sink->getAbortCode(); abortCode != 0) {
        slot.error.push(progressCallback, -1, "Download aborted (%i)", abortCode);
        ensureFailed(slot);
        progress.cancel = 1;
        return;
    }
    if (slot.stream == nullptr) {
        slot.error.push(progressCallback, -1, "No stream to write to");
        ensureFailed(slot);
        progress.cancel = 1;
        return;
    }
    ReceivedBytes bytes;
    response.getResponseData(bytes.buffer);
    Norvel::Err error;
    const bool saved = bytes.buffer.saveTo(error, slot.stream);
    if (!saved) {
        slot.error = error.chain;
        ensureFailed(slot);
    }
    if (!saved || slot.error) {
        progress.cancel = 1;
        return;
    }
    const std::int64_t fresh = progress.received - slot.bytesReceived;
    slot.bytesReceived = progress.received;
    if (fresh > 0) {
        doneBytes.fetch_add(fresh);
        updateProgress();
    }
}

void HttpGetter::updateProgress() {
    if (totalBytes > 0) {
        sendPermille(doneBytes.load());
        sendMegabytes(doneBytes.load());
    }
}

void HttpGetter::sendPermille(std::int64_t done) {
    const float share = static_cast<float>(done) / static_cast<float>(totalBytes);
    const std::int32_t permille = truncateSaturated(share * 1000.0F + 0.5F);
    std::int32_t last = lastPermille.load();
    while (permille > last) {
        if (lastPermille.compare_exchange_weak(last, permille)) {
            sink->setProgress(permille);
            return;
        }
    }
}

void HttpGetter::sendMegabytes(std::int64_t done) {
    const std::int32_t megabytes = toMegabytes(done);
    if (lastMegabytes.exchange(megabytes) == megabytes) {
        return;
    }
    char suffix[64];
    Brelt::formatUnbounded(suffix, " (%dMB / %dMB)", megabytes, toMegabytes(totalBytes));
    Brelt::CharString text(stageText);
    text.append(suffix);
    sink->setProgressText(text.cstr());
}
