#include "hostile/broken_answers.h"

#include <chrono>
#include <string_view>
#include <utility>

#include "support/system_facts.h"

namespace TestSupport {

namespace {

using namespace std::chrono_literals;
using Outcome = BrokenAnswer::Outcome;
using Script = std::function<Handler(const std::string& body)>;
using Rows = std::vector<BrokenAnswer>;

std::string connectionError(int reason) {
    return "Connection error: reason=" + std::to_string(reason) + " ";
}

/// `reason` is libcurl's result code.
BrokenAnswer failing(const char* name, int reason, Script script) {
    return {name, Outcome::Fails, connectionError(reason), std::move(script)};
}

/// Where resets aren't shown, what the same bytes with an ordinary end are.
BrokenAnswer reset(const char* name, int reasonAtEnd, Script script) {
    return failing(name, showsResets() ? 56 : reasonAtEnd, std::move(script));
}

BrokenAnswer refused(const char* name, int status, Script script) {
    return {name, Outcome::Fails, "Unexpected HTTP status (" + std::to_string(status) + ")",
            std::move(script)};
}

BrokenAnswer arriving(const char* name, Script script,
                      std::function<std::string(const std::string&)> delivered = std::identity()) {
    return {name, Outcome::Arrives, {}, std::move(script), std::move(delivered)};
}

BrokenAnswer endless(const char* name, Handler handler) {
    return {name, Outcome::EndsByAbort, "Download aborted (7)",
            [handler = std::move(handler)](const std::string&) { return handler; }};
}

BrokenAnswer stalled(const char* name, Script script) {
    return {name, Outcome::EndsByTimeLimit, connectionError(28), std::move(script)};
}

enum class At { Once, StatusLine, Headers, BodysStart, Body, LastByte };

Script breaking(Break how, At place) {
    return [how, place](const std::string& body) {
        const std::string bytes = ok(body).bytes();
        const std::size_t bodyAt = bytes.size() - body.size();
        const std::size_t places[] = {
            0, 10, 25, bodyAt, bodyAt + body.size() / 2, bytes.size() - 1};
        return breakAt(bytes, places[static_cast<std::size_t>(place)], how);
    };
}

/// These header lines, the body and the end of the connection.
Script under(const std::string& lines) {
    return [lines](const std::string& body) {
        return answerBytesAndClose("HTTP/1.1 200 OK\r\n" + lines + "\r\n" + body);
    };
}

Script chunkOfSize(const std::string& sizeText) {
    return under("Transfer-Encoding: chunked\r\n\r\n" + sizeText);
}

Script withoutTheBody(Handler handler) {
    return [handler = std::move(handler)](const std::string&) { return handler; };
}

Script underStatus(int status) {
    return [status](const std::string& body) { return answer(withStatus(status, body)); };
}

Handler sendEndlessTrailers(const std::string& body) {
    return [start = inChunks(body, 4096)](Connection& client, const Request&) {
        client.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
        client.send(std::string_view(start).substr(0, start.size() - 2));
        client.sendForever("X-Trailer: 0123456789abcdef\r\n");
    };
}

Rows breaks() {
    const std::string megabyte(1'000'000, 'x');
    return {
        failing("ClosedAtOnce", 52, breaking(Break::Close, At::Once)),
        reset("ResetAtOnce", 52, breaking(Break::Reset, At::Once)),
        failing("ClosedInTheStatusLine", 52, breaking(Break::Close, At::StatusLine)),
        failing("ClosedInTheHeaders", 8, breaking(Break::Close, At::Headers)),
        reset("ResetInTheHeaders", 8, breaking(Break::Reset, At::Headers)),
        failing("ClosedBeforeTheBody", 18, breaking(Break::Close, At::BodysStart)),
        failing("ClosedInTheBody", 18, breaking(Break::Close, At::Body)),
        reset("ResetInTheBody", 18, breaking(Break::Reset, At::Body)),
        failing("ClosedBeforeTheLastByte", 18, breaking(Break::Close, At::LastByte)),
        stalled("StallsAtOnce", breaking(Break::Stall, At::Once)),
        stalled("StallsInTheHeaders", breaking(Break::Stall, At::Headers)),
        stalled("StallsInTheBody", breaking(Break::Stall, At::Body)),
        stalled("DripsItsHeaders",
                withoutTheBody(dripBytes("HTTP/1.1 200 OK\r\nX-Filler: " + megabyte, 1, 2ms))),
        endless("DripsItsBody", dripBytes("HTTP/1.1 200 OK\r\n\r\n" + megabyte, 40, 1ms)),
        endless("EndlessBody", sendEndlessBody()),
    };
}

Rows lies() {
    const auto longer = [](const std::string& body) {
        return answerWithLength(body, body.size() + 1'000);
    };
    const auto shorter = [](const std::string& body) {
        return answerWithLength(body, body.size() / 2);
    };
    return {
        failing("LessThanTold", 18, longer),
        arriving("MoreThanTold", shorter,
                 [](const std::string& body) { return body.substr(0, body.size() / 2); }),
        failing("NegativeLength", 8, under("Content-Length: -1\r\n")),
        failing("LengthBeyondAllNumbers", 63, under("Content-Length: 99999999999999999999\r\n")),
        failing("LengthOfNoNumber", 8, under("Content-Length: many\r\n")),
        failing("HugeLength", 18, under("Content-Length: 9223372036854775807\r\n")),
        failing("BadChunk", 56, answerWithBadChunk),
        failing("NoLastChunk", 18, answerWithoutLastChunk),
        failing("HugeChunk", 18, chunkOfSize("7fffffffffffffff")),
        failing("ChunkBeyondAllNumbers", 56, chunkOfSize("ffffffffffffffffff")),
        failing("NegativeChunk", 56, chunkOfSize("-5")),
        failing("EndlessTrailers", 56, sendEndlessTrailers),
        failing("ChunksTwice", 61, under("Transfer-Encoding: gzip, chunked\r\n")),
        failing("CodingNobodyAskedFor", 61, under("Transfer-Encoding: deflate\r\n")),
        arriving("CompressedBody", withoutTheBody(answerCompressed()),
                 [](const std::string&) { return gzipSample(); }),
    };
}

Rows strangeHeads() {
    const auto noHead = [](const std::string& body) {
        return answerBytesAndClose(body + "\r\n\r\n");
    };
    const auto switching = [](const std::string& body) {
        return answerBytesAndClose("HTTP/1.1 101 Switching Protocols\r\nUpgrade: x\r\n\r\n" + body);
    };
    return {
        failing("EndlessHeaders", 56, withoutTheBody(sendEndlessHeaders())),
        failing("EndlessStatusLine", 27, withoutTheBody(sendEndlessStatusLine())),
        failing("EndlessInterimResponses", 56, withoutTheBody(sendEndlessInterimResponses())),
        arriving("InterimResponses",
                 [](const std::string& body) { return answerAfterInterim(50, ok(body)); }),
        failing("Garbage", 1, withoutTheBody(answerGarbage())),
        failing("NoHeadAtAll", 1, noHead),
        failing("NulInAHeader", 8, under(std::string("X-A: b\0c\r\n", 10))),
        failing("SwitchesProtocols", 8, switching),
        refused("NoContentWithABody", 204, answerNoContentWithBody),
        refused("PartialContent", 206, underStatus(206)),
        refused("NotModified", 304, underStatus(304)),
        refused("RedirectToAFile", 302, withoutTheBody(redirectTo("file:///etc/passwd"))),
        refused("RedirectToItself", 302, withoutTheBody(redirectTo("/lib/id.txt"))),
        refused("ServerError", 503, underStatus(503)),
        arriving("ClosesAKeptConnection",
                 [](const std::string& body) { return answerAndClose(ok(body)); }),
    };
}

}  // namespace

const std::vector<BrokenAnswer>& brokenAnswers() {
    static const Rows table = [] {
        Rows rows;
        for (const Rows& part : {breaks(), lies(), strangeHeads()}) {
            rows.insert(rows.end(), part.begin(), part.end());
        }
        return rows;
    }();
    return table;
}

}  // namespace TestSupport
