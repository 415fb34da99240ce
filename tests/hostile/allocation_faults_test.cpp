// Memory that runs out at each allocation in turn: a program beside this one makes the runs, each
// in a process of its own, and is judged from here.

#include <chrono>
#include <ostream>
#include <string>
#include <vector>

#include "hostile/besieged_library.h"
#include "hostile/long_form.h"
#include "support/child_process.h"
#include "support/downloader_fixture.h"

using namespace TestSupport;

namespace {

struct ShortageCase {
    const char* name;
    /// Whether the run is the first of its process, and how long the shortage lasts.
    const char* start;
    const char* shortage;
    /// Which allocations the short form lets fail: every so manieth.
    int stride;
};

std::ostream& operator<<(std::ostream& stream, const ShortageCase& test) {
    return stream << test.name;
}

class AllocationFaults : public testing::TestWithParam<ShortageCase> {};

/// The program's last line, if it is all that it has to say.
std::string complaints(const std::string& output) {
    const std::size_t last = output.rfind('\n', output.size() - 2);
    return last == std::string::npos ? "" : output.substr(0, last);
}

TEST_P(AllocationFaults, EachInTurnNeitherCrashesNorLiesNorLeaks) {
    const ShortageCase& test = GetParam();
    ScriptedServer server;
    server.serve("/lib", besiegedLibrary().served());
    const TempDirectory directory;
    ChildProcess program(
        {KIV_ALLOCATION_FAULTS, server.url("/lib"), directory.text("target"), test.start,
         test.shortage, "1", std::to_string(longOrShort(1, test.stride))},
        directory.path() / "output");
    const auto code = program.waitFor(std::chrono::minutes(longOrShort(60, 2)));
    ASSERT_TRUE(code) << program.output();
    EXPECT_EQ(*code, 0);
    EXPECT_EQ(complaints(program.output()), "");
    RecordProperty("done", program.output());
}

INSTANTIATE_TEST_SUITE_P(Shortages, AllocationFaults,
                         testing::Values(ShortageCase{"FirstRunOnce", "cold", "once", 101},
                                         ShortageCase{"FirstRunLasting", "cold", "lasting", 101},
                                         ShortageCase{"LaterRunOnce", "warm", "once", 11},
                                         ShortageCase{"LaterRunLasting", "warm", "lasting", 11},
                                         ShortageCase{"FailedClosesWithoutATrace", "warm", "closes",
                                                      1}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
