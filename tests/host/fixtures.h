#pragma once

// For the tests of kivsync and kivpublish: the programs as processes, with a directory, a server
// and a sample library; and publishing by a call.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "publishing.h"
#include "support/child_process.h"
#include "support/sample_library.h"
#include "support/scripted_server.h"
#include "support/server_scripts.h"
#include "support/temp_directory.h"

namespace KivHost {

using namespace TestSupport;
using Words = std::vector<std::string>;

/// The path of a program of the build.
inline std::string program(const std::string& name) {
    return KIV_PROGRAM_DIRECTORY "/" + name + KIV_PROGRAM_SUFFIX;
}

inline testing::AssertionResult holds(const std::string& text, const std::string& part) {
    return testing::IsSubstring("part", "text", part, text);
}

inline testing::AssertionResult lacks(const std::string& text, const std::string& part) {
    return testing::IsNotSubstring("part", "text", part, text);
}

struct Outcome {
    int code;
    std::string output;
};

class Programs : public testing::Test {
protected:
    /// Without the proxy that the machine may have set up for itself.
    static Words environment(Words more = {}) {
        more.insert(more.begin(), {"http_proxy", "https_proxy", "all_proxy", "no_proxy",
                                   "HTTPS_PROXY", "ALL_PROXY", "NO_PROXY"});
        return more;
    }

    Outcome run(const std::string& file, Words arguments, const Words& more = {}) {
        arguments.insert(arguments.begin(), file);
        ChildProcess child(arguments, directory.path() / "output", environment(more));
        const int code = child.wait();
        return {code, child.output()};
    }
    Outcome sync(const Words& arguments, const Words& more = {}) {
        return run(program("kivsync"), arguments, more);
    }

    void serveFile(const std::string& path) {
        library.add(path, "content");
        server.serve("/lib", library.served());
    }

    std::string url() const { return server.url("/lib"); }
    std::string copy() const { return directory.text("copy"); }
    Tree copied() const { return readTree(directory.path() / "copy"); }

    TempDirectory directory;
    ScriptedServer server;
    SampleLibrary library;
};

/// A directory to publish and what came of it.
class Publishing : public testing::Test {
protected:
    PublishResult publishWith(FileRules rules = FileRules("always"), PublishRequest request = {}) {
        request.directory = tree.path();
        warnings.clear();
        return publish(request, rules, [this](const std::string& w) { warnings.push_back(w); });
    }

    TempDirectory tree;
    Words warnings;
};

}  // namespace KivHost
