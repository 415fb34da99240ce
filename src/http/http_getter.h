#pragma once

// The networking library's pool as the steps need it: fetch this path into this stream, tell me
// when a client is free, give me the outcome of what it did. For the steps in sync and for transfer
// setup.

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "foundation/char_string.h"
#include "foundation/error_chain.h"
#include "foundation/pstream.h"
#include "interface/message_sink.h"
#include "networking/norvel_networking.h"

/// The state of one client's request, and the token that comes back in its callbacks.
///
///     free --request--> in flight --wait returns--> free
///       \--request refused--> refused --waitAvailable or request--> free
///
/// Free and refused: the caller's thread owns slot and stream. In flight: a network thread owns
/// them, all but `inFlight` and `tag`, until `waitAvailable` gives out this client or
/// `waitCompletion` has waited for it. No lock guards the hand-over: the pool's waits are it.
struct ClientSlot : Norvel::Networking::ReqTokenGeneralType {
    /// 1 from the start of a request until its outcome is taken.
    std::int32_t inFlight = 0;
    /// The caller's number for the request.
    std::int32_t tag = 0;
    Brelt::ErrorChain error;
    /// 0 until the library reports one, and where a failure could not be noted in `error`.
    std::int32_t httpStatus = 0;
    /// Bytes of this response that `doneBytes` counts already.
    std::int64_t bytesReceived = 0;
    /// Not owned.
    Brelt::PStream* stream = nullptr;
};
static_assert(offsetof(ClientSlot, inFlight) == 0);
static_assert(offsetof(ClientSlot, tag) == 4);
static_assert(sizeof(void*) != 8 || offsetof(ClientSlot, error) == 8);
static_assert(sizeof(void*) != 8 || offsetof(ClientSlot, httpStatus) == 16);
static_assert(sizeof(void*) != 8 || offsetof(ClientSlot, bytesReceived) == 24);
static_assert(sizeof(void*) != 8 || offsetof(ClientSlot, stream) == 32);
static_assert(sizeof(void*) != 8 || sizeof(ClientSlot) == 40);

/// The outcome of one request.
struct HttpDldDone {
    std::int32_t tag = 0;
    Brelt::ErrorChain error;
    std::int32_t httpStatus = 0;

    /// Makes an outcome without an error fail unless its status is 200.
    void expectStatus();
    /// The status is looked at as well: an error that memory ran out for must not pass for success.
    bool isSuccess() const { return !error && httpStatus == 200; }
};
static_assert(offsetof(HttpDldDone, tag) == 0);
static_assert(offsetof(HttpDldDone, error) == sizeof(void*));
static_assert(offsetof(HttpDldDone, httpStatus) == 2 * sizeof(void*));
static_assert(sizeof(void*) != 8 || sizeof(HttpDldDone) == 24);

/// Five clients on one server, and the progress of the current stage.
///
/// All operations run on the caller's thread; the callbacks come on threads of the networking
/// library. Chains that report a failure are never empty: where memory for one runs out
/// `std::bad_alloc` is raised instead. Callers who stop asking `waitAvailable` run `waitCompletion`
/// until it gives -1, for which `RequestDrain` is there.
class HttpGetter {
public:
    static constexpr std::int32_t clientCount = 5;

    ClientSlot slots[clientCount];
    MessageSink* sink;
    /// Bytes of the stage; 0 when they aren't known.
    std::int64_t totalBytes = 0;
    /// Bytes received in the stage, all clients together.
    std::atomic<std::int64_t> doneBytes{0};
    /// The stage's line without its megabytes. Changed only while nothing is in flight.
    Brelt::CharString stageText;
    /// Last value and megabytes that the sink got; -1 at a stage's start.
    std::atomic<std::int32_t> lastPermille{0};
    std::atomic<std::int32_t> lastMegabytes{0};
    Norvel::Networking::HttpClient::Callbacks callbacks;
    Norvel::Networking::HttpClientPool pool;

    explicit HttpGetter(MessageSink* hostSink);
    HttpGetter(const HttpGetter&) = delete;
    HttpGetter& operator=(const HttpGetter&) = delete;
    /// Ends what is in flight first, so that no callback comes any more.
    ~HttpGetter();

    /// Points the pool at a server; called once, before all else. A null `proxyHost` means direct.
    void configure(Brelt::ErrorChain& result, const char* host, std::int32_t port, bool useTls,
                   const char* proxyHost, std::int32_t proxyPort);

    /// Opens a progress stage of `stageBytes` bytes, 0 if that isn't known.
    void beginStage(const char* text, std::int64_t stageBytes);

    /// Blocks until a client is free; gives its index, or -1 with `result` filled.
    ///
    /// `hadResult` is non-zero if the client has finished a request whose outcome nobody has taken
    /// yet: `done` is that outcome then, and the client's stream is the caller's again.
    void waitAvailable(Brelt::ErrorChain& result, std::int32_t& clientIndex,
                       std::int32_t& hadResult, HttpDldDone& done);

    /// Fetches `path` into `stream` on client `clientIndex`; returns at once.
    ///
    /// The slot and `stream` belong to the network thread until the wait for this
    /// client returns. `path` is the request target as it goes on the wire.
    void request(Brelt::ErrorChain& result, std::int32_t clientIndex, const char* path,
                 Brelt::PStream* stream, std::int32_t tag);

    /// Waits for the first slot in index order that is in flight, and gives its index and outcome;
    /// -1, and a cleared `done`, if there is none.
    std::int32_t waitCompletion(HttpDldDone& done);

private:
    using CallbackSource = Norvel::Networking::CallbackSource;
    using Token = Norvel::Networking::ReqTokenGeneralType;

    static void responseIgnoredCb(CallbackSource* source, Token* token);
    static void responseStatusCb(CallbackSource* source, Token* token, const std::int32_t* status);
    static void responseProgressCb(CallbackSource* source, Token* token,
                                   Norvel::Networking::ResponseProgress* progress,
                                   Norvel::Networking::Response* response);
    static void responseErrorCb(CallbackSource* source,
                                const Norvel::Networking::ResponseError* error, Token* token);

    void receive(ClientSlot& slot, Norvel::Networking::ResponseProgress& progress,
                 Norvel::Networking::Response& response);
    void updateProgress();
    void sendPermille(std::int64_t done);
    void sendMegabytes(std::int64_t done);
};
static_assert(sizeof(void*) != 8 || sizeof(HttpGetter) == 5 * 40 + 24 + 8 + 8 + 64 + 16);

/// Waits for all requests of a getter and drops their outcomes, on every way out of a step.
///
/// Declared behind the streams that the requests write to, so that it ends before them.
class RequestDrain {
public:
    explicit RequestDrain(HttpGetter& getter) : getter_(getter) {}
    RequestDrain(const RequestDrain&) = delete;
    RequestDrain& operator=(const RequestDrain&) = delete;
    ~RequestDrain();

private:
    HttpGetter& getter_;
};
