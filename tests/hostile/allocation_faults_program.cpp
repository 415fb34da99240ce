// Runs against a server while memory runs out, one process for each: this one stays without threads
// and forks.
//
//     kiv_allocation_faults URL DIRECTORY cold|warm once|lasting|closes FIRST STEP
//
// With n = FIRST, FIRST + STEP, ... the n-th allocation of a run fails, up to the first run that
// gets through; with "closes" it is the n-th closing of a file that fails, while no trace of a
// failure can be made. "cold" is the first run of a process, "warm" one after another. Prints a
// line for each n that broke a promise, and at the end how many runs there were.

#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "foundation/error_node.h"
#include "foundation/win32/fault_injection.h"
#include "hostile/besieged_library.h"
#include "hostile/failing_allocator.h"
#include "interface/downloader_interface.h"
#include "interface/message_sink.h"

using namespace TestSupport;

namespace {

constexpr std::uint32_t ioError = 1117;

struct Settings {
    std::string url;
    std::filesystem::path directory;
    bool isWarm;
    /// "once", "lasting" or "closes".
    std::string kind;
};

/// A host that only keeps in mind whether it was told of a failure, and allocates nothing.
class ForgetfulSink final : public MessageSink {
public:
    bool toldFailure = false;

    void setProgressRange(std::int32_t) override {}
    void setProgress(std::int32_t) override {}
    void setProgressText(const char*) override {}
    std::int32_t getAbortCode() override { return 0; }
    void progressBegin() override {}
    void progressEnd() override {}
    void logInfo(const char*, ...) override {}
    void reportWarning(const char*, std::int32_t, const char*, ...) override {}
    void reportError(const Brelt::ErrorChain&) override { toldFailure = true; }
    void logError(const char*, ...) override { toldFailure = true; }
    void logDebug(const char*, ...) override {}
};

/// One use of the library as a host makes it, from the table to the handle's end.
std::int32_t downloadInto(DownloaderParams& params, ForgetfulSink& sink) {
    DownloaderInterface table{};
    initDownloaderInterface(&table);
    DownloaderImpl* downloader = table.createDownloader(&sink, &params);
    const std::int32_t result = table.download(downloader);
    table.destroyDownloader(downloader);
    return downloader == nullptr ? -2 : result;
}

class Run {
public:
    explicit Run(const Settings& settings) : settings_(settings) {
        params_.url = settings.url.c_str();
        params_.proxyMode = ProxyModeDirect;
        params_.targetDirectory = settings.directory.c_str();
    }

    /// What is left to be wished for after the n-th allocation failed; sets `struck`.
    std::string withFailure(std::int64_t n, bool& struck) {
        if (!settings_.isWarm) {
            return strike(n, struck);
        }
        ForgetfulSink ignored;
        downloadInto(params_, ignored);
        std::string wish = strike(n, struck);
        // What a failure makes the system keep for later, such as a thread's stack, it keeps once.
        if (leaked_ > 0) {
            wish += strike(n, struck);
        }
        return leaked_ > 0 ? wish + "; " + std::to_string(leaked_) + " blocks leaked" : wish;
    }

    /// A later run of the same process.
    std::string healing() {
        ForgetfulSink sink;
        const std::int32_t result = downloadInto(params_, sink);
        return (result == 0 ? "" : "; the next run fails") + differencesNow();
    }

private:
    std::string strike(std::int64_t n, bool& struck) {
        prepareDisk();
        ForgetfulSink sink;
        const std::int64_t before = liveBlocks();
        const std::int32_t result = settings_.kind == "closes" ? downloadUntraced(n, sink, struck)
                                                               : downloadShort(n, sink, struck);
        leaked_ = liveBlocks() - before;
        std::string wish = judge(result, struck);
        // Memory for the telling can be had again when it was short once.
        if (result == -1 && !sink.toldFailure && settings_.kind == "once") {
            wish += "; the host wasn't told";
        }
        // The first one is that of the old stamp, which was only read.
        if (settings_.kind == "closes" && struck && n > 1 && result == 0) {
            wish += "; a failed close passed for success";
        }
        return wish;
    }

    std::int32_t downloadShort(std::int64_t n, ForgetfulSink& sink, bool& struck) {
        letAllocationFail(n, settings_.kind == "once" ? Shortage::Once : Shortage::Lasting);
        const std::int32_t result = downloadInto(params_, sink);
        struck = endShortage();
        return result;
    }

    std::int32_t downloadUntraced(std::int64_t n, ForgetfulSink& sink, bool& struck) {
        const Brelt::FaultInjection faults(
            {.calls = Brelt::closeHandleCall, .strikeAt = n, .code = ioError});
        letBlocksFail(sizeof(Brelt::ErrorNode));
        const std::int32_t result = downloadInto(params_, sink);
        endShortage();
        struck = faults.hasStruck();
        return result;
    }

    void prepareDisk() const {
        std::filesystem::remove_all(settings_.directory);
        std::filesystem::create_directory(settings_.directory);
        std::ofstream(settings_.directory / "id.txt") << "old";
        std::ofstream(settings_.directory / "f1.tx") << "old content";
    }

    std::string judge(std::int32_t result, bool struck) const {
        std::string wish;
        if (result == 0 || stampIsNew()) {
            wish += differencesNow();
        }
        if (!struck && result != 0) {
            wish += "; fails without cause";
        }
        return wish;
    }

    bool stampIsNew() const {
        const Tree tree = readTree(settings_.directory);
        const auto stamp = tree.find("id.txt");
        return stamp != tree.end() && stamp->second == library_.stamp;
    }

    std::string differencesNow() const {
        const Tree actual = readTree(settings_.directory);
        std::string text;
        for (const std::string& line : differences(allowed(library_, actual), actual)) {
            text += "; " + line;
        }
        return text;
    }

    Settings settings_;
    SampleLibrary library_ = besiegedLibrary();
    DownloaderParams params_;
    std::int64_t leaked_ = 0;
};

constexpr int gotThrough = 3;

/// In the child; never returns.
[[noreturn]] void runChild(const Settings& settings, std::int64_t n) {
    Run run(settings);
    bool struck = false;
    std::string wish = run.withFailure(n, struck);
    wish += run.healing();
    if (!wish.empty()) {
        std::printf("allocation %lld%s\n", static_cast<long long>(n), wish.c_str());
    }
    std::exit(struck ? EXIT_SUCCESS : gotThrough);
}

/// False after the first run that nothing befell.
bool runOnce(const Settings& settings, std::int64_t n) {
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        runChild(settings, n);
    }
    int status = 0;
    waitpid(child, &status, 0);
    const bool ended = WIFEXITED(status);
    const int code = ended ? WEXITSTATUS(status) : WTERMSIG(status);
    if (!ended || (code != EXIT_SUCCESS && code != gotThrough)) {
        std::printf("allocation %lld; the process ended with %s %d\n", static_cast<long long>(n),
                    ended ? "code" : "signal", code);
    }
    return !ended || code != gotThrough;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 7) {
        std::fputs(
            "usage: kiv_allocation_faults URL DIRECTORY cold|warm once|lasting|closes FIRST STEP\n",
            stderr);
        return 2;
    }
    const Settings settings{arguments[1], arguments[2], arguments[3] == std::string("warm"),
                            arguments[4]};
    const std::int64_t step = std::stoll(arguments[6]);
    std::int64_t n = std::stoll(arguments[5]);
    std::int64_t runs = 1;
    for (; runOnce(settings, n); n += step) {
        ++runs;
    }
    std::printf("%lld runs, up to allocation %lld\n", static_cast<long long>(runs),
                static_cast<long long>(n));
    return 0;
}
