// Benchmarks of what a run does once for each entry of a list, or for each piece of a response.

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>

#include "foundation/paths.h"
#include "foundation/pmem_stream.h"
#include "foundation/table.h"
#include "foundation/text_tools.h"
#include "interface/downloader_impl.h"

namespace {

constexpr const char* typicalName =
    "materials/stone/gr\xC3\xB6\xC3\x9F"
    "er als 2 m/map 017.tx";

/// A host that wants to hear nothing.
class SilentSink final : public MessageSink {
    void setProgressRange(std::int32_t) override {}
    void setProgress(std::int32_t) override {}
    void setProgressText(const char*) override {}
    std::int32_t getAbortCode() override { return 0; }
    void progressBegin() override {}
    void progressEnd() override {}
    void logInfo(const char*, ...) override {}
    void reportWarning(const char*, std::int32_t, const char*, ...) override {}
    void reportError(const Brelt::ErrorChain&) override {}
    void logError(const char*, ...) override {}
    void logDebug(const char*, ...) override {}
};

struct Downloader {
    Downloader() {
        params.targetDirectory = "/home/kim/assets/library";
        impl.remotePath = "/kivlib";
    }

    SilentSink sink;
    DownloaderParams params;
    DownloaderImpl impl{&sink, &params};
};

void normalizeName(benchmark::State& state) {
    const std::string path = std::string("/home/kim/library/") + typicalName;
    for ([[maybe_unused]] auto step : state) {
        benchmark::DoNotOptimize(Brelt::normalizePath(path.c_str()));
    }
}
BENCHMARK(normalizeName);

/// With 1, the address on the server, percent-encoded; with 0 the local path.
void addressOfName(benchmark::State& state) {
    Downloader downloader;
    const auto forRequest = static_cast<std::int32_t>(state.range(0));
    for ([[maybe_unused]] auto step : state) {
        benchmark::DoNotOptimize(downloader.impl.getFilePath(typicalName, forRequest));
    }
}
BENCHMARK(addressOfName)->Arg(0)->Arg(1);

void widenName(benchmark::State& state) {
    std::array<Brelt::WideChar, 260> wide{};
    for ([[maybe_unused]] auto step : state) {
        benchmark::DoNotOptimize(Brelt::utf8ToWide(typicalName, wide.data(), 260));
    }
}
BENCHMARK(widenName);

/// A list of that many entries, from its text to the table of what to fetch.
void parseList(benchmark::State& state) {
    std::string text = "[";
    for (std::int64_t index = 0; index < state.range(0); ++index) {
        text += index > 0 ? ",\n" : "";
        text += R"({"download":"always","path":"materials/map )" + std::to_string(index) +
                R"(.tx","size":40000,"jpegSize":9000})";
    }
    text += "]";
    Downloader downloader;
    for ([[maybe_unused]] auto step : state) {
        Brelt::PMemStream stream(16384);
        stream.WriteBuffer(text.data(), static_cast<std::int32_t>(text.size()));
        Brelt::Table<DownloaderImpl::ListFile> files(100);
        benchmark::DoNotOptimize(downloader.impl.parseListFile(&stream, files));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(parseList)->Arg(100)->Arg(10'000)->Unit(benchmark::kMillisecond);

/// A response of that many MiB, in pieces as they come from a socket.
void collectResponse(benchmark::State& state) {
    constexpr std::size_t pieceSize = 16384;
    const std::string piece(pieceSize, 'x');
    const std::int64_t pieces = state.range(0) * 64;
    for ([[maybe_unused]] auto step : state) {
        Brelt::PMemStreamGrowStep<16384> stream;
        for (std::int64_t index = 0; index < pieces; ++index) {
            stream.WriteBuffer(piece.data(), static_cast<std::int32_t>(piece.size()));
        }
        benchmark::DoNotOptimize(stream);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * 1024 * 1024);
}
BENCHMARK(collectResponse)->Arg(1)->Arg(64)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
