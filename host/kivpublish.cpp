// kivpublish: makes a directory tree a library that kivsync and its kin can fetch.

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Validators.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "file_rules.h"
#include "platform.h"
#include "publishing.h"
#include "text.h"

namespace {

constexpr int failed = 2;

struct Options {
    std::string directory;
    std::string subPath;
    std::string stamp;
    std::vector<std::string> rules;
    std::string defaultRule = "always";
    bool quiet = false;
};

void describe(CLI::App& app, Options& options) {
    app.add_option("DIRECTORY", options.directory, "the library's root")->required();
    app.add_option("--rule", options.rules,
                   "rule for the files that a pattern matches; the first match wins. * and ? stay "
                   "within a segment, ** doesn't; a pattern without / is held against the name "
                   "alone")
        ->type_name("'PATTERN=always|missing|none'")
        ->allow_extra_args(false);
    app.add_option("--default-rule", options.defaultRule, "rule for all other files")
        ->type_name("RULE")
        ->capture_default_str()
        ->check(CLI::IsMember(KivHost::knownRules()));
    app.add_option("--stamp", options.stamp,
                   "bytes of the stamp, as they are; without it the stamp is a hash over the "
                   "list and all files in it")
        ->type_name("TEXT");
    app.add_option("--sub-path", options.subPath,
                   "publish the files below this folder of DIRECTORY only")
        ->type_name("NAME");
    app.add_flag("-q,--quiet", options.quiet, "print warnings and errors only");
    app.set_version_flag("--version", "kivpublish " KIV_VERSION);
}

void report(const KivHost::PublishResult& result) {
    std::printf("%lld files (%lld with a lossy variant), %lld bytes to fetch\n",
                static_cast<long long>(result.files), static_cast<long long>(result.variants),
                static_cast<long long>(result.bytes));
    std::string stamp = result.stamp;
    stamp.erase(stamp.find_last_not_of('\n') + 1);
    std::printf("stamp: %s\n", KivHost::printable(stamp).c_str());
}

int run(const Options& options, bool stampGiven) {
    KivHost::FileRules rules(options.defaultRule);
    for (const std::string& rule : options.rules) {
        rules.add(rule);
    }
    KivHost::PublishRequest request;
    request.directory = KivHost::textToPath(options.directory);
    request.subPath = KivHost::withoutOuterSlashes(options.subPath);
    if (stampGiven) {
        request.stamp = options.stamp;
    }
    const auto warn = [](const std::string& line) {
        std::fprintf(stderr, "kivpublish: warning: %s\n", line.c_str());
    };
    const KivHost::PublishResult result = KivHost::publish(request, rules, warn);
    if (!options.quiet) {
        report(result);
    }
    return std::fflush(stdout) == 0 ? 0 : failed;
}

int publishAsTold(int argc, char** argv) {
    CLI::App app("Writes filelist.json and id.txt for a directory tree, the stamp last.",
                 "kivpublish");
    Options options;
    describe(app, options);
    std::vector<std::string> arguments = KivHost::commandLineArguments(argc, argv);
    std::ranges::reverse(arguments);
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : failed;
    }
    return run(options, app.count("--stamp") > 0);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return publishAsTold(argc, argv);
    } catch (const std::exception& error) {
        KivHost::printFailure("kivpublish", error.what());
    } catch (...) {
        KivHost::printFailure("kivpublish", "unknown failure");
    }
    return failed;
}
