// Responses that break, lie or never end: each is one error with libcurl's result code, and the
// pool goes on.

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "foundation/pmem_stream.h"
#include "networking/fetcher.h"
#include "support/scripted_server.h"
#include "support/server_scripts.h"
#include "support/system_facts.h"

using TestSupport::Break;
using TestSupport::breakAt;
using TestSupport::Connection;
using TestSupport::FetchedResponse;
using TestSupport::Fetcher;
using TestSupport::Handler;
using TestSupport::ok;
using TestSupport::Request;
using TestSupport::ScriptedServer;

namespace {

constexpr std::uint32_t statusKnown = 0x1000;

struct BrokenResponse {
    const char* name;
    Handler script;
    CURLcode reason;
    std::uint32_t flags;
};

std::vector<BrokenResponse> brokenResponses() {
    const std::string whole = ok("0123456789").bytes();
    const std::size_t bodyAt = whole.size() - 10;
    const bool resets = TestSupport::showsResets();
    return {
        {"closed at once", breakAt(whole, 0, Break::Close), CURLE_GOT_NOTHING, 0},
        {"reset at once", breakAt(whole, 0, Break::Reset),
         resets ? CURLE_RECV_ERROR : CURLE_GOT_NOTHING, 0},
        {"ends in the status line", breakAt(whole, 10, Break::Close), CURLE_GOT_NOTHING, 0},
        {"ends in a header", breakAt(whole, 25, Break::Close), CURLE_WEIRD_SERVER_REPLY, 0},
        {"ends behind a length", breakAt(whole, bodyAt - 2, Break::Close), CURLE_PARTIAL_FILE, 0},
        {"ends before the body", breakAt(whole, bodyAt, Break::Close), CURLE_PARTIAL_FILE,
         statusKnown},
        {"ends in the body", breakAt(whole, bodyAt + 3, Break::Close), CURLE_PARTIAL_FILE,
         statusKnown},
        {"reset in the body", breakAt(whole, bodyAt + 3, Break::Reset),
         resets ? CURLE_RECV_ERROR : CURLE_PARTIAL_FILE, statusKnown},
        {"shorter than told", TestSupport::answerWithLength("abc", 1'000), CURLE_PARTIAL_FILE,
         statusKnown},
        {"bad chunk", TestSupport::answerWithBadChunk("abc"), CURLE_RECV_ERROR, statusKnown},
        {"no last chunk", TestSupport::answerWithoutLastChunk("abc"), CURLE_PARTIAL_FILE,
         statusKnown},
        {"no HTTP", TestSupport::answerGarbage(), CURLE_UNSUPPORTED_PROTOCOL, 0},
        {"endless headers", TestSupport::sendEndlessHeaders(), CURLE_RECV_ERROR, 0},
        {"endless status line", TestSupport::sendEndlessStatusLine(), CURLE_OUT_OF_MEMORY, 0},
        {"endless interim responses", TestSupport::sendEndlessInterimResponses(), CURLE_RECV_ERROR,
         0},
        {"a coding nobody asked for",
         TestSupport::answer(ok("abc") + std::pair("Transfer-Encoding", "gzip")),
         CURLE_BAD_CONTENT_ENCODING, 0},
        {"only an interim response, and the end",
         TestSupport::answerBytesAndClose("HTTP/1.1 100 Continue\r\n\r\n"), CURLE_GOT_NOTHING, 0},
    };
}

}  // namespace

TEST(HttpFailure, EachBrokenResponseIsOneErrorAndIsNeverTriedAgain) {
    for (const BrokenResponse& broken : brokenResponses()) {
        ScriptedServer server;
        server.on("/broken", broken.script);
        server.on("/sound", ok("sound"));
        Fetcher fetcher(1);
        fetcher.useServer(server.port());

        const FetchedResponse response = fetcher.fetch("/broken");

        EXPECT_EQ(response.reason(), static_cast<int>(broken.reason)) << broken.name;
        EXPECT_EQ(response.flags(), broken.flags) << broken.name;
        EXPECT_EQ(response.status, broken.flags == 0 ? 0 : 200) << broken.name;
        EXPECT_EQ(server.requestCount("/broken"), 1) << broken.name;
        EXPECT_EQ(fetcher.fetch("/sound").body, "sound") << broken.name;
    }
}

TEST(HttpFailure, RefusedConnectionTellsTheSystemsError) {
    int port = 0;
    {
        const ScriptedServer gone;
        port = gone.port();
    }
    Fetcher fetcher(1);
    fetcher.useServer(port);
    for (int i = 0; i < 2; ++i) {
        const FetchedResponse response = fetcher.fetch("/");
        EXPECT_EQ(response.reason(), CURLE_COULDNT_CONNECT);
        EXPECT_EQ(response.underlying(), TestSupport::connectionRefused);
    }
}

TEST(HttpFailure, ErrorOfAnEarlierRequestIsNotToldAgain) {
    if (!TestSupport::showsResets()) {
        GTEST_SKIP() << "a reset is the error, and Wine shows it as an ordinary end";
    }
    ScriptedServer server;
    server.on("/reset", breakAt(ok("0123456789").bytes(), 42, Break::Reset));
    server.on("/short", TestSupport::answerWithLength("abc", 1'000));
    Fetcher fetcher(1);
    fetcher.useServer(server.port());
    EXPECT_EQ(fetcher.fetch("/reset").underlying(), TestSupport::connectionReset);
    EXPECT_EQ(fetcher.fetch("/short").underlying(), 0U);
}

// What happens to a request on a connection that has served one before.
TEST(HttpFailure, ReusedConnectionThatClosesWithoutAnswerIsTriedOnceMoreOnANewOne) {
    struct Case {
        const char* name;
        Handler script;
        int reason;
        int requests;
    };
    const Handler close = breakAt("", 0, Break::Close);
    const std::vector<Case> cases = {
        {"closes once", TestSupport::inTurn({close, TestSupport::answer(ok("second"))}), CURLE_OK,
         2},
        {"closes always", close, CURLE_GOT_NOTHING, 2},
        {"closes behind a line", TestSupport::answerBytesAndClose("HTTP/1.1 200 OK\r\n"),
         CURLE_WEIRD_SERVER_REPLY, 1},
    };
    for (const Case& test : cases) {
        ScriptedServer server;
        server.on("/warm", ok("warm"));
        server.on("/again", test.script);
        Fetcher fetcher;
        fetcher.useServer(server.port());
        EXPECT_EQ(fetcher.fetch("/warm").body, "warm");

        const FetchedResponse response = fetcher.fetch("/again");

        EXPECT_EQ(response.reason(), test.reason) << test.name;
        EXPECT_EQ(server.requestCount("/again"), test.requests) << test.name;
    }
}

TEST(HttpFailure, SecondAttemptUsesNoOtherWaitingConnection) {
    ScriptedServer server;
    TestSupport::Gate& gate = server.makeGate(Fetcher::clientCount);
    server.on("/warm", TestSupport::behindGate(gate, TestSupport::answer(ok("warm"))));
    server.on("/again", [](Connection& client, const Request& request) {
        if (request.indexOnConnection > 0) {
            client.close();
        } else {
            client.send(ok("on a new one"));
        }
    });
    Fetcher fetcher;
    fetcher.useServer(server.port());
    std::vector<FetchedResponse> warm(Fetcher::clientCount);
    for (FetchedResponse& response : warm) {
        EXPECT_EQ(fetcher.start("/warm", response), "");
    }
    fetcher.waitForAll();

    EXPECT_EQ(fetcher.fetch("/again").body, "on a new one");
    EXPECT_EQ(server.requestCount("/again"), 2);
}

namespace {

/// Takes some bytes and then fails in its own way.
class FailingStream : public Brelt::PMemStream {
public:
    enum class Way { Refuses, Shortens, OutOfMemory, Throws };

    explicit FailingStream(Way way) : PMemStream(4096), way_(way) {}

    Brelt::ErrorChain Write(const void* source, std::int32_t count,
                            std::int32_t* written) override {
        *written = 0;
        switch (way_) {
            case Way::Refuses:
                return Brelt::ErrorChain::make("FailingStream::Write", 112, "full");
            case Way::Shortens:
                return PMemStream::Write(source, count / 2, written);
            case Way::OutOfMemory:
                throw std::bad_alloc();
            case Way::Throws:
                throw 7;
        }
        return {};
    }

private:
    Way way_;
};

}  // namespace

TEST(HttpFailure, StreamThatFailsEndsItsRequestAlone) {
    ScriptedServer server;
    server.on("/file", ok("0123456789"));
    struct Case {
        FailingStream::Way way;
        std::string text;
    };
    for (const Case& test : std::vector<Case>{
             {FailingStream::Way::Refuses, "[FailingStream::Write] 112: full"},
             {FailingStream::Way::Shortens, "[PStream::WriteBuffer] -1: 5 of 10 bytes written"},
             {FailingStream::Way::OutOfMemory, "[Norvel::Buffer::saveTo] -1: std::bad_alloc"},
             {FailingStream::Way::Throws,
              "[Norvel::Buffer::saveTo] -1: Unknown exception in a stream"}}) {
        Fetcher fetcher;
        fetcher.useServer(server.port());
        FailingStream stream(test.way);
        FetchedResponse response;
        response.stream = &stream;
        fetcher.fetch("/file", response);
        // The owner's callback went on as if nothing had happened: the library didn't.
        EXPECT_EQ(response.reason(), CURLE_WRITE_ERROR);
        EXPECT_EQ(response.writeError.toCharString() == test.text.c_str(), true)
            << response.writeError.toCharString().cstr();
        EXPECT_EQ(fetcher.fetch("/file").body, "0123456789");
    }
}

TEST(HttpFailure, ExceptionOfACallbackBecomesAnErrorOfItsRequest) {
    ScriptedServer server;
    server.on("/file", ok("0123456789"));
    Fetcher fetcher;
    fetcher.useServer(server.port());
    FetchedResponse response;
    response.wantsStop = []() -> bool { throw std::runtime_error("in a callback"); };
    fetcher.fetch("/file", response);
    EXPECT_EQ(response.reason(), CURLE_ABORTED_BY_CALLBACK);
    EXPECT_EQ(fetcher.fetch("/file").body, "0123456789");
}
