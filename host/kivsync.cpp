// kivsync: brings a directory up to date with a library on a server, or tells whether it is.

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "console_sink.h"
#include "interface/downloader_interface.h"
#include "library.h"
#include "platform.h"
#include "text.h"

namespace {

enum ExitCode { UpToDate = 0, ChangeIsThere = 1, Failed = 2, Interrupted = 128 };

struct Options {
    std::string url;
    std::string directory;
    std::string subPath;
    std::string proxy = "system";
    bool check = false;
    bool quiet = false;
    bool verbose = false;
};

void describe(CLI::App& app, Options& options) {
    app.add_option("URL", options.url, "http or https, host, and the library's path")->required();
    app.add_option("DIRECTORY", options.directory, "the local copy; made if it is missing")
        ->required();
    app.add_flag("--check", options.check, "only tell whether the library has changed");
    app.add_option("--sub-path", options.subPath, "where within the library its stamp lies")
        ->type_name("NAME");
    app.add_option("--proxy", options.proxy, "the proxy's HOST:PORT, or one of the two words")
        ->type_name("ADDRESS|direct|system")
        ->capture_default_str();
    auto* quiet = app.add_flag("-q,--quiet", options.quiet, "print warnings and errors only");
    app.add_flag("-v,--verbose", options.verbose, "print what is done in every detail")
        ->excludes(quiet);
    app.set_version_flag("--version", "kivsync " KIV_VERSION);
    app.footer(
        "Exit code: 0 up to date, 1 a change is there (with --check), 2 failed, 130 interrupted.");
}

std::string requireText(const std::string& text, const char* what) {
    if (text.empty()) {
        throw CLI::ValidationError(what, "must not be empty");
    }
    return text;
}

void chooseProxy(const Options& options, DownloaderParams& params) {
    if (options.proxy == "direct") {
        params.proxyMode = ProxyModeDirect;
    } else if (options.proxy == "system") {
        params.proxyMode = ProxyModeSystem;
    } else {
        params.proxyMode = ProxyModeAddress;
        params.proxyAddress =
            KivHost::withoutLastSlash(requireText(options.proxy, "--proxy")).c_str();
    }
}

DownloaderParams makeParams(const Options& options) {
    DownloaderParams params;
    params.url = KivHost::withoutLastSlash(requireText(options.url, "URL")).c_str();
    // A path that begins with ".." means nothing to the library.
    const auto directory = KivHost::textToPath(requireText(options.directory, "DIRECTORY"));
    params.targetDirectory =
        KivHost::pathToText(std::filesystem::absolute(directory).lexically_normal()).c_str();
    params.subPath = KivHost::withoutOuterSlashes(options.subPath).c_str();
    chooseProxy(options, params);
    return params;
}

KivHost::Verbosity verbosityOf(const Options& options) {
    if (options.quiet) {
        return KivHost::Verbosity::Quiet;
    }
    return options.verbose ? KivHost::Verbosity::Verbose : KivHost::Verbosity::Normal;
}

int concludeFailure(const Options& options, KivHost::ConsoleSink& sink) {
    if (KivHost::stopRequested() != 0) {
        sink.say("Stopped. What has been saved stays; the next run brings the rest.");
        return Interrupted + KivHost::stopRequested();
    }
    if (options.check) {
        sink.complain("could not tell whether the library has changed");
    } else {
        sink.complain("\"" + options.directory + "\" isn't up to date; the next run starts over");
    }
    return Failed;
}

int conclude(const Options& options, std::int32_t result, KivHost::ConsoleSink& sink) {
    if (result < 0) {
        return concludeFailure(options, sink);
    }
    if (result > 0) {
        sink.say("A change is there.");
        return ChangeIsThere;
    }
    const std::int32_t files = sink.filesFetched();
    sink.say(files == 0 ? "Up to date."
                        : "Up to date: " + std::to_string(files) + " files fetched.");
    return UpToDate;
}

int run(const Options& options, DownloaderParams& params) {
    const DownloaderInterface table = KivHost::loadDownloaderLibrary();
    KivHost::ConsoleSink sink(verbosityOf(options), KivHost::errorOutputIsTerminal(),
                              KivHost::terminalColumns());
    const KivHost::Network network(table);
    network.requireStarted();
    KivHost::noteStopRequests();
    KivHost::Downloader downloader(table, sink, params);
    const std::int32_t result = options.check ? downloader.checkForUpdate() : downloader.download();
    const int code = conclude(options, result, sink);
    sink.finish();
    return code;
}

int syncAsTold(int argc, char** argv) {
    CLI::App app("Brings a directory up to date with a library of assets on a server.", "kivsync");
    Options options;
    describe(app, options);
    std::vector<std::string> arguments = KivHost::commandLineArguments(argc, argv);
    std::ranges::reverse(arguments);
    DownloaderParams params;
    try {
        app.parse(std::move(arguments));
        params = makeParams(options);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? UpToDate : Failed;
    }
    return run(options, params);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return syncAsTold(argc, argv);
    } catch (const std::exception& error) {
        KivHost::printFailure("kivsync", error.what());
    } catch (...) {
        KivHost::printFailure("kivsync", "unknown failure");
    }
    return Failed;
}
