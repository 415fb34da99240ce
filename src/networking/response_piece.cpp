// The way of a piece of a response from libcurl's buffer to the owner's stream: one copy, in
// `Buffer::saveTo`.

#include "networking/response_piece.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <utility>

#include "networking/norvel_networking.h"

namespace Norvel {

namespace {

constexpr const char* saveToName = "Norvel::Buffer::saveTo";

/// A stream's write takes 32 bits of size.
constexpr std::size_t largestWrite = std::size_t{1} << 30;

bool writeAll(const evbuffer& piece, Brelt::PStream& stream, Brelt::ErrorChain& error) {
    for (std::size_t done = 0; done < piece.size;) {
        const std::size_t chunk = std::min(piece.size - done, largestWrite);
        error = stream.WriteBuffer(piece.bytes + done, static_cast<std::int32_t>(chunk));
        if (error) {
            return false;
        }
        done += chunk;
    }
    return true;
}

bool writeGuarded(const evbuffer& piece, Brelt::PStream& stream, Brelt::ErrorChain& error) {
    try {
        return writeAll(piece, stream, error);
    } catch (const std::exception& exception) {
        error.push(saveToName, -1, "%s", exception.what());
    } catch (...) {
        error.push(saveToName, -1, "Unknown exception in a stream");
    }
    return false;
}

}  // namespace

bool Buffer::saveTo(Err& error, Brelt::PStream* stream) const {
    if (content == nullptr) {
        return true;
    }
    Brelt::ErrorChain failure;
    if (stream == nullptr) {
        failure.push(saveToName, -1, "No stream to write to");
    } else if (writeGuarded(*content, *stream, failure)) {
        return true;
    }
    content->refused = true;
    error.chain = std::move(failure);
    return false;
}

void internalEvbufferFree(evbuffer* content) {
    // The record is the transfer's own, so that a piece costs no allocation.
    if (content != nullptr) {
        content->bytes = nullptr;
        content->size = 0;
    }
}

namespace Networking {

void Response::getResponseData(Buffer& buffer) {
    const bool fresh = piece_ != nullptr && piece_->size > 0 && !piece_->taken;
    buffer.content = fresh ? piece_ : nullptr;
    if (fresh) {
        piece_->taken = true;
    }
}

}  // namespace Networking
}  // namespace Norvel
