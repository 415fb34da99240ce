// The life of children, seen with the calls of POSIX.

#include <gtest/gtest.h>

#include <csignal>

#include "support/child_process.h"
#include "support/temp_directory.h"

using namespace TestSupport;

TEST(ChildProcess, EndsWithItsObjectAndTellsWhatIsMissing) {
    const TempDirectory directory;
    int pid = 0;
    {
        const ChildProcess child({"cat", "/dev/zero"}, "/dev/null");
        pid = child.pid();
        EXPECT_EQ(::kill(pid, 0), 0);
    }
    EXPECT_EQ(::kill(pid, 0), -1);
    EXPECT_THROW(ChildProcess({"no-such-program"}, directory.path() / "o"), std::runtime_error);
    EXPECT_EQ(runCommand({"sh", "-c", "echo $0", "x"}), "x\n");
    EXPECT_THROW(runCommand({"sh", "-c", "exit 3"}), std::runtime_error);
    ChildProcess loop({"cat", "/dev/zero"}, "/dev/null", {"A=b", "PATH"});
    EXPECT_EQ(loop.terminate(), 128 + SIGTERM);
}
