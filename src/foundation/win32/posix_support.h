#pragma once

// What the files of the POSIX stand-in share: names, errors, values and injected faults.
// Only those files include it.

#include <atomic>
#include <climits>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "foundation/win32/fault_injection.h"
#include "foundation/win32/win32.h"

namespace Brelt::PosixSupport {

/// A file name as the system takes it: "/" for both separators, the bytes unchanged otherwise.
class NarrowPath {
public:
    explicit NarrowPath(LPCWSTR name);

    /// False, with the last error set, for an empty name and for one that is too long.
    bool isUsable() const { return length_ > 0; }
    const char* text() const { return bytes_; }
    bool endsInSeparator() const;
    /// Cuts the separators at the end off, but for the root's.
    void dropEndSeparators();

private:
    std::int32_t length_;
    char bytes_[PATH_MAX];
};

/// The code of Windows for an `errno`, without regard to what was called.
DWORD codeFromErrno(int number);
/// The same for a failed call on a path: tells a missing file (2) from a missing directory (3).
DWORD codeFromErrno(int number, const NarrowPath& path);

/// Off unless a test has armed faults; read without order, so that it costs nothing.
extern std::atomic<bool> faultsAreArmed;

/// Counts the call; gives the fault that strikes it.
std::optional<Fault> takeFault(StandInCall call);

inline std::optional<Fault> faultFor(StandInCall call) {
    return faultsAreArmed.load(std::memory_order_relaxed) ? takeFault(call) : std::nullopt;
}

/// Counts the call and says whether it is to fail, with the last error set.
inline bool isStruck(StandInCall call) {
    const std::optional<Fault> fault = faultFor(call);
    if (fault) {
        SetLastError(fault->code);
    }
    return fault.has_value();
}

/// A value of the registry's key: its type and its bytes.
struct RegistryBytes {
    DWORD type;
    std::vector<BYTE> bytes;
};

/// The value of that name, in small letters, that the environment stands for.
std::optional<RegistryBytes> valueFromEnvironment(const std::string& name);

/// UTF-16 as bytes that never change on the way, and back.
std::string narrowed(LPCWSTR text);
std::u16string widened(const std::string& text);

/// Sets the last error and gives back `result`, to end a call that failed.
template <class T>
T failWith(DWORD code, T result) {
    SetLastError(code);
    return result;
}

}  // namespace Brelt::PosixSupport
