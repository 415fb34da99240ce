// The library as a host sees it: opened at run time, with records that the host has written down
// for itself from the documentation. Includes nothing of the library's but its texts.

#include <gtest/gtest.h>

#include <cstdint>

#include "foundation/char_string.h"
#include "support/loaded_module.h"
#include "support/scripted_server.h"
#include "support/temp_directory.h"

// By the library's own name, as for any two modules that share a class.
class MessageSink {
public:
    virtual void setProgressRange(std::int32_t) = 0;
    virtual void setProgress(std::int32_t) = 0;
    virtual void setProgressText(const char*) = 0;
    virtual std::int32_t getAbortCode() = 0;
    virtual void progressBegin() = 0;
    virtual void progressEnd() = 0;
    virtual void logInfo(const char*, ...) = 0;
    virtual void reportWarning(const char*, std::int32_t, const char*, ...) = 0;
    virtual void reportError(void* const&) = 0;
    virtual void logError(const char*, ...) = 0;
    virtual void logDebug(const char*, ...) = 0;

protected:
    ~MessageSink() = default;
};

using namespace TestSupport;

namespace {

struct Node {
    const char* function;
    char message[512];
    std::int32_t code;
    Node* next;
    void (*release)(void*);
    std::int32_t refCount;
};

struct Params {
    Brelt::CharString url;
    std::int32_t proxyMode = 3;
    Brelt::CharString proxyAddress;
    Brelt::CharString targetDirectory;
    Brelt::CharString subPath;
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

class HostSink final : public MessageSink {
public:
    void setProgressRange(std::int32_t) override {}
    void setProgress(std::int32_t) override {}
    void setProgressText(const char*) override {}
    std::int32_t getAbortCode() override { return 0; }
    void progressBegin() override {}
    void progressEnd() override {}
    void logInfo(const char*, ...) override {}
    void reportWarning(const char*, std::int32_t, const char*, ...) override {}
    void reportError(void* const& error) override {
        kept = static_cast<Node*>(error);
        ++kept->refCount;
    }
    void logError(const char*, ...) override {}
    void logDebug(const char*, ...) override {}

    /// A reference of the host's own, held beyond the call.
    Node* kept = nullptr;
};

class LoadedLibrary : public testing::Test {
protected:
    LoadedLibrary() {
        void* entry = library_.function("initDownloaderInterface");
        reinterpret_cast<void (*)(Entries*)>(entry)(&table_);
    }

    LoadedModule library_{KIV_LIBRARY};
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
    const Brelt::CharString shared("");
    params_.url = shared;
    void* downloader = table_.createDownloader(&sink_, &params_);
    ASSERT_NE(downloader, nullptr);
    EXPECT_STREQ(params_.url.ptr(), "http://library.example/kivlib");
    EXPECT_STREQ(shared.ptr(), "");
    table_.destroyDownloader(downloader);
}

TEST_F(LoadedLibrary, RunBringsTheLibraryDownAndFailuresOutliveTheCall) {
    ScriptedServer server;
    server.serve("/lib", {{"id.txt", "7"},
                          {"filelist.json", R"([{"path": "a/b.tx", "size": 5}])"},
                          {"a/b.tx", "bytes"}});
    const TempDirectory directory;
    params_.url = server.url("/lib").c_str();
    params_.targetDirectory = directory.text().c_str();
    void* network = table_.initNetwork();
    char status[128];
    EXPECT_EQ(table_.getNorvelNetworkingStatus(network, sizeof(status), status), 0);
    EXPECT_STREQ(status, "No error");
    void* downloader = table_.createDownloader(&sink_, &params_);
    EXPECT_EQ(table_.checkForUpdate(downloader), 1);
    EXPECT_EQ(table_.download(downloader), 0);
    EXPECT_EQ(table_.checkForUpdate(downloader), 0);
    EXPECT_EQ(directory.read("a/b.tx"), "bytes");

    server.on("/lib/id.txt", withStatus(404));
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
