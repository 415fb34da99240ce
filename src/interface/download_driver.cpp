// The order of the steps of a run. Each step reports its own failure, so nothing is added here.

#include "foundation/paths.h"
#include "foundation/pmem_stream.h"
#include "interface/downloader_impl.h"

DownloaderImpl::DownloaderImpl(MessageSink* hostSink, DownloaderParams* hostParams)
    : httpGetter(nullptr), sink(hostSink), params(hostParams) {}

DownloaderImpl::~DownloaderImpl() {
    releaseHttpGetter();
}

std::int32_t DownloaderImpl::download() {
    sink->logDebug("Remote address: \"%s\"", params->url.cstr());
    sink->logDebug("Target directory: \"%s\"", params->targetDirectory.cstr());
    sink->logInfo("Creating download directory");
    Brelt::ErrorChain error = Brelt::createPath(params->targetDirectory.ptr());
    if (error) {
        error.push("DownloaderImpl::download", -1, "Create download directory failed");
        sink->reportError(error);
        return -1;
    }
    if (const std::int32_t result = initHttpGetter(); result != 0) {
        return result;
    }

    Brelt::PMemStream stamp(4096);
    if (const std::int32_t result = readRemoteIdFile(&stamp); result <= 0) {
        return result;
    }

    Brelt::PMemStream list(16384);
    if (const std::int32_t result = downloadListFile(&list); result < 0) {
        return result;
    }

    Brelt::Table<ListFile> files;
    if (const std::int32_t result = parseListFile(&list, files); result < 0) {
        return result;
    }
    if (files.count > 0) {
        if (const std::int32_t result = downloadFiles(files); result < 0) {
            return result;
        }
    }
    return writeLocalIdFile(&stamp);
}
