// Requests that fail: each is one error with libcurl's result code, and the pool goes on.

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "networking/fetcher.h"
#include "support/peers.h"
#include "support/server_scripts.h"
#include "support/system_facts.h"

using namespace TestSupport;
using Brelt::ErrorChain;

namespace {

struct BrokenResponse {
    const char* name;
    Handler script;
    int reason;
    bool statusKnown;
};

// What else a server can break, whole runs meet.
std::vector<BrokenResponse> brokenResponses() {
    const std::string whole = ok("0123456789").bytes();
    const std::size_t bodyAt = whole.size() - 10;
    const int reset = showsResets() ? CURLE_RECV_ERROR : CURLE_PARTIAL_FILE;
    return {
        {"closed at once", breakAt(whole, 0, Break::Close), CURLE_GOT_NOTHING, false},
        {"ends behind a length", breakAt(whole, bodyAt - 2, Break::Close), CURLE_PARTIAL_FILE,
         false},
        {"ends in the body", breakAt(whole, bodyAt + 3, Break::Close), CURLE_PARTIAL_FILE, true},
        {"reset in the body", breakAt(whole, bodyAt + 3, Break::Reset), reset, true},
        {"bad chunk", answerWithBadChunk("abc"), CURLE_RECV_ERROR, true},
        {"only an interim response", answerBytesAndClose("HTTP/1.1 100 Continue\r\n\r\n"),
         CURLE_GOT_NOTHING, false},
    };
}

/// Fails in its own way.
class FailingStream : public Brelt::PMemStream {
public:
    using Way = ErrorChain (*)(std::int32_t count, std::int32_t& written);

    explicit FailingStream(Way way) : PMemStream(4096), way_(way) {}

    ErrorChain Write(const void* /*source*/, std::int32_t count, std::int32_t* written) override {
        *written = 0;
        return way_(count, *written);
    }

private:
    Way way_;
};

void onlyOnANewConnection(Connection& client, const Request& request) {
    if (request.indexOnConnection > 0) {
        client.close();
    } else {
        client.send(ok("on a new one"));
    }
}

class HttpFailure : public testing::Test, protected Exchange {};

}  // namespace

TEST_F(HttpFailure, EachBrokenResponseIsOneErrorAndIsNeverTriedAgain) {
    for (const BrokenResponse& broken : brokenResponses()) {
        SCOPED_TRACE(broken.name);
        Exchange one(1);
        one.server.on("/broken", broken.script);
        one.server.on("/sound", ok("sound"));
        const FetchedResponse response = one.fetcher.fetch("/broken");
        EXPECT_EQ(response.reason(), broken.reason);
        EXPECT_EQ(response.flags(), broken.statusKnown ? 0x1000U : 0U);
        EXPECT_EQ(response.status, broken.statusKnown ? 200 : 0);
        EXPECT_EQ(one.server.requestCount("/broken"), 1);
        EXPECT_EQ(one.fetcher.fetch("/sound").body, "sound");
    }
}

TEST_F(HttpFailure, RefusedConnectionTellsTheSystemsErrorEachTime) {
    Fetcher alone(1);
    alone.useServer(freePort());
    for (int i = 0; i < 2; ++i) {
        const FetchedResponse response = alone.fetch("/");
        EXPECT_EQ(response.reason(), CURLE_COULDNT_CONNECT);
        EXPECT_EQ(response.underlying(), connectionRefused);
    }
}

TEST_F(HttpFailure, ErrorOfAnEarlierRequestIsNotToldAgain) {
    if (!showsResets()) {
        GTEST_SKIP() << "a reset is the error, and Wine shows it as an ordinary end";
    }
    Exchange one(1);
    one.server.on("/reset", breakAt(ok("0123456789").bytes(), 42, Break::Reset));
    one.server.on("/short", answerWithLength("abc", 1'000));
    EXPECT_EQ(one.fetcher.fetch("/reset").underlying(), connectionReset);
    EXPECT_EQ(one.fetcher.fetch("/short").underlying(), 0U);
}

TEST_F(HttpFailure, ReusedConnectionThatClosesWithoutAnswerIsTriedOnceMoreOnANewOne) {
    const Handler close = breakAt("", 0, Break::Close);
    const struct {
        const char* name;
        Handler script;
        int reason;
        int requests;
    } cases[] = {
        {"closes once", onlyOnANewConnection, CURLE_OK, 2},
        {"closes always", close, CURLE_GOT_NOTHING, 2},
        {"closes behind a line", answerBytesAndClose("HTTP/1.1 200 OK\r\n"),
         CURLE_WEIRD_SERVER_REPLY, 1},
    };
    for (const auto& test : cases) {
        Exchange exchange;
        exchange.server.on("/warm", ok("warm"));
        exchange.server.on("/again", test.script);
        EXPECT_EQ(exchange.fetcher.fetch("/warm").body, "warm");
        EXPECT_EQ(exchange.fetcher.fetch("/again").reason(), test.reason) << test.name;
        EXPECT_EQ(exchange.server.requestCount("/again"), test.requests) << test.name;
    }
}

TEST_F(HttpFailure, SecondAttemptUsesNoOtherWaitingConnection) {
    server.on("/warm", onceAsked(server, Fetcher::clientCount, answer(ok("warm"))));
    server.on("/again", onlyOnANewConnection);
    std::vector<FetchedResponse> warm(Fetcher::clientCount);
    fetcher.startAll("/warm", warm);
    fetcher.waitForAll();
    EXPECT_EQ(server.connections(), Fetcher::clientCount);
    EXPECT_EQ(fetcher.fetch("/again").body, "on a new one");
    EXPECT_EQ(server.requestCount("/again"), 2);
}

TEST_F(HttpFailure, ConnectionsThatDieBetweenRequestsNeverWearAClientOut) {
    Exchange one(1);
    one.server.on("/file", onlyOnANewConnection);
    // libcurl refuses the sixth second attempt of one handle.
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(one.fetcher.fetch("/file").body, "on a new one");
    }
    EXPECT_EQ(one.server.requestCount("/file"), 19);
}

TEST_F(HttpFailure, FoldedFirstLineIsNotAppendedToTheHeadersOfTheRequestBefore) {
    Exchange one(1);
    one.server.on("/sound", ok("sound"));
    one.server.on("/folded",
                  answerBytes("HTTP/1.1 200 OK\r\n folded: x\r\nContent-Length: 0\r\n\r\n"));
    EXPECT_EQ(one.fetcher.fetch("/sound").body, "sound");
    EXPECT_EQ(one.fetcher.fetch("/folded").reason(), CURLE_BAD_FUNCTION_ARGUMENT);
}

TEST_F(HttpFailure, StreamThatFailsEndsItsRequestAlone) {
    server.on("/file", ok("0123456789"));
    const std::pair<FailingStream::Way, const char*> cases[] = {
        {[](auto, auto&) { return ErrorChain::make("FailingStream::Write", 112, "full"); },
         "[FailingStream::Write] 112: full"},
        {[](auto count, auto& written) {
             written = count / 2;
             return ErrorChain();
         },
         "[PStream::WriteBuffer] -1: 5 of 10 bytes written"},
        {[](auto, auto&) -> ErrorChain { throw std::bad_alloc(); },
         "[Norvel::Buffer::saveTo] -1: std::bad_alloc"},
        {[](auto, auto&) -> ErrorChain { throw 7; },
         "[Norvel::Buffer::saveTo] -1: Unknown exception in a stream"},
    };
    for (const auto& [way, text] : cases) {
        FailingStream stream(way);
        FetchedResponse response;
        response.stream = &stream;
        fetcher.fetch("/file", response);
        // The owner's callback went on as if nothing had happened: the library didn't.
        EXPECT_EQ(response.reason(), CURLE_WRITE_ERROR);
        EXPECT_STREQ(response.writeError.toCharString().cstr(), text);
        EXPECT_EQ(fetcher.fetch("/file").body, "0123456789");
    }
}

TEST_F(HttpFailure, ExceptionOfACallbackBecomesAnErrorOfItsRequest) {
    server.on("/file", ok("0123456789"));
    FetchedResponse response;
    response.wantsStop = []() -> bool { throw std::runtime_error("in a callback"); };
    fetcher.fetch("/file", response);
    EXPECT_EQ(response.reason(), CURLE_ABORTED_BY_CALLBACK);
    EXPECT_EQ(fetcher.fetch("/file").body, "0123456789");
}
