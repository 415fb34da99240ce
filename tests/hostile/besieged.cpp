#include "hostile/besieged.h"

#include <utility>

#include "support/process_state.h"

namespace TestSupport {

Besieged::Besieged(SampleLibrary contents) : library(std::move(contents)) {
    params.targetDirectory = target.text("inside").c_str();
    serveSoundly();
}

void Besieged::serveSoundly() {
    server.serve("/lib", library.served());
}

std::string Besieged::stampOnDisk() const {
    return target.exists("inside/id.txt") ? target.read("inside/id.txt") : "";
}

Lines Besieged::brokenPromises() const {
    Lines lines;
    for (const auto& [path, bytes] : readTree(target.path())) {
        if (path.rfind("inside/", 0) != 0) {
            lines.push_back("outside the target: " + path);
        }
    }
    if (stampOnDisk() == library.stamp) {
        const Tree actual = tree();
        for (const std::string& line : differences(allowed(library, actual), actual)) {
            lines.push_back("a stamp that lies: " + line);
        }
    }
    return lines;
}

bool Besieged::toldFailure() const {
    return !sink.errorNodes().empty() || !sink.of("logError").empty();
}

void Besieged::expectHealing() {
    library.stamp += "healed\n";
    serveSoundly();
    sink.goOn();
    destroy();
    EXPECT_EQ(download(), 0) << sink.errorText();
    const Tree actual = tree();
    EXPECT_EQ(differences(allowed(library, actual), actual), Lines{});
    EXPECT_EQ(brokenPromises(), Lines{});
    destroy();
}

void warmUp() {
    static const bool done = [] {
        Besieged ground;
        return ground.download() == 0;
    }();
    EXPECT_TRUE(done);
}

void expectNothingLeftOver(const std::function<void()>& body) {
    warmUp();
    const ProcessState before = ProcessState::now();
    body();
    EXPECT_EQ(ProcessState::settledTo(before), before);
}

}  // namespace TestSupport
