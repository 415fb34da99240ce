#pragma once

// A downloader with a recording host, a target directory and a scripted server: the ground of all
// tests of whole runs.

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "interface/downloader_interface.h"
#include "support/recording_sink.h"
#include "support/scripted_server.h"
#include "support/server_scripts.h"
#include "support/temp_directory.h"

namespace TestSupport {

/// One host with one downloader, made on first use, so that a test can set the block up before.
class Downloading {
public:
    Downloading() {
        initDownloaderInterface(&table);
        params.url = server.url("/lib").c_str();
        params.proxyMode = ProxyModeDirect;
        params.targetDirectory = target.text().c_str();
    }
    Downloading(const Downloading&) = delete;
    Downloading& operator=(const Downloading&) = delete;
    ~Downloading() { destroy(); }

    std::int32_t download() {
        create();
        return sink.during([this] { return table.download(downloader); });
    }

    std::int32_t checkForUpdate() {
        create();
        return sink.during([this] { return table.checkForUpdate(downloader); });
    }

    void create() {
        if (downloader == nullptr) {
            downloader = table.createDownloader(&sink, &params);
        }
    }

    void destroy() {
        table.destroyDownloader(downloader);
        downloader = nullptr;
    }

    /// Serves the stamp "7" and this list, and each of `files` below the library's root.
    void serve(const std::string& list, const std::map<std::string, std::string>& files = {}) {
        server.serve("/lib", {{"id.txt", "7"}, {"filelist.json", list}});
        server.serve("/lib", files);
    }

    /// "" while there is no local stamp.
    std::string localStamp() const { return target.exists("id.txt") ? target.read("id.txt") : ""; }

    DownloaderInterface table{};
    ScriptedServer server;
    TempDirectory target;
    RecordingSink sink;
    DownloaderParams params;
    DownloaderImpl* downloader = nullptr;
};

class DownloadingTest : public testing::Test, protected Downloading {};

}  // namespace TestSupport
