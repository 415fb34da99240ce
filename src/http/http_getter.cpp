// The caller's side of the getter: set-up, stages, and the hand-over of slots.

#include "http/http_getter.h"

#include "foundation/out_of_memory.h"

namespace {

HttpDldDone takeOutcome(ClientSlot& slot) {
    HttpDldDone done{slot.tag, slot.error, slot.httpStatus};
    slot = ClientSlot();
    return done;
}

}  // namespace

void HttpDldDone::expectStatus() {
    if (!error && httpStatus != 200) {
        error.push("HttpDldDone::expectStatus", -1, "Unexpected HTTP status (%d)", httpStatus);
    }
}

HttpGetter::HttpGetter(MessageSink* hostSink)
    : sink(hostSink),
      callbacks{sizeof(callbacks), responseIgnoredCb, responseStatusCb, responseProgressCb,
                responseErrorCb,   nullptr,           nullptr,          1},
      pool{nullptr, 0, -1} {
    // A pool that could not be set up says so in each later call.
    pool.initialize(clientCount);
}

HttpGetter::~HttpGetter() {
    pool.destroy();
}

void HttpGetter::configure(Brelt::ErrorChain& result, const char* host, std::int32_t port,
                           bool useTls, const char* proxyHost, std::int32_t proxyPort) {
    Norvel::Err error;
    bool accepted = pool.setMode(error, 2);
    accepted = pool.setServer(error, host, port, nullptr) && accepted;
    if (useTls) {
        const auto* context = Norvel::Networking::getNorvelNetworkingContext();
        accepted = pool.setSSLContext(error, context->clientSsl) && accepted;
    }
    accepted = pool.setProxyServer(error, proxyHost, proxyPort) && accepted;
    accepted = pool.setCallbacks(error, callbacks, this) && accepted;
    Norvel::Networking::Headers headers;
    headers.internalSet("User-Agent", -2, "kivdownloader", -1, true, nullptr);
    accepted = pool.setHeaders(error, headers, false) && accepted;
    result = accepted ? error.chain : Brelt::requireFailure(error.chain);
}

void HttpGetter::beginStage(const char* text, std::int64_t stageBytes) {
    lastPermille = -1;
    lastMegabytes = -1;
    doneBytes = 0;
    totalBytes = stageBytes;
    stageText.assign(text);
    sink->setProgressText(text);
    updateProgress();
    sink->setProgressRange(1000);
    sink->setProgress(0);
    sink->progressBegin();
}

void HttpGetter::waitAvailable(Brelt::ErrorChain& result, std::int32_t& clientIndex,
                               std::int32_t& hadResult, HttpDldDone& done) {
    hadResult = 0;
    done = HttpDldDone();
    clientIndex = -1;
    if (pool.waitAvailable(&clientIndex) == nullptr) {
        clientIndex = -1;
        result = Brelt::requireFailure(
            Brelt::ErrorChain::make("HttpGetter::waitAvailable", -1,
                                    "Could not obtain client, subsystem is shutting down"));
        return;
    }
    ClientSlot& slot = slots[clientIndex];
    hadResult = slot.inFlight;
    if (hadResult != 0) {
        done = takeOutcome(slot);
    }
    slot = ClientSlot();
    result = Brelt::ErrorChain();
}

void HttpGetter::request(Brelt::ErrorChain& result, std::int32_t clientIndex, const char* path,
                         Brelt::PStream* stream, std::int32_t tag) {
    ClientSlot& slot = slots[clientIndex];
    slot = ClientSlot();
    slot.stream = stream;
    slot.tag = tag;
    Norvel::Err error;
    if (!pool.clients[clientIndex].request(error, path, 1, &slot, nullptr, nullptr)) {
        result = Brelt::requireFailure(error.chain);
        return;
    }
    slot.inFlight = 1;
    result = Brelt::ErrorChain();
}

std::int32_t HttpGetter::waitCompletion(HttpDldDone& done) {
    done = HttpDldDone();
    for (std::int32_t i = 0; i < clientCount; ++i) {
        if (slots[i].inFlight != 0) {
            pool.clients[i].waitForRequestCompletion(nullptr);
            done = takeOutcome(slots[i]);
            return i;
        }
    }
    return -1;
}

RequestDrain::~RequestDrain() {
    HttpDldDone dropped;
    while (getter_.waitCompletion(dropped) >= 0) {
    }
}
