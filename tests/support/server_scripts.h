#pragma once

// Ready-made scripts for the scripted server: what sound servers do, and every way in which others
// break. Each gives a handler for `ScriptedServer::on`.

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "support/scripted_server.h"

namespace TestSupport {

/// These bytes, whatever they are, or a response's. The connection stays, or is closed behind them.
Handler answer(const Response& response);
Handler answerBytes(std::string bytes);
Handler answerBytesAndClose(std::string bytes);

enum class Break {
    Close,
    Reset,
    /// Nothing more until `ScriptedServer::release`; then the rest.
    Stall,
};

/// The first `at` bytes, then the break. With 0 it comes before any answer.
Handler breakAt(std::string bytes, std::size_t at, Break how);

/// The bytes, `piece` per `interval`.
Handler dripBytes(std::string bytes, std::size_t piece, std::chrono::milliseconds interval);

/// A body under a false Content-Length. With a longer one the connection is closed behind the body,
/// with a shorter one it stays, and the bytes too many stand where the next response is expected.
Handler answerWithLength(const std::string& body, std::size_t claimed);

/// The body in chunks, and then, in the last chunk's place: something that isn't a size, or the end
/// of the connection.
Handler answerWithBadChunk(std::string_view body);
Handler answerWithoutLastChunk(std::string_view body);

/// `start` and then `piece` without end; the connection closes only when the client does.
Handler sendEndless(std::string start, std::string piece);
Handler sendEndlessBody();

/// A 302.
Handler redirectTo(std::string location);
/// Gzip, although nobody asked for it; `gzipSample` holds the very bytes of the body.
Handler answerCompressed();
std::string gzipSample();

/// `handler`, once the server has been asked so often.
Handler onceAsked(const ScriptedServer& server, std::size_t requests, Handler handler);

}  // namespace TestSupport
