// The list step: fetches the file list whole. What it says is for the parsing.

#include "foundation/string_builder.h"
#include "interface/downloader_impl.h"
#include "sync/single_fetch.h"

std::int32_t DownloaderImpl::downloadListFile(Brelt::PStream* stream) {
    constexpr SingleFetch words = {"DownloaderImpl::downloadListFile", "Getting file list",
                                   "Could not download list file (request failed)",
                                   "Could not download list file"};
    // A sub-library's list stands in front of the library's path, as its server lays it out, and
    // the prefix goes out as the host wrote it.
    Brelt::StringBuilder target(256, 2.0F);
    if (!params->subPath.isEmpty()) {
        target.appendText("/");
        target.appendText(params->subPath.cstr());
    }
    target.appendText(getFilePath("filelist.json", 1).cstr());
    return fetchSingle(*this, words, target.text == nullptr ? "" : target.text, stream);
}
