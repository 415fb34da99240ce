// Much of everything: entries, files, connections, downloaders, runs. The long form has the full
// numbers; each test's short one takes the same road.

#include <optional>
#include <thread>

#include "foundation/pmem_stream.h"
#include "foundation/table.h"
#include "hostile/besieged.h"
#include "interface/downloader_impl.h"

using namespace TestSupport;

namespace {

std::string numbered(int i) {
    return "d" + std::to_string(i % 97) + "/f" + std::to_string(i);
}

/// That many entries, which name that many files.
SampleLibrary libraryOf(int entries, int files, const std::optional<std::string>& rule) {
    SampleLibrary library;
    for (int i = 0; i < entries; ++i) {
        library.add(numbered(i % files), std::to_string(i), rule);
    }
    return library;
}

TEST(Load, TwoHundredThousandEntriesThatArePresentAreLookedAtAndNotFetched) {
    const int files = longOrShort(200'000, 1'000);
    Besieged ground(libraryOf(200'000, files, "missing"));
    for (int i = 0; i < files; ++i) {
        ground.target.write("inside/" + numbered(i), "");
    }
    EXPECT_EQ(ground.download(), 0) << ground.sink.errorText();
    EXPECT_EQ(ground.server.targets(), (Lines{"/lib/id.txt", "/lib/filelist.json"}));
    EXPECT_EQ(ground.stampOnDisk(), ground.library.stamp);
}

constexpr std::int64_t largestList = std::int64_t{1} << 30;

TEST(Load, ListOfMoreThanOneGibibyteIsRefusedBeforeItIsRead) {
    struct StreamOfSize final : Brelt::PMemStream {
        StreamOfSize() : PMemStream(4096) {}
        std::int64_t Size() override { return largestList + 1; }
    } stream;
    RecordingSink sink;
    DownloaderParams params;
    DownloaderImpl downloader(&sink, &params);
    Brelt::Table<DownloaderImpl::ListFile> files;
    EXPECT_EQ(downloader.parseListFile(&stream, files), -1);
    EXPECT_EQ(sink.lines(), Lines{"logError Incorrect size of json file list (1073741825 bytes)"});
}

TEST(Load, ListOfMoreThanOneGibibyteEndsAWholeRun) {
    if (!isLongForm()) {
        GTEST_SKIP() << "moves a gibibyte; only in the long form";
    }
    Besieged ground;
    ground.server.on("/lib/filelist.json", [](Connection& client, const Request&) {
        client.send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(largestList + 1) +
                    "\r\n\r\n");
        client.sendForever(std::string(std::size_t{1} << 16, ' '));
    });
    EXPECT_EQ(ground.download(), -1);
    EXPECT_EQ(ground.sink.of("logError"),
              Lines{"Incorrect size of json file list (1073741825 bytes)"});
    ground.expectHealing();
}

TEST(Load, ManyFilesComeThroughAServerThatClosesEveryConnection) {
    const int files = longOrShort(50'000, 1'000);
    Besieged ground(libraryOf(files, files, std::nullopt));
    for (const auto& [name, content] : ground.library.served()) {
        ground.server.on("/lib/" + percentEncoded(name), answerBytesAndClose(ok(content).bytes()));
    }
    EXPECT_EQ(ground.download(), 0) << ground.sink.errorText();
    EXPECT_EQ(differences(ground.library.expected(), ground.tree()), Lines{});
    EXPECT_GE(ground.server.connections(), files);
}

/// Each runs three times: once to be aborted somewhere, once through, once for nothing.
void runHost(int number, const std::string& url, const Tree& expected) {
    Downloading host;
    host.params.url = url.c_str();
    host.sink.abortAfterPolls(number * 3, 7);
    host.download();
    host.sink.goOn();
    EXPECT_EQ(host.download(), 0) << host.sink.errorText();
    EXPECT_EQ(differences(expected, readTree(host.target.path())), Lines{});
    EXPECT_EQ(host.download(), 0);
}

TEST(Load, TwentyDownloadersOnTwentyThreadsKeepApart) {
    expectNothingLeftOver([] {
        const SampleLibrary library = SampleLibrary::generated(40, 20'000);
        ScriptedServer server;
        server.serve("/lib", library.served());
        std::vector<std::thread> threads(20);
        for (int i = 0; std::thread & thread : threads) {
            thread = std::thread(
                [&, number = i++] { runHost(number, server.url("/lib"), library.expected()); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    });
}

}  // namespace
