// The judge of the sink's contract has to be able to condemn.

#include "support/recording_sink.h"

#include <gtest/gtest.h>

#include <thread>

using namespace TestSupport;

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
