// The main loop: up to five requests at once, saved one by one on the caller's thread as they
// finish.
//
//     feed:  a free client hands in what it finished, and gets the next entry
//     drain: reached in every case; collects what still runs
//
// The first failure ends the feeding; what runs is waited for and dropped.

#include <array>
#include <limits>

#include "foundation/out_of_memory.h"
#include "foundation/pmem_stream.h"
#include "foundation/table.h"
#include "http/http_getter.h"
#include "interface/downloader_impl.h"

namespace {

constexpr const char* downloadsFunction = "DownloaderImpl::downloadFiles";
constexpr std::int32_t keepBlocks = 0;
constexpr std::int32_t freeBlocks = 1;

using Files = Brelt::Table<DownloaderImpl::ListFile>;

/// Sizes come from the server: their sum stops at the ends of its type.
std::int64_t addSaturated(std::int64_t a, std::int64_t b) {
    using Limits = std::numeric_limits<std::int64_t>;
    if (b > 0 && a > Limits::max() - b) {
        return Limits::max();
    }
    if (b < 0 && a < Limits::min() - b) {
        return Limits::min();
    }
    return a + b;
}

std::int64_t totalSize(const Files& files) {
    std::int64_t total = 0;
    for (std::int32_t i = 0; i < files.count; ++i) {
        total = addSaturated(total, files.data[i].size);
    }
    return total;
}

class FileDownloads {
public:
    FileDownloads(DownloaderImpl& downloader, const Files& files)
        : downloader_(downloader),
          getter_(*downloader.httpGetter),
          sink_(*downloader.sink),
          files_(files) {}

    std::int32_t run() {
        getter_.beginStage("Downloading files", totalSize(files_));
        const RequestDrain drainOnException(getter_);
        while (next_ < files_.count && feed()) {
        }
        drain();
        if (failure_) {
            sink_.reportError(failure_);
        }
        sink_.progressEnd();
        return failure_ ? -1 : 0;
    }

private:
    /// Gives one free client its next entry; false after a failure.
    bool feed() {
        std::int32_t client = -1;
        std::int32_t hadResult = 0;
        HttpDldDone done;
        getter_.waitAvailable(failure_, client, hadResult, done);
        if (failure_ || (hadResult != 0 && !takeFinished(client, done))) {
            return false;
        }
        return startNext(client);
    }

    /// Saves what a client has finished; false if there is nothing to save. A failed save shows in
    /// `failure_` and leaves it to the next entry to name itself.
    bool takeFinished(std::int32_t client, HttpDldDone& done) {
        const DownloaderImpl::ListFile& file = files_.data[done.tag];
        done.expectStatus();
        if (!done.isSuccess()) {
            fail(done.error, "Downloading \"%s\" file failed", file.remoteName);
            return false;
        }
        sink_.logInfo("Saving file \"%s\"", file.localName.cstr());
        failure_ = downloader_.saveFile(file.localName.ptr(), &streamOf(client));
        streamOf(client).Reset(keepBlocks);
        return true;
    }

    bool startNext(std::int32_t client) {
        const DownloaderImpl::ListFile& file = files_.data[next_];
        sink_.logInfo("Downloading file \"%s\" (%lli bytes)", file.remoteName.cstr(),
                      static_cast<long long>(file.size));
        if (!failure_) {
            const Brelt::CharString target = downloader_.getFilePath(file.remoteName.ptr(), 1);
            getter_.request(failure_, client, target.cstr(), &streamOf(client), next_);
        }
        if (failure_) {
            fail(failure_, "Requesting download for \"%s\" file failed", file.remoteName);
            return false;
        }
        ++next_;
        return true;
    }

    void drain() {
        HttpDldDone done;
        for (std::int32_t client = getter_.waitCompletion(done); client >= 0;
             client = getter_.waitCompletion(done)) {
            if (!failure_) {
                collect(client, done);
            }
            streamOf(client).Reset(freeBlocks);
        }
    }

    void collect(std::int32_t client, HttpDldDone& done) {
        done.expectStatus();
        failure_ = done.isSuccess() ? downloader_.saveFile(files_.data[done.tag].localName.ptr(),
                                                           &streamOf(client))
                                    : Brelt::requireFailure(done.error);
    }

    void fail(Brelt::ErrorChain error, const char* format, const Brelt::CharString& name) {
        error.push(downloadsFunction, -1, format, name.cstr());
        failure_ = Brelt::requireFailure(error);
    }

    Brelt::PMemStream& streamOf(std::int32_t client) {
        return streams_[static_cast<std::size_t>(client)];
    }

    DownloaderImpl& downloader_;
    HttpGetter& getter_;
    MessageSink& sink_;
    const Files& files_;
    /// A request writes to the stream of the client that carries it, so the stream of a client is
    /// free exactly when the client is.
    std::array<Brelt::PMemStreamGrowStep<16384>, HttpGetter::clientCount> streams_;
    /// The one failure of this run; once set it is only added to.
    Brelt::ErrorChain failure_;
    std::int32_t next_ = 0;
};

}  // namespace

std::int32_t DownloaderImpl::downloadFiles(const Brelt::Table<ListFile>& files) {
    return FileDownloads(*this, files).run();
}
