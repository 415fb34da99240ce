#include "sync/single_fetch.h"

#include "foundation/out_of_memory.h"
#include "http/http_getter.h"

std::int32_t failStep(DownloaderImpl& downloader, const char* function, Brelt::ErrorChain error,
                      const char* text) {
    error.push(function, -1, "%s", text);
    downloader.sink->reportError(Brelt::requireFailure(error));
    return -1;
}

std::int32_t fetchSingle(DownloaderImpl& downloader, const SingleFetch& words, const char* target,
                         Brelt::PStream* stream) {
    HttpGetter& getter = *downloader.httpGetter;
    getter.beginStage(words.stage, 0);
    const RequestDrain drainOnException(getter);
    Brelt::ErrorChain error;
    std::int32_t client = -1;
    std::int32_t hadResult = 0;
    HttpDldDone done;
    getter.waitAvailable(error, client, hadResult, done);
    if (!error) {
        getter.request(error, client, target, stream, 0);
    }
    if (error) {
        return failStep(downloader, words.function, error, words.refused);
    }
    getter.waitCompletion(done);
    downloader.sink->progressEnd();
    done.expectStatus();
    return done.isSuccess() ? 0 : failStep(downloader, words.function, done.error, words.failed);
}
