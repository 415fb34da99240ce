#pragma once

// kivsync and kivpublish as processes, for their tests: a directory, a server and a sample library.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/sample_library.h"
#include "support/scripted_server.h"
#include "support/server_scripts.h"
#include "support/temp_directory.h"

namespace KivHost {

using testing::AssertionFailure;
using testing::AssertionResult;
using testing::AssertionSuccess;
using TestSupport::SampleLibrary;
using Words = std::vector<std::string>;

/// The path of a program of the build.
inline std::string program(const std::string& name) {
    return KIV_PROGRAM_DIRECTORY "/" + name + KIV_PROGRAM_SUFFIX;
}

inline AssertionResult holds(const std::string& text, const std::string& part) {
    if (text.find(part) != std::string::npos) {
        return AssertionSuccess();
    }
    return AssertionFailure() << "no \"" << part << "\" in:\n" << text;
}

inline AssertionResult lacks(const std::string& text, const std::string& part) {
    if (text.find(part) == std::string::npos) {
        return AssertionSuccess();
    }
    return AssertionFailure() << "\"" << part << "\" in:\n" << text;
}

struct Outcome {
    int code = -1;
    std::string output;
};

class Programs : public testing::Test {
protected:
    /// Without the proxy that the machine may have set up for itself.
    static Words environment(Words more = {}) {
        for (const char* name : {"http_proxy", "https_proxy", "all_proxy", "no_proxy",
                                 "HTTPS_PROXY", "ALL_PROXY", "NO_PROXY"}) {
            more.insert(more.begin(), name);
        }
        return more;
    }

    Outcome run(const std::string& file, Words arguments, const Words& more = {}) {
        arguments.insert(arguments.begin(), file);
        TestSupport::ChildProcess child(arguments, directory.path() / "output", environment(more));
        Outcome outcome;
        outcome.code = child.wait();
        outcome.output = child.output();
        return outcome;
    }
    Outcome sync(const Words& arguments, const Words& more = {}) {
        return run(program("kivsync"), arguments, more);
    }

    std::string url() const { return server.url("/lib"); }
    std::string copy() const { return directory.text("copy"); }
    TestSupport::Tree copied() const { return TestSupport::readTree(directory.path() / "copy"); }

    TestSupport::TempDirectory directory;
    TestSupport::ScriptedServer server;
    SampleLibrary library;
};

}  // namespace KivHost
