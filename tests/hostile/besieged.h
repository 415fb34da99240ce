#pragma once

// The ground of the hostile tests: a library, a server, a target that stands in a directory of its
// own, and what has to hold after each run, however it went.

#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "support/downloader_fixture.h"
#include "support/process_state.h"
#include "support/sample_library.h"

namespace TestSupport {

/// Some tests have a short form for each day, and with KIV_LONG_TESTS=1 in the environment a long
/// one that leaves nothing out.
inline bool isLongForm() {
    const char* value = std::getenv("KIV_LONG_TESTS");
    return value != nullptr && std::string_view(value) == "1";
}

template <class Value>
Value longOrShort(Value longForm, Value shortForm) {
    return isLongForm() ? longForm : shortForm;
}

/// Seven files, two of them in directories, one lossy, one under the rule "missing".
inline SampleLibrary besiegedLibrary() {
    SampleLibrary library;
    library.add("f1.tx", std::string(3'000, '1'))
        .add("f2.tx", std::string(40'000, '2'))
        .add("wood/f3.tx", std::string(2'000, '3'))
        .addLossy("wood/oak/f4.tx", "full", std::string(2'000, '4'))
        .add("f5.tx", std::string(2'000, '5'))
        .add("f6.tx", "", "always")
        .add("f7.tx", "7", "missing");
    return library;
}

/// Where `actual` isn't what the server has now; what stands under the rule "missing" counts as it
/// stands.
inline Lines shortcomings(const SampleLibrary& library, const Tree& actual) {
    Tree wanted = library.expected();
    for (const SampleFile& file : library.files) {
        const auto found = actual.find(file.path);
        if (file.rule == "missing" && found != actual.end()) {
            wanted[file.path] = found->second;
        }
    }
    return differences(wanted, actual);
}

/// One line for each promise that is broken in `root`, whose "inside" is the target: something lies
/// outside of that, or the stamp equals the remote one beside an incomplete tree.
inline Lines brokenPromises(const SampleLibrary& library, const std::filesystem::path& root) {
    Lines lines;
    for (const auto& [path, bytes] : readTree(root)) {
        if (!path.starts_with("inside/")) {
            lines.push_back("outside the target: " + path);
        }
    }
    const Tree tree = readTree(root / "inside");
    const auto stamp = tree.find("id.txt");
    if (stamp != tree.end() && stamp->second == library.stamp) {
        for (const std::string& line : shortcomings(library, tree)) {
            lines.push_back("a stamp that lies: " + line);
        }
    }
    return lines;
}

struct Besieged : Downloading {
    explicit Besieged(SampleLibrary contents = besiegedLibrary()) : library(std::move(contents)) {
        params.targetDirectory = target.text("inside").c_str();
        serveSoundly();
    }

    /// Everything as a sound server has it; takes all broken handlers away.
    void serveSoundly() { server.serve("/lib", library.served()); }

    Tree tree() const { return readTree(target.path() / "inside"); }
    /// "" while there is none.
    std::string stampOnDisk() const {
        return target.exists("inside/id.txt") ? target.read("inside/id.txt") : "";
    }
    Lines brokenPromises() const { return TestSupport::brokenPromises(library, target.path()); }

    /// Whether the last run told the host of a failure.
    bool toldFailure() const { return !sink.errorNodes().empty() || !sink.of("logError").empty(); }

    /// A new stamp, a sound server, a new downloader: the run has to succeed with an equal tree.
    void expectHealing() {
        library.stamp += "healed\n";
        serveSoundly();
        sink.goOn();
        destroy();
        EXPECT_EQ(download(), 0) << sink.errorText();
        EXPECT_EQ(stampOnDisk(), library.stamp);
        EXPECT_EQ(brokenPromises(), Lines{});
        destroy();
    }

    SampleLibrary library;
};

/// A run that makes what a process makes once and keeps: libcurl's own, and the C library's.
inline void warmUp() {
    static const std::int32_t result = Besieged().download();
    EXPECT_EQ(result, 0);
}

/// Runs `body` and expects that it leaves neither descriptor nor thread behind.
inline void expectNothingLeftOver(const std::function<void()>& body) {
    warmUp();
    const ProcessState before = ProcessState::now();
    body();
    EXPECT_EQ(ProcessState::settledTo(before), before);
}

}  // namespace TestSupport
