// kivsync is killed at any moment of a run and started again: what it leaves behind is never taken
// for more than it is.

#include <chrono>
#include <random>
#include <string>

#include "hostile/besieged.h"
#include "support/child_process.h"

using namespace std::chrono_literals;
using namespace TestSupport;

namespace {

/// Windows has no name for it.
constexpr int killSignal = 9;

class KilledProcess : public testing::Test {
protected:
    KilledProcess() { server.serve("/lib", library.served()); }

    /// The server's next state: what stands under "missing" changes too, though nobody fetches it.
    void changeLibrary() {
        library.stamp += "+";
        for (SampleFile& file : library.files) {
            (file.lossy ? *file.lossy : file.content) += '+';
        }
        server.serve("/lib", library.served());
    }

    /// Runs and kills it some time behind its n-th request; its exit code if it was faster.
    int runUntilRequest(std::size_t n, std::chrono::milliseconds later) {
        const std::size_t before = server.targets().size();
        ChildProcess program({KIV_SYNC, "--quiet", "--proxy", "direct", server.url("/lib"),
                              directory.text("inside")},
                             log.path() / "output");
        while (server.targets().size() < before + n && !program.waitFor(1ms)) {
        }
        if (!program.waitFor(later)) {
            program.signal(killSignal);
        }
        const int code = program.wait();
        EXPECT_TRUE(code == 0 || code == 128 + killSignal) << code;
        EXPECT_EQ(brokenPromises(library, directory.path()), Lines{});
        if (code == 0) {
            EXPECT_EQ(directory.read("inside/id.txt"), library.stamp);
        }
        return code;
    }

    SampleLibrary library = SampleLibrary::generated(60, 20'000);
    ScriptedServer server;
    TempDirectory directory;
    TempDirectory log;
};

TEST_F(KilledProcess, LeavesNoStampThatLiesAndIsMadeUpForByTheNextRun) {
    constexpr std::uint32_t seed = 20;
    std::mt19937 random(seed);
    const std::size_t requests = library.files.size() + 2;
    std::uniform_int_distribution<std::size_t> moment(0, requests);
    std::uniform_int_distribution<int> later(0, 3);
    int killed = 0;
    for (int round = longOrShort(500, 40); round > 0 && !HasFailure(); --round) {
        SCOPED_TRACE("with seed " + std::to_string(seed) + ", round " + std::to_string(round));
        if (runUntilRequest(moment(random), std::chrono::milliseconds(later(random))) == 0) {
            changeLibrary();
        } else {
            ++killed;
        }
    }
    EXPECT_GT(killed, 0);
    EXPECT_EQ(runUntilRequest(requests, 60s), 0);
    RecordProperty("killed", killed);
}

}  // namespace
