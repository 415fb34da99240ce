// The library as a host sees it: opened at run time, with records that the host has written down
// for itself from the documentation. Includes nothing of the library's.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "support/loaded_module.h"
#include "support/scripted_server.h"
#include "support/temp_directory.h"

// By the library's own name, as for any two modules that share a class.
class MessageSink {
public:
    virtual void setProgressRange(std::int32_t upper) = 0;
    virtual void setProgress(std::int32_t value) = 0;
    virtual void setProgressText(const char* text) = 0;
    virtual std::int32_t getAbortCode() = 0;
    virtual void progressBegin() = 0;
    virtual void progressEnd() = 0;
    virtual void logInfo(const char* format, ...) = 0;
    virtual void reportWarning(const char* function, std::int32_t code, const char* format,
                               ...) = 0;
    virtual void reportError(void* const& error) = 0;
    virtual void logError(const char* format, ...) = 0;
    virtual void logDebug(const char* format, ...) = 0;

protected:
    ~MessageSink() = default;
};

namespace {

struct Holder {
    void* (*reallocate)(void*, std::size_t);
    void (*release)(void*);
    char* buffer;
    std::int32_t refCount;
};

struct Node {
    const char* function;
    char message[512];
    std::int32_t code;
    Node* next;
    void (*release)(void*);
    std::int32_t refCount;
};

struct Params {
    Holder* url;
    std::int32_t proxyMode;
    Holder* proxyAddress;
    Holder* targetDirectory;
    Holder* subPath;
};

struct Entries {
    std::int32_t interfaceVersion;
    void* (*createDownloader)(MessageSink*, Params*);
    void (*destroyDownloader)(void*);
    std::int32_t (*download)(void*);
    std::int32_t (*checkForUpdate)(void*);
    void* (*initNetwork)();
    void (*deinitNetwork)(void*);
    std::int32_t (*getNorvelNetworkingStatus)(void*, std::int32_t, char*);
};

std::atomic<int> liveBlocks{0};

void* countingReallocate(void* block, std::size_t size) {
    liveBlocks += block == nullptr ? 1 : 0;
    return std::realloc(block, size);
}

void countingRelease(void* block) {
    liveBlocks -= block != nullptr ? 1 : 0;
    std::free(block);
}

Holder* makeText(const char* text) {
    auto* holder = static_cast<Holder*>(countingReallocate(nullptr, sizeof(Holder)));
    auto* buffer = static_cast<char*>(countingReallocate(nullptr, std::strlen(text) + 1));
    std::memcpy(buffer, text, std::strlen(text) + 1);
    *holder = {countingReallocate, countingRelease, buffer, 1};
    return holder;
}

/// As a host gives up its own reference.
void releaseText(Holder* holder) {
    if (holder != nullptr && --holder->refCount == 0) {
        holder->release(holder->buffer);
        holder->release(holder);
    }
}

class HostSink final : public MessageSink {
public:
    void setProgressRange(std::int32_t /*upper*/) override {}
    void setProgress(std::int32_t /*value*/) override {}
    void setProgressText(const char* /*text*/) override {}
    std::int32_t getAbortCode() override { return 0; }
    void progressBegin() override {}
    void progressEnd() override {}
    void logInfo(const char* /*format*/, ...) override {}
    void reportWarning(const char* /*function*/, std::int32_t /*code*/, const char* /*format*/,
                       ...) override {}
    void reportError(void* const& error) override {
        kept = static_cast<Node*>(error);
        ++kept->refCount;
    }
    void logError(const char* /*format*/, ...) override {}
    void logDebug(const char* /*format*/, ...) override {}

    /// A reference of the host's own, held beyond the call.
    Node* kept = nullptr;
};

class LoadedLibrary : public testing::Test {
protected:
    LoadedLibrary() : library_(KIV_LIBRARY) {
        void* entry = library_.function("initDownloaderInterface");
        reinterpret_cast<void (*)(Entries*)>(entry)(&table_);
    }

    ~LoadedLibrary() override {
        for (Holder* text :
             {params_.url, params_.proxyAddress, params_.targetDirectory, params_.subPath}) {
            releaseText(text);
        }
        EXPECT_EQ(liveBlocks, 0);
    }

    TestSupport::LoadedModule library_;
    Entries table_{};
    Params params_{};
    HostSink sink_;
};

TEST_F(LoadedLibrary, TableIsWholeAndAnswersNullHandles) {
    EXPECT_EQ(table_.interfaceVersion, 100);
    EXPECT_EQ(table_.download(nullptr), -1);
    EXPECT_EQ(table_.checkForUpdate(nullptr), -1);
    table_.destroyDownloader(nullptr);
    table_.deinitNetwork(nullptr);
    char text[128];
    EXPECT_EQ(table_.getNorvelNetworkingStatus(nullptr, sizeof(text), text), -1);
    EXPECT_STREQ(text, "[getNorvelNetworkingStatus] -1: Network not initialized");
}

TEST_F(LoadedLibrary, EmptyUrlOfAnotherModuleIsReplacedByTheDefault) {
    Holder* shared = makeText("");
    ++shared->refCount;
    params_.url = shared;
    void* downloader = table_.createDownloader(&sink_, &params_);
    ASSERT_NE(downloader, nullptr);
    EXPECT_STREQ(params_.url->buffer, "http://library.example/kivlib");
    EXPECT_STREQ(shared->buffer, "");
    table_.destroyDownloader(downloader);
    releaseText(shared);
}

TEST_F(LoadedLibrary, RunBringsTheLibraryDownAndFailuresOutliveTheCall) {
    TestSupport::ScriptedServer server;
    server.serve("/lib", {{"id.txt", "7"},
                          {"filelist.json", R"([{"path": "a/b.tx", "size": 5}])"},
                          {"a/b.tx", "bytes"}});
    const TestSupport::TempDirectory directory;
    params_.url = makeText(server.url("/lib").c_str());
    params_.proxyMode = 3;
    params_.targetDirectory = makeText(directory.text().c_str());
    void* network = table_.initNetwork();
    char status[128];
    EXPECT_EQ(table_.getNorvelNetworkingStatus(network, sizeof(status), status), 0);
    EXPECT_STREQ(status, "No error");
    void* downloader = table_.createDownloader(&sink_, &params_);
    EXPECT_EQ(table_.checkForUpdate(downloader), 1);
    EXPECT_EQ(table_.download(downloader), 0);
    EXPECT_EQ(table_.checkForUpdate(downloader), 0);
    EXPECT_EQ(directory.read("a/b.tx"), "bytes");

    server.on("/lib/id.txt", TestSupport::withStatus(404));
    EXPECT_EQ(table_.download(downloader), -1);
    table_.destroyDownloader(downloader);
    table_.deinitNetwork(network);
    ASSERT_NE(sink_.kept, nullptr);
    EXPECT_STREQ(sink_.kept->message, "Could not download remote stamp file");
    EXPECT_STREQ(sink_.kept->next->message, "Unexpected HTTP status (404)");
    sink_.kept->next->release(sink_.kept->next);
    sink_.kept->release(sink_.kept);
}

}  // namespace
