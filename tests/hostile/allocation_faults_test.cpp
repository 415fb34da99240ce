// Memory that runs out at each allocation in turn. Each run has a process of its own, forked from
// this one, which has no threads: the server is another program.

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>

#include "foundation/error_node.h"
#include "foundation/win32/fault_injection.h"
#include "hostile/besieged.h"
#include "hostile/failing_allocator.h"
#include "support/peers.h"
#include "support/silent_sink.h"

using namespace TestSupport;

namespace {

enum class Shortage {
    Once,
    Lasting,
    /// The n-th closing of a file fails instead, and then also without a trace that can be made.
    FailedClose,
    TracelessClose,
};

struct ShortageCase {
    const char* name;
    /// Whether the run is the first of its process.
    bool isFirst;
    Shortage shortage;
    /// Which allocations the short form lets fail: every so manieth.
    std::int64_t stride;
};

std::ostream& operator<<(std::ostream& stream, const ShortageCase& test) {
    return stream << test.name;
}

/// How a child ends that finds nothing wrong.
enum ExitCode { wasStruck = 0, gotThrough = 3 };

/// Runs `body` in a child; its exit code, or 128 and the signal that ended it.
int inChild(const std::function<int()>& body) {
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        alarm(300);  // for a run that hangs
        std::exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

class AllocationFaults : public testing::TestWithParam<ShortageCase> {
protected:
    AllocationFaults() {
        files_.write("lib", library_.served());
        params_.url = server_.url("/lib").c_str();
        params_.proxyMode = ProxyModeDirect;
        params_.targetDirectory = target_.text("inside").c_str();
    }

    /// What a child does.
    int runWithFailure(std::int64_t n) {
        const bool isFirst = GetParam().isFirst;
        SilentSink sink;
        if (!isFirst) {
            download(sink);
        }
        bool struck = false;
        std::int64_t leaked = strike(n, struck);
        // What a failure makes the system keep for later, such as a thread's stack, it keeps once.
        if (!isFirst && leaked > 0) {
            leaked = strike(n, struck);
        }
        EXPECT_TRUE(isFirst || leaked <= 0) << leaked << " blocks leaked";
        EXPECT_EQ(download(sink), 0) << "in the next run";
        EXPECT_EQ(shortcomings(library_, readTree(target_.path() / "inside")), Lines{});
        return HasFailure() ? EXIT_FAILURE : struck ? wasStruck : gotThrough;
    }

private:
    /// One use of the library as a host makes it, from the table to the handle's end.
    std::int32_t download(SilentSink& sink) {
        DownloaderInterface table{};
        initDownloaderInterface(&table);
        DownloaderImpl* downloader = table.createDownloader(&sink, &params_);
        const std::int32_t result = table.download(downloader);
        table.destroyDownloader(downloader);
        return downloader == nullptr ? -2 : result;
    }

    /// One run that is struck, and judged. Gives how many blocks it left behind.
    std::int64_t strike(std::int64_t n, bool& struck) {
        const Shortage shortage = GetParam().shortage;
        const bool isOfCloses = shortage >= Shortage::FailedClose;
        std::filesystem::remove_all(target_.path() / "inside");
        target_.write("inside/id.txt", "old");
        target_.write("inside/f1.tx", "old content");
        SilentSink sink;
        const std::int64_t before = liveBlocks();
        const std::int32_t result =
            isOfCloses ? downloadWithFailedClose(n, sink, struck) : downloadShort(n, sink, struck);
        const std::int64_t leaked = liveBlocks() - before;
        EXPECT_TRUE(struck || result == 0) << "fails without cause";
        // Memory for the telling can be had again when it was short once.
        EXPECT_TRUE(result != -1 || sink.toldFailure || shortage != Shortage::Once) << "not told";
        // The first closing is that of the old stamp, which was only read.
        EXPECT_TRUE(result != 0 || !isOfCloses || !struck || n == 1)
            << "a failed close passed for success";
        EXPECT_TRUE(result != 0 || target_.read("inside/id.txt") == library_.stamp);
        EXPECT_EQ(brokenPromises(library_, target_.path()), Lines{});
        return leaked;
    }

    std::int32_t downloadShort(std::int64_t n, SilentSink& sink, bool& struck) {
        startShortage(n, GetParam().shortage == Shortage::Lasting);
        const std::int32_t result = download(sink);
        struck = endShortage();
        return result;
    }

    std::int32_t downloadWithFailedClose(std::int64_t n, SilentSink& sink, bool& struck) {
        constexpr std::uint32_t ioError = 1117;
        const Brelt::FaultInjection faults(
            {.calls = Brelt::closeHandleCall, .strikeAt = n, .code = ioError});
        if (GetParam().shortage == Shortage::TracelessClose) {
            startShortage(0, false, sizeof(Brelt::ErrorNode));
        }
        const std::int32_t result = download(sink);
        endShortage();
        struck = faults.hasStruck();
        return result;
    }

    const SampleLibrary library_ = besiegedLibrary();
    const TempDirectory files_;
    const TempDirectory target_;
    const Nginx server_{{.root = files_.path()}};
    DownloaderParams params_;
};

TEST_P(AllocationFaults, EachInTurnNeitherCrashesNorLiesNorLeaks) {
    const auto stride = longOrShort<std::int64_t>(1, GetParam().stride);
    std::int64_t n = 1;
    int code = wasStruck;
    for (; code == wasStruck; n += stride) {
        code = inChild([this, n] {
            SCOPED_TRACE("allocation " + std::to_string(n));
            return runWithFailure(n);
        });
    }
    EXPECT_EQ(code, gotThrough) << "at allocation " << n - stride;
    EXPECT_GT(n, 9) << "seven files and the stamp";
    RecordProperty("allocations", std::to_string(n - stride));
}

INSTANTIATE_TEST_SUITE_P(
    Shortages, AllocationFaults,
    testing::Values(ShortageCase{"FirstRunOnce", true, Shortage::Once, 101},
                    ShortageCase{"FirstRunLasting", true, Shortage::Lasting, 101},
                    ShortageCase{"LaterRunOnce", false, Shortage::Once, 11},
                    ShortageCase{"LaterRunLasting", false, Shortage::Lasting, 11},
                    ShortageCase{"FailedCloses", false, Shortage::FailedClose, 1},
                    ShortageCase{"FailedClosesWithoutATrace", false, Shortage::TracelessClose, 1}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
