// A machine that fails: each call that a run makes of the file system is struck in turn, until a
// run gets through unharmed. After each the host knows, the stamp is true, nothing is left over and
// the next run heals.

#include <filesystem>
#include <optional>
#include <ostream>

#include "foundation/win32/fault_injection.h"
#include "foundation/win32/win32.h"
#include "hostile/besieged.h"
#include "hostile/long_form.h"
#include "support/process_state.h"

using namespace TestSupport;

namespace {

struct FaultKind {
    const char* name;
    std::uint32_t code;
    bool strikesOn = false;
    std::optional<std::uint32_t> bytesMoved = std::nullopt;
    /// Which calls the short form strikes: every so manieth.
    int stride = 1;
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
        Tree actual = ground.tree();
        Tree wanted = allowed(ground.library, actual);
        if (result == 0) {
            EXPECT_EQ(differences(wanted, actual), Lines{});
        } else if (!ground.toldFailure()) {
            // A stamp that could be made and not be filled is told by the result alone: all else is
            // in place then.
            actual.erase("id.txt");
            wanted.erase("id.txt");
            EXPECT_EQ(differences(wanted, actual), Lines{});
            EXPECT_EQ(result, -1);
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
                    FaultKind{"NotThere", ERROR_FILE_NOT_FOUND, false, std::nullopt, 3},
                    FaultKind{"ExistsAlready", ERROR_ALREADY_EXISTS, false, std::nullopt, 3},
                    FaultKind{"InUse", ERROR_SHARING_VIOLATION, false, std::nullopt, 5},
                    FaultKind{"DiskFull", ERROR_DISK_FULL, false, std::nullopt, 3},
                    FaultKind{"DiskStaysFull", ERROR_DISK_FULL, true},
                    FaultKind{"OutOfDescriptorsForGood", ERROR_TOO_MANY_OPEN_FILES, true,
                              std::nullopt, 3},
                    FaultKind{"DiskFullInTheMidst", ERROR_DISK_FULL, false, 7U, 2},
                    FaultKind{"ShortTransfer", ERROR_SUCCESS, false, 7U, 3},
                    FaultKind{"ShortTransfersForGood", ERROR_SUCCESS, true, 1U, 5},
                    FaultKind{"NothingMovesAnyMore", ERROR_SUCCESS, true, 0U, 3}),
    [](const auto& row) { return std::string(row.param.name); });

/// The device that is always full stands for a real disk.
TEST(FullDisk, FileThatCannotBeWrittenIsToldWithTheSystemsCode) {
    Besieged ground;
    std::filesystem::create_directory(ground.target.path() / "inside");
    const auto file = ground.target.path() / "inside" / "f5.tx";
    std::filesystem::create_symlink("/dev/full", file);
    EXPECT_EQ(ground.download(), -1);
    const std::vector<ErrorLine> nodes = ground.sink.errorNodes();
    ASSERT_FALSE(nodes.empty());
    EXPECT_EQ(nodes.back().function, "PFileStream::Write");
    EXPECT_EQ(nodes.back().code, 112);
    EXPECT_EQ(ground.stampOnDisk(), "");
    std::filesystem::remove(file);
    ground.expectHealing();
}

TEST(FullDisk, StampThatCannotBeFilledIsToldByTheResultAlone) {
    Besieged ground;
    std::filesystem::create_directory(ground.target.path() / "inside");
    const auto stamp = ground.target.path() / "inside" / "id.txt";
    std::filesystem::create_symlink("/dev/full", stamp);
    EXPECT_EQ(ground.download(), -1);
    EXPECT_FALSE(ground.toldFailure()) << ground.sink.errorText();
    std::filesystem::remove(stamp);
    EXPECT_EQ(ground.checkForUpdate(), 1);
    ground.expectHealing();
}

}  // namespace
