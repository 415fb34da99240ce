#include "support/process_state.h"

#include <gtest/gtest.h>

#include <thread>

#include "support/sockets.h"

using namespace TestSupport;

TEST(ProcessState, SeesDescriptorsAndThreads) {
    {
        // What a system keeps from the first use on.
        const WakeSignal first;
        std::thread([] {}).join();
    }
    const ProcessState before = ProcessState::now();
    {
        WakeSignal go;
        EXPECT_EQ(ProcessState::now(), (ProcessState{before.descriptors + 2, before.threads}));
        std::thread thread([&] { waitForSocket(Socket(), Interest::Read, {&go}); });
        EXPECT_EQ(ProcessState::now().threads, before.threads + 1);
        go.raise();
        thread.join();
    }
    EXPECT_EQ(ProcessState::settledTo(before), before);
}
