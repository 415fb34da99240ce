// What the tests of whole runs are judged by: a judge who sees nothing would let each of them pass.

#include <gtest/gtest.h>

#include <mutex>
#include <thread>

#include "support/process_state.h"
#include "support/recording_sink.h"
#include "support/sample_library.h"
#include "support/sockets.h"
#include "support/temp_directory.h"

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

TEST(SampleLibrary, EachDifferenceBetweenTreesIsTold) {
    const TempDirectory directory;
    const Tree tree{{"a/b", "1"}, {"c", "2"}, {"d", "3"}};
    for (const auto& [name, content] : tree) {
        directory.write(name, content);
    }
    EXPECT_EQ(readTree(directory.path()), tree);
    EXPECT_EQ(differences(tree, {{"a/b", "1"}, {"c", "4"}, {"new", ""}}),
              (Lines{"differs: c", "missing: d", "unexpected: new"}));
}

TEST(ProcessState, SeesDescriptorsAndThreads) {
    {
        // What a system keeps from the first use on.
        const Socket first = Socket::listenOnLoopback();
        std::thread([] {}).join();
    }
    const ProcessState before = ProcessState::now();
    {
        const Socket socket = Socket::listenOnLoopback();
        EXPECT_EQ(ProcessState::now(), (ProcessState{before.descriptors + 1, before.threads}));
        std::mutex mutex;
        std::unique_lock lock(mutex);
        std::thread thread([&] { const std::lock_guard wait(mutex); });
        EXPECT_EQ(ProcessState::now().threads, before.threads + 1);
        lock.unlock();
        thread.join();
    }
    EXPECT_EQ(ProcessState::settledTo(before), before);
}
