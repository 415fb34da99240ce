// A machine that fails: each call that a run makes of the file system is struck in turn, until a
// run gets through unharmed. After each the host knows, the stamp is true, nothing is left over and
// the next run heals.

#include <filesystem>
#include <optional>
#include <ostream>

#include "foundation/win32/fault_injection.h"
#include "foundation/win32/win32.h"
#include "hostile/besieged.h"

using namespace TestSupport;

namespace {

struct FaultKind {
    const char* name;
    std::uint32_t code;
    /// Which calls the short form strikes: every so manieth.
    int stride = 1;
    bool strikesOn = false;
    std::optional<std::uint32_t> bytesMoved = std::nullopt;
};

std::ostream& operator<<(std::ostream& stream, const FaultKind& kind) {
    return stream << kind.name;
}

class SystemCallFaults : public testing::TestWithParam<FaultKind> {
protected:
    static void SetUpTestSuite() { warmUp(); }

    /// The disk as an older run has left it: an old stamp, and one file to be replaced.
    void prepareDisk() {
        std::filesystem::remove_all(ground.target.path() / "inside");
        ground.target.write("inside/id.txt", "old");
        ground.target.write("inside/f1.tx", "old and longer than nothing");
    }

    /// One run with the n-th call struck; false if nothing was struck any more.
    bool runWithFault(std::int64_t n) {
        const FaultKind& kind = GetParam();
        ground.sink.clear();
        const Brelt::FaultInjection faults({.calls = Brelt::anyCall,
                                            .strikeAt = n,
                                            .code = kind.code,
                                            .strikesOn = kind.strikesOn,
                                            .bytesMoved = kind.bytesMoved});
        result = ground.download();
        ground.destroy();
        return faults.hasStruck();
    }

    void judge() {
        EXPECT_EQ(ground.brokenPromises(), Lines{});
        if (result == 0 || !ground.toldFailure()) {
            Lines lines = shortcomings(ground.library, ground.tree());
            if (result == -1) {
                // A stamp that could be made and not be filled is told by the result alone.
                std::erase(lines, "differs: id.txt");
                std::erase(lines, "missing: id.txt");
            }
            EXPECT_EQ(lines, Lines{});
        }
    }

    Besieged ground;
    /// With the server, and without connections.
    const ProcessState before = ProcessState::now();
    std::int32_t result = 0;
};

TEST_P(SystemCallFaults, EachCallInTurnIsToldAndHealed) {
    const std::int64_t stride = longOrShort(1, GetParam().stride);
    std::int64_t n = 1 - stride;
    for (bool struck = true; struck && !HasFailure();) {
        n += stride;
        SCOPED_TRACE("call " + std::to_string(n));
        prepareDisk();
        struck = runWithFault(n);
        judge();
        ground.expectHealing();
        EXPECT_EQ(ProcessState::settledTo(before), before);
    }
    EXPECT_EQ(result, 0) << "a run without a fault";
    EXPECT_GT(n, 30) << "the calls of seven files";
    RecordProperty("calls", static_cast<int>(n - 1));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, SystemCallFaults,
    testing::Values(FaultKind{"NoRights", ERROR_ACCESS_DENIED},
                    FaultKind{"NotThere", ERROR_FILE_NOT_FOUND, 3},
                    FaultKind{"ExistsAlready", ERROR_ALREADY_EXISTS, 3},
                    FaultKind{"InUse", ERROR_SHARING_VIOLATION, 5},
                    FaultKind{"DiskFull", ERROR_DISK_FULL, 3},
                    FaultKind{"DiskStaysFull", ERROR_DISK_FULL, 1, true},
                    FaultKind{"OutOfDescriptorsForGood", ERROR_TOO_MANY_OPEN_FILES, 3, true},
                    FaultKind{"DiskFullInTheMidst", ERROR_DISK_FULL, 2, false, 7U},
                    FaultKind{"ShortTransfer", ERROR_SUCCESS, 3, false, 7U},
                    FaultKind{"ShortTransfersForGood", ERROR_SUCCESS, 5, true, 1U},
                    FaultKind{"NothingMovesAnyMore", ERROR_SUCCESS, 3, true, 0U}),
    [](const auto& row) { return std::string(row.param.name); });

class FullDisk : public testing::Test, protected Besieged {
protected:
    /// The device that is always full stands for a real disk.
    void downloadToFull(const std::string& name) {
        const auto file = target.path() / "inside" / name;
        std::filesystem::create_directory(file.parent_path());
        std::filesystem::create_symlink("/dev/full", file);
        EXPECT_EQ(download(), -1);
        std::filesystem::remove(file);
    }
};

TEST_F(FullDisk, FileThatCannotBeWrittenIsToldWithTheSystemsCode) {
    downloadToFull("f5.tx");
    ASSERT_TRUE(toldFailure());
    EXPECT_EQ(sink.errorNodes().back().function, "PFileStream::Write");
    EXPECT_EQ(sink.errorNodes().back().code, 112);
    EXPECT_EQ(stampOnDisk(), "");
    expectHealing();
}

TEST_F(FullDisk, StampThatCannotBeFilledIsToldByTheResultAlone) {
    downloadToFull("id.txt");
    EXPECT_FALSE(toldFailure()) << sink.errorText();
    EXPECT_EQ(checkForUpdate(), 1);
    expectHealing();
}

}  // namespace
