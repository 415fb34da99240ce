// Turns the download URL into a configured getter, and is the one place where a getter is made and
// unmade.

#include <memory>

#include "foundation/out_of_memory.h"
#include "http/http_getter.h"
#include "http/url_parsing.h"
#include "interface/downloader_impl.h"

namespace {

/// Points the downloader's new getter at the server of its URL.
Brelt::ErrorChain pointAtServer(DownloaderImpl& downloader) {
    Brelt::CharString scheme;
    Brelt::CharString host;
    std::int32_t port = -1;
    const AddressingScheme addressing = parseUrl(downloader.params->url.cstr(), scheme, host, port,
                                                 downloader.remotePath, SchemeHttp);
    if (addressing != SchemeHttp && addressing != SchemeHttps) {
        return Brelt::requireFailure(Brelt::ErrorChain::make("DownloaderImpl::initHttpGetter", -1,
                                                             "Unkown addressing scheme"));
    }
    Brelt::CharString proxyHost;
    std::int32_t proxyPort = 80;
    downloader.getHttpProxyForAddr(host.cstr(), proxyHost, proxyPort);
    if (proxyHost.isEmpty()) {
        proxyHost.clear();
    }
    Brelt::ErrorChain result;
    downloader.httpGetter->configure(result, host.cstr(), port, addressing == SchemeHttps,
                                     proxyHost.ptr(), proxyPort);
    return result;
}

/// Unmakes a getter that isn't kept, on every way out.
class UnfinishedGetter {
public:
    explicit UnfinishedGetter(DownloaderImpl& downloader) : downloader_(&downloader) {}
    UnfinishedGetter(const UnfinishedGetter&) = delete;
    UnfinishedGetter& operator=(const UnfinishedGetter&) = delete;
    ~UnfinishedGetter() {
        if (downloader_ != nullptr) {
            downloader_->releaseHttpGetter();
        }
    }

    void keep() { downloader_ = nullptr; }

private:
    DownloaderImpl* downloader_;
};

}  // namespace

std::int32_t DownloaderImpl::initHttpGetter() {
    if (httpGetter != nullptr) {
        return 0;
    }
    UnfinishedGetter unfinished(*this);
    httpGetter = new HttpGetter(sink);
    Brelt::ErrorChain error = pointAtServer(*this);
    if (error) {
        error.push("DownloaderImpl::initHttpGetter", -1, "Could not use download URL \"%s\"",
                   params->url.cstr());
        sink->reportError(error);
        return -1;
    }
    unfinished.keep();
    return 0;
}

void DownloaderImpl::releaseHttpGetter() {
    const std::unique_ptr<HttpGetter> ending(httpGetter);
    httpGetter = nullptr;
}
