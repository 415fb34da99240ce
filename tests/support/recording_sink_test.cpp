// The recorder's verdicts: what a test that leans on it takes for granted.

#include "support/recording_sink.h"

#include <gtest/gtest.h>

#include <thread>

using namespace TestSupport;

namespace {

/// A stage with two values on the way, as a transfer's thread would send them.
std::int32_t runStage(RecordingSink& sink) {
    sink.setProgressText("Downloading");
    sink.setProgressRange(1000);
    sink.setProgress(0);
    sink.progressBegin();
    std::thread transfer([&] {
        sink.setProgress(250);
        sink.setProgressText("Downloading (1MB / 4MB)");
    });
    transfer.join();
    sink.logInfo("file %d of \"%s\"", 3, "a%b");
    sink.progressEnd();
    sink.setProgress(7);
    return 5;
}

}  // namespace

TEST(RecordingSink, StepsLeaveOutWhatDependsOnTiming) {
    RecordingSink sink;
    EXPECT_EQ(sink.during([&] { return runStage(sink); }), 5);
    EXPECT_EQ(sink.steps(), (Lines{"setProgressText Downloading", "setProgressRange 1000",
                                   "setProgress 0", "progressBegin", "logInfo file 3 of \"a%b\"",
                                   "progressEnd", "setProgress 7"}));
    EXPECT_EQ(sink.of("setProgress"), (Lines{"0", "250", "7"}));
    EXPECT_EQ(sink.lines().size(), 9U);
}

TEST(RecordingSink, AbortComesAfterTheGivenPolls) {
    RecordingSink sink;
    sink.abortAfterPolls(2, 7);
    EXPECT_EQ(sink.getAbortCode(), 0);
    EXPECT_EQ(sink.getAbortCode(), 0);
    EXPECT_EQ(sink.getAbortCode(), 7);
    EXPECT_EQ(sink.getAbortCode(), 7);
    EXPECT_EQ(sink.polls(), 4);
    EXPECT_TRUE(sink.lines().empty());
}

TEST(RecordingSink, ErrorsAreKeptNodeByNode) {
    RecordingSink sink;
    Brelt::ErrorChain error = Brelt::ErrorChain::make("inner", 2, "no \"%s\"", "file");
    error.push("outer", -1, nullptr);
    sink.reportError(error);
    EXPECT_EQ(sink.errorText(), "[outer] -1 | [inner] 2: no \"file\"");
    EXPECT_EQ(sink.errorNodes(),
              (std::vector<ErrorLine>{{"outer", -1, ""}, {"inner", 2, "no \"file\""}}));
}

TEST(RecordingSink, CallsAgainstTheContractAreTold) {
    RecordingSink sink;
    sink.during([&] {
        std::thread([&] { sink.logDebug("strange"); }).join();
        std::thread([&] { sink.getAbortCode(); }).join();
        return 0;
    });
    sink.setProgress(1);
    sink.getAbortCode();
    EXPECT_EQ(sink.takeViolations(), (Lines{"on a thread of the library: logDebug strange",
                                            "after the call had returned: setProgress 1",
                                            "after the call had returned: getAbortCode"}));
}
