// A whole run against a server that breaks one answer: each way of breaking, at the stamp, at the
// list, and at a file while others are fed and while the last ones are drained.

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <string_view>
#include <utility>

#include "hostile/besieged.h"
#include "networking/fetcher.h"
#include "support/system_facts.h"

using namespace std::chrono_literals;
using namespace TestSupport;

namespace {

/// A way in which an answer can be broken, with what a run makes of it.
struct BrokenAnswer {
    enum class Outcome {
        /// The request fails with `cause`.
        Fails,
        /// Nothing is wrong as far as anyone can see: `delivered` tells what of the body arrives.
        Arrives,
        /// It would go on for ever, and ends when the host wants it.
        EndsByAbort,
        EndsByTimeLimit,
    };

    const char* name;
    Outcome outcome;
    /// How the message of the chain's last node begins.
    std::string cause;
    /// The handler that breaks the answer with this body.
    std::function<Handler(const std::string& body)> script;
    std::function<std::string(const std::string& body)> delivered = {};
};

std::ostream& operator<<(std::ostream& stream, const BrokenAnswer& answer) {
    return stream << answer.name;
}

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

Script endlessFrom(const char* start, const std::string& piece) {
    return withoutTheBody(sendEndless(start, piece));
}

std::string garbage() {
    std::string bytes;
    for (int i = 0; i < 1024; ++i) {
        bytes += static_cast<char>(i * 7 + 0x80);
    }
    return bytes;
}

Handler sendEndlessTrailers(const std::string& body) {
    std::string start = okInChunks(body);
    start.resize(start.size() - 2);
    return sendEndless(start, "X-Trailer: 0123456789abcdef\r\n");
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
    const std::string interim = "HTTP/1.1 100 Continue\r\n\r\n";
    const auto withInterim = [interim](const std::string& body) {
        std::string bytes;
        for (int i = 0; i < 50; ++i) {
            bytes += interim;
        }
        return answerBytes(bytes + ok(body).bytes());
    };
    const auto noHead = [](const std::string& body) {
        return answerBytesAndClose(body + "\r\n\r\n");
    };
    const auto switching = [](const std::string& body) {
        return answerBytesAndClose("HTTP/1.1 101 Switching Protocols\r\nUpgrade: x\r\n\r\n" + body);
    };
    return {
        failing("EndlessHeaders", 56,
                endlessFrom("HTTP/1.1 200 OK\r\n", "X-Filler: 0123456789abcdef\r\n")),
        failing("EndlessStatusLine", 27, endlessFrom("HTTP/1.1 200 ", "O")),
        failing("EndlessInterimResponses", 56, endlessFrom("", interim)),
        arriving("InterimResponses", withInterim),
        failing("Garbage", 1, withoutTheBody(answerBytesAndClose(garbage()))),
        failing("NoHeadAtAll", 1, noHead),
        failing("NulInAHeader", 8, under(std::string("X-A: b\0c\r\n", 10))),
        failing("SwitchesProtocols", 8, switching),
        refused("NoContentWithABody", 204, underStatus(204)),
        refused("PartialContent", 206, underStatus(206)),
        refused("NotModified", 304, underStatus(304)),
        refused("RedirectToAFile", 302, withoutTheBody(redirectTo("file:///etc/passwd"))),
        refused("RedirectToItself", 302, withoutTheBody(redirectTo("/lib/id.txt"))),
        refused("ServerError", 503, underStatus(503)),
        arriving("ClosesAKeptConnection",
                 [](const std::string& body) { return answerBytesAndClose(ok(body).bytes()); }),
    };
}

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

struct Place {
    const char* file;
    /// The node that the step puts on top of the request's failure; "" where that stands alone.
    const char* function;
    const char* message;
};

constexpr Place stamp{"id.txt", "DownloaderImpl::readRemoteIdFile",
                      "Could not download remote stamp file"};
constexpr Place list{"filelist.json", "DownloaderImpl::downloadListFile",
                     "Could not download list file"};
constexpr Place fedFile{"f1.tx", "DownloaderImpl::downloadFiles",
                        "Downloading \"f1.tx\" file failed"};
constexpr Place drainedFile{"f1.tx", "", ""};

/// One broken answer at one place.
class Siege {
public:
    Siege(const BrokenAnswer& answer, const Place& place) : answer_(answer), place_(place) {
        if (&place == &drainedFile) {
            ground_.library.files.resize(1);
            ground_.serveSoundly();
        }
        ground_.target.write("inside/id.txt", "old");
        const std::string body = ground_.library.served().at(place.file);
        const Handler broken = answer.script(body);
        if (&place == &fedFile) {
            holdTheOthers(broken);
        } else {
            ground_.server.on(brokenTarget(), broken);
        }
        if (answer.outcome == Outcome::Arrives) {
            takeForTrue(answer.delivered(body));
            isDamagedList_ = &place == &list && answer.delivered(body) != body;
        } else if (answer.outcome == Outcome::EndsByAbort) {
            ground_.sink.abortAfterPolls(60, 7);
        }
    }

    void run() {
        const std::int32_t result = runWithLimits();
        EXPECT_EQ(ground_.brokenPromises(), Lines{});
        if (answer_.outcome == Outcome::Arrives && !isDamagedList_) {
            EXPECT_EQ(result, 0) << ground_.sink.errorText();
            EXPECT_EQ(differences(ground_.library.expected(), ground_.tree()), Lines{});
        } else {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(ground_.stampOnDisk(), "old");
            expectChain();
        }
        ground_.expectHealing();
    }

private:
    std::int32_t runWithLimits() {
        ShortLimits limits;
        limits->progressInterval = 5ms;
        if (answer_.outcome == Outcome::EndsByTimeLimit) {
            limits->stallTime = 500ms;
        }
        const std::int32_t result = ground_.download();
        ground_.destroy();
        return result;
    }

    std::string brokenTarget() const { return std::string("/lib/") + place_.file; }

    /// The other four that run only trickle until the broken one's outcome is in. Each poll follows
    /// a look of the network thread at all its sockets, so after so many of them the outcome of the
    /// broken one is what the feed phase sees next.
    void holdTheOthers(const Handler& broken) {
        auto pollsInTheEnd = std::make_shared<std::atomic<std::int32_t>>(-1);
        ground_.server.on(brokenTarget(), [this, broken, pollsInTheEnd](Connection& client,
                                                                        const Request& request) {
            broken(client, request);
            *pollsInTheEnd = ground_.sink.polls() + 40;
        });
        for (const char* name : {"f2.tx", "wood/f3.tx", "wood/oak/f4.jpeg.tx", "f5.tx"}) {
            const std::string bytes = ok(ground_.library.served().at(name)).bytes();
            ground_.server.on(std::string("/lib/") + name, [this, bytes, pollsInTheEnd](
                                                               Connection& client, const Request&) {
                std::string_view rest = bytes;
                while (rest.size() > 2 && client.isOpen() &&
                       (*pollsInTheEnd < 0 || ground_.sink.polls() < *pollsInTheEnd)) {
                    client.drip(rest.substr(0, 2), 1, 5ms);
                    rest.remove_prefix(2);
                }
                client.send(rest);
            });
        }
    }

    void expectChain() const {
        const std::vector<ErrorLine> nodes = ground_.sink.errorNodes();
        SCOPED_TRACE(ground_.sink.errorText());
        const bool standsAlone = isDamagedList_ || &place_ == &drainedFile;
        ASSERT_EQ(nodes.size(), standsAlone ? 1U : 2U);
        const std::string cause =
            isDamagedList_ ? "Parsing json file list failed: " : answer_.cause;
        EXPECT_EQ(nodes.back().message.substr(0, cause.size()), cause);
        if (!standsAlone) {
            EXPECT_EQ(nodes[0].function, place_.function);
            // The others see an abort as well, and any may be the first.
            if (&place_ != &fedFile || answer_.outcome != Outcome::EndsByAbort) {
                EXPECT_EQ(nodes[0].message, place_.message);
            }
        }
    }

    /// A server may serve what it likes: what arrives undisturbed is what it has.
    void takeForTrue(const std::string& delivered) {
        if (&place_ == &stamp) {
            ground_.library.stamp = delivered;
        } else if (&place_ != &list) {
            ground_.library.files.front().content = delivered;
        }
    }

    const BrokenAnswer& answer_;
    const Place& place_;
    bool isDamagedList_ = false;
    Besieged ground_;
};

class BrokenServer : public testing::TestWithParam<BrokenAnswer> {};

TEST_P(BrokenServer, EndsInOneTruthfulResultAtEachPlaceAndLeavesNothingOver) {
    for (const Place* place : {&stamp, &list, &fedFile, &drainedFile}) {
        SCOPED_TRACE(std::string(place->function) + " at " + place->file);
        expectNothingLeftOver([&] { Siege(GetParam(), *place).run(); });
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, BrokenServer, testing::ValuesIn(brokenAnswers()),
                         [](const auto& row) { return std::string(row.param.name); });

/// One run that breaks at the list, another way each time, and one that heals.
void breakAndHeal(int i) {
    const std::vector<BrokenAnswer>& answers = brokenAnswers();
    const BrokenAnswer& answer = answers[static_cast<std::size_t>(i) % answers.size()];
    Besieged ground;
    if (answer.outcome != BrokenAnswer::Outcome::EndsByTimeLimit) {
        ground.server.on("/lib/filelist.json", answer.script(ground.library.fileList()));
        ground.sink.abortAfterPolls(60, 7);
        ground.download();
    }
    ground.expectHealing();
}

TEST(Load, ManyRunsOneAfterTheOtherKeepMemoryDescriptorsAndThreadsFlat) {
    expectNothingLeftOver([] {
        const int runs = longOrShort(4'000, 100);
        long long before = 0;
        for (int i = 0; i < runs; ++i) {
            breakAndHeal(i);
            before = i == runs / 2 ? allocatedBytes() : before;
        }
        // What the C library keeps for threads that have ended goes up and down a little.
        constexpr long long slack = 65536;
        EXPECT_LE(allocatedBytes(), before + slack);
    });
}

}  // namespace
