#pragma once

// Makes chosen calls of the POSIX stand-in fail, for tests: each way out of the code above it can
// be taken on purpose, whatever the rights and the disk of the machine. Only on POSIX, only for
// tests.
//
//     for (std::int64_t n = 1;; ++n) {
//         FaultInjection faults({.calls = anyCall, .strikeAt = n, .code = ERROR_DISK_FULL});
//         ... run, and check what must hold after a failure ...
//         if (!faults.hasStruck()) break;  // a run without a failure: all calls have had their
//         turn
//     }

#include <cstdint>
#include <optional>

namespace Brelt {

/// The calls that can be made to fail, as bits of a mask.
enum StandInCall : std::uint32_t {
    createFileCall = 1U << 0,
    closeHandleCall = 1U << 1,
    readFileCall = 1U << 2,
    writeFileCall = 1U << 3,
    setFilePointerCall = 1U << 4,
    setEndOfFileCall = 1U << 5,
    flushFileBuffersCall = 1U << 6,
    getFileSizeCall = 1U << 7,
    findFirstFileCall = 1U << 8,
    getFileAttributesCall = 1U << 9,
    createDirectoryCall = 1U << 10,
    formatMessageCall = 1U << 11,
    regOpenKeyCall = 1U << 12,
    regQueryValueCall = 1U << 13,
    expandEnvironmentStringsCall = 1U << 14,
    /// All but `FormatMessageW`, which only words an earlier failure.
    anyCall = ((1U << 15) - 1) & ~formatMessageCall,
};

/// One failure to come. A call that is struck does nothing, but for `CloseHandle`, which closes all
/// the same.
struct Fault {
    /// Which calls are counted, as a mask of `StandInCall`.
    std::uint32_t calls = anyCall;
    /// The how-manieth of them is struck, from 1.
    std::int64_t strikeAt = 1;
    /// The last error, or for calls of the registry the status, of the struck call.
    std::uint32_t code = 0;
    /// Strikes all later ones as well.
    bool strikesOn = false;
    /// `ReadFile` and `WriteFile`: moves this many bytes at most, then fails if `code` isn't 0.
    std::optional<std::uint32_t> bytesMoved = std::nullopt;
};

/// Arms its faults for all threads of the process until it goes. One at a time.
///
/// A call is counted by each fault that names it, and struck by the first that is due.
class FaultInjection {
public:
    explicit FaultInjection(const Fault& fault);
    FaultInjection(const Fault& first, const Fault& second);
    FaultInjection(const FaultInjection&) = delete;
    FaultInjection& operator=(const FaultInjection&) = delete;
    ~FaultInjection();

    /// Whether any fault has struck so far.
    bool hasStruck() const;
    /// How many calls the fault of that index has counted so far.
    std::int64_t callCount(std::size_t index = 0) const;
};

}  // namespace Brelt
