// The list step: fetches the file list whole. What it says is for the parsing.

#include "foundation/string_builder.h"
#include "http/http_getter.h"
#include "interface/downloader_impl.h"

namespace {

std::int32_t fail(MessageSink& sink, Brelt::ErrorChain error, const char* text) {
    error.push("DownloaderImpl::downloadListFile", -1, "%s", text);
    sink.reportError(error);
    return -1;
}

Brelt::ErrorChain requestList(DownloaderImpl& downloader, Brelt::PStream* stream) {
    HttpGetter& getter = *downloader.httpGetter;
    Brelt::ErrorChain error;
    std::int32_t client = -1;
    std::int32_t hadResult = 0;
    HttpDldDone earlier;
    getter.waitAvailable(error, client, hadResult, earlier);
    if (error) {
        return error;
    }
    // A sub-library's list stands in front of the library's path, as its server lays it out, and
    // the prefix goes out as the host wrote it.
    Brelt::StringBuilder target(256, 2.0F);
    if (!downloader.params->subPath.isEmpty()) {
        target.appendText("/");
        target.appendText(downloader.params->subPath.cstr());
    }
    target.appendText(downloader.getFilePath("filelist.json", 1).cstr());
    getter.request(error, client, target.text == nullptr ? "" : target.text, stream, 0);
    return error;
}

}  // namespace

std::int32_t DownloaderImpl::downloadListFile(Brelt::PStream* stream) {
    httpGetter->beginStage("Getting file list", 0);
    const RequestDrain drain(*httpGetter);
    if (const auto error = requestList(*this, stream); error) {
        return fail(*sink, error, "Could not download list file (request failed)");
    }
    HttpDldDone done;
    httpGetter->waitCompletion(done);
    sink->progressEnd();
    done.expectStatus();
    if (!done.isSuccess()) {
        return fail(*sink, done.error, "Could not download list file");
    }
    return 0;
}
