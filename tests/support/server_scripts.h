#pragma once

// Ready-made scripts for the scripted server: what sound servers do, and every way in which others
// break. Each gives a handler for `ScriptedServer::on`.

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "support/scripted_server.h"

namespace TestSupport {

/// The response, whole. The connection stays, unless the response says otherwise.
Handler answer(const Response& response);
/// These bytes, whatever they are. The connection stays, or is closed behind them.
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
Handler answerWithLength(std::string body, std::size_t claimed);

/// One chunk with the body, and then, in a chunk's place: something that isn't a size, or the end
/// of the connection.
Handler answerWithBadChunk(std::string body);
Handler answerWithoutLastChunk(std::string body);

/// Things without end; the connection closes only when the client does.
Handler sendEndlessHeaders();
Handler sendEndlessStatusLine();
Handler sendEndlessInterimResponses();
Handler sendEndlessBody();

/// The response, with `count` interim ones (100 Continue) in front of it.
Handler answerAfterInterim(int count, const Response& response);

/// A 204 with bytes behind its head.
Handler answerNoContentWithBody(std::string body);
/// A 302.
Handler redirectTo(std::string location);
/// Gzip, although nobody asked for it; `gzipSample` holds the very bytes of the body.
Handler answerCompressed();
std::string gzipSample();
/// Bytes that are no HTTP, and the end.
Handler answerGarbage();

/// The response as if the connection were to stay, and the end of the connection.
Handler answerAndClose(const Response& response);

/// The first request gets the first handler, the second the second; the last one stays.
Handler inTurn(std::vector<Handler> handlers);
/// `handler`, once the gate has opened.
Handler behindGate(Gate& gate, Handler handler);

}  // namespace TestSupport
