#include <dlfcn.h>

#include <cstdio>

#include "interface/downloader_interface.h"
#include "interface/message_sink.h"

class Console final : public MessageSink {
    void setProgressRange(std::int32_t) override {}
    void setProgress(std::int32_t) override {}
    void setProgressText(const char* text) override { std::puts(text); }
    std::int32_t getAbortCode() override { return 0; }
    void progressBegin() override {}
    void progressEnd() override {}
    void logInfo(const char*, ...) override {}
    void reportWarning(const char*, std::int32_t, const char*, ...) override {}
    void reportError(const Brelt::ErrorChain& e) override { std::puts(e.toCharString().cstr()); }
    void logError(const char*, ...) override {}
    void logDebug(const char*, ...) override {}
};

int main(int argc, char** argv) {
    void* library = argc == 3 ? dlopen("libkivdownloader.so", RTLD_NOW) : nullptr;
    void* entry = library != nullptr ? dlsym(library, "initDownloaderInterface") : nullptr;
    if (entry == nullptr) {
        return 2;
    }
    DownloaderInterface table;
    reinterpret_cast<InitDownloaderInterface>(entry)(&table);
    Console sink;
    DownloaderParams params;
    params.url = argv[1];
    params.targetDirectory = argv[2];
    NetworkInitializerRAIIImpl* network = table.initNetwork();
    DownloaderImpl* downloader = table.createDownloader(&sink, &params);
    const std::int32_t result = table.download(downloader);
    table.destroyDownloader(downloader);
    table.deinitNetwork(network);
    return result == 0 ? 0 : 1;
}
