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

/// Numbers are libcurl's result codes.
std::string connectionError(int reason) {
    return "Connection error: reason=" + std::to_string(reason) + " ";
}

/// Where resets aren't shown, what the same bytes with an ordinary end are.
std::string resetError(int reasonAtEnd) {
    return connectionError(showsResets() ? 56 : reasonAtEnd);
}

std::string status(int number) {
    return "Unexpected HTTP status (" + std::to_string(number) + ")";
}

BrokenAnswer failing(const char* name, std::string cause, Script script) {
    return {name, Outcome::Fails, std::move(cause), std::move(script)};
}

BrokenAnswer arriving(const char* name, Script script,
                      std::function<std::string(const std::string&)> delivered = {}) {
    if (!delivered) {
        delivered = [](const std::string& body) { return body; };
    }
    return {name, Outcome::Arrives, {}, std::move(script), std::move(delivered)};
}

BrokenAnswer endless(const char* name, Script script) {
    return {name, Outcome::EndsByAbort, "Download aborted (7)", std::move(script)};
}

BrokenAnswer stalled(const char* name, Script script) {
    return {name, Outcome::EndsByTimeLimit, connectionError(28), std::move(script)};
}

/// Where the body begins in the bytes of a sound answer.
std::size_t bodyAt(const std::string& body) {
    return ok(body).bytes().size() - body.size();
}

Script breaking(Break how, std::function<std::size_t(const std::string& body)> where) {
    return [how, where = std::move(where)](const std::string& body) {
        return breakAt(ok(body).bytes(), where(body), how);
    };
}

std::size_t atOnce(const std::string&) {
    return 0;
}

std::size_t inStatusLine(const std::string&) {
    return 10;
}

std::size_t inHeaders(const std::string&) {
    return 25;
}

std::size_t beforeTheBody(const std::string& body) {
    return bodyAt(body);
}

std::size_t inTheBody(const std::string& body) {
    return bodyAt(body) + body.size() / 2;
}

std::size_t beforeTheLastByte(const std::string& body) {
    return bodyAt(body) + body.size() - 1;
}

/// `lines` as the head's header lines, then the body and the end of the connection.
Script answeringWith(const std::string& lines, const std::string& behind = {}) {
    return [lines, behind](const std::string& body) {
        return answerBytesAndClose("HTTP/1.1 200 OK\r\n" + lines + "\r\n" + body + behind);
    };
}

std::string chunkHead(const std::string& sizeText, const std::string& body) {
    return "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + sizeText + "\r\n" + body;
}

Script chunkOfSize(const char* sizeText) {
    return [sizeText](const std::string& body) {
        return answerBytesAndClose(chunkHead(sizeText, body));
    };
}

Script ignoringTheBody(Handler handler) {
    return [handler = std::move(handler)](const std::string&) { return handler; };
}

Handler sendEndlessTrailers(const std::string& body) {
    const std::string start = inChunks(body, 4096);
    return [start](Connection& client, const Request&) {
        client.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
        client.send(std::string_view(start).substr(0, start.size() - 2));
        client.sendForever("X-Trailer: 0123456789abcdef\r\n");
    };
}

void addBreaks(std::vector<BrokenAnswer>& table) {
    table.push_back(failing("ClosedAtOnce", connectionError(52), breaking(Break::Close, atOnce)));
    table.push_back(failing("ResetAtOnce", resetError(52), breaking(Break::Reset, atOnce)));
    table.push_back(failing("ClosedInTheStatusLine", connectionError(52),
                            breaking(Break::Close, inStatusLine)));
    table.push_back(
        failing("ClosedInTheHeaders", connectionError(8), breaking(Break::Close, inHeaders)));
    table.push_back(failing("ResetInTheHeaders", resetError(8), breaking(Break::Reset, inHeaders)));
    table.push_back(
        failing("ClosedBeforeTheBody", connectionError(18), breaking(Break::Close, beforeTheBody)));
    table.push_back(
        failing("ClosedInTheBody", connectionError(18), breaking(Break::Close, inTheBody)));
    table.push_back(failing("ResetInTheBody", resetError(18), breaking(Break::Reset, inTheBody)));
    table.push_back(failing("ClosedBeforeTheLastByte", connectionError(18),
                            breaking(Break::Close, beforeTheLastByte)));
    table.push_back(stalled("StallsAtOnce", breaking(Break::Stall, atOnce)));
    table.push_back(stalled("StallsInTheHeaders", breaking(Break::Stall, inHeaders)));
    table.push_back(stalled("StallsInTheBody", breaking(Break::Stall, inTheBody)));
    table.push_back(stalled("DripsItsHeaders", [](const std::string&) {
        return dripBytes("HTTP/1.1 200 OK\r\nX-Filler: " + std::string(1'000'000, 'x'), 1, 2ms);
    }));
    table.push_back(endless("DripsItsBody", [](const std::string&) {
        return dripBytes("HTTP/1.1 200 OK\r\n\r\n" + std::string(1'000'000, 'x'), 40, 1ms);
    }));
    table.push_back(endless("EndlessBody", ignoringTheBody(sendEndlessBody())));
}

void addLies(std::vector<BrokenAnswer>& table) {
    table.push_back(failing("LessThanTold", connectionError(18), [](const std::string& body) {
        return answerWithLength(body, body.size() + 1'000);
    }));
    table.push_back(arriving(
        "MoreThanTold",
        [](const std::string& body) { return answerWithLength(body, body.size() / 2); },
        [](const std::string& body) { return body.substr(0, body.size() / 2); }));
    table.push_back(
        failing("NegativeLength", connectionError(8), answeringWith("Content-Length: -1\r\n")));
    table.push_back(failing("LengthBeyondAllNumbers", connectionError(63),
                            answeringWith("Content-Length: 99999999999999999999\r\n")));
    table.push_back(
        failing("LengthOfNoNumber", connectionError(8), answeringWith("Content-Length: many\r\n")));
    table.push_back(failing("HugeLength", connectionError(18),
                            answeringWith("Content-Length: 9223372036854775807\r\n")));
    table.push_back(failing("BadChunk", connectionError(56), answerWithBadChunk));
    table.push_back(failing("NoLastChunk", connectionError(18), answerWithoutLastChunk));
    table.push_back(failing("HugeChunk", connectionError(18), chunkOfSize("7fffffffffffffff")));
    table.push_back(
        failing("ChunkBeyondAllNumbers", connectionError(56), chunkOfSize("ffffffffffffffffff")));
    table.push_back(failing("NegativeChunk", connectionError(56), chunkOfSize("-5")));
    table.push_back(failing("EndlessTrailers", connectionError(56), sendEndlessTrailers));
    table.push_back(failing("ChunksTwice", connectionError(61),
                            answeringWith("Transfer-Encoding: gzip, chunked\r\n")));
    table.push_back(failing("CodingNobodyAskedFor", connectionError(61),
                            answeringWith("Transfer-Encoding: deflate\r\n")));
    table.push_back(arriving("CompressedBody", ignoringTheBody(answerCompressed()),
                             [](const std::string&) { return gzipSample(); }));
}

void addStrangeHeads(std::vector<BrokenAnswer>& table) {
    table.push_back(
        failing("EndlessHeaders", connectionError(56), ignoringTheBody(sendEndlessHeaders())));
    table.push_back(failing("EndlessStatusLine", connectionError(27),
                            ignoringTheBody(sendEndlessStatusLine())));
    table.push_back(failing("EndlessInterimResponses", connectionError(56),
                            ignoringTheBody(sendEndlessInterimResponses())));
    table.push_back(arriving("InterimResponses", [](const std::string& body) {
        return answerAfterInterim(50, ok(body));
    }));
    table.push_back(failing("Garbage", connectionError(1), ignoringTheBody(answerGarbage())));
    table.push_back(failing("NoHeadAtAll", connectionError(1), [](const std::string& body) {
        return answerBytesAndClose(body + "\r\n\r\n");
    }));
    table.push_back(failing("NulInAHeader", connectionError(8),
                            answeringWith(std::string("X-A: b\0c\r\n", 10))));
    table.push_back(failing("SwitchesProtocols", connectionError(8), [](const std::string& body) {
        return answerBytesAndClose("HTTP/1.1 101 Switching Protocols\r\nUpgrade: x\r\n\r\n" + body);
    }));
    table.push_back(failing("NoContentWithABody", status(204), answerNoContentWithBody));
    table.push_back(failing("PartialContent", status(206),
                            [](const std::string& body) { return answer(withStatus(206, body)); }));
    table.push_back(failing("NotModified", status(304),
                            [](const std::string& body) { return answer(withStatus(304, body)); }));
    table.push_back(
        failing("RedirectToAFile", status(302), ignoringTheBody(redirectTo("file:///etc/passwd"))));
    table.push_back(
        failing("RedirectToItself", status(302), ignoringTheBody(redirectTo("/lib/id.txt"))));
    table.push_back(failing("ServerError", status(503),
                            [](const std::string& body) { return answer(withStatus(503, body)); }));
    table.push_back(arriving("ClosesAKeptConnection",
                             [](const std::string& body) { return answerAndClose(ok(body)); }));
}

}  // namespace

const std::vector<BrokenAnswer>& brokenAnswers() {
    static const std::vector<BrokenAnswer> table = [] {
        std::vector<BrokenAnswer> rows;
        addBreaks(rows);
        addLies(rows);
        addStrangeHeads(rows);
        return rows;
    }();
    return table;
}

}  // namespace TestSupport
