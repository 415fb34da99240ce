// Injected faults: counts the calls of the stand-in while a test has armed some, and picks what
// fails.

#include <mutex>
#include <utility>
#include <vector>

#include "foundation/win32/posix_support.h"

namespace Brelt {

namespace {

struct ArmedFault {
    Fault fault;
    std::int64_t callCount = 0;
};

struct Armoury {
    std::mutex mutex;
    std::vector<ArmedFault> faults;
    bool hasStruck = false;
};

Armoury& armoury() {
    static Armoury instance;
    return instance;
}

bool isDue(const ArmedFault& armed) {
    const std::int64_t strikeAt = armed.fault.strikeAt;
    return armed.callCount == strikeAt || (armed.fault.strikesOn && armed.callCount > strikeAt);
}

void arm(std::vector<ArmedFault> faults) {
    Armoury& state = armoury();
    const std::lock_guard lock(state.mutex);
    state.faults = std::move(faults);
    state.hasStruck = false;
    PosixSupport::faultsAreArmed.store(true);
}

}  // namespace

namespace PosixSupport {

std::atomic<bool> faultsAreArmed{false};

std::optional<Fault> takeFault(StandInCall call) {
    Armoury& state = armoury();
    const std::lock_guard lock(state.mutex);
    std::optional<Fault> taken;
    for (ArmedFault& armed : state.faults) {
        if ((armed.fault.calls & call) == 0) {
            continue;
        }
        ++armed.callCount;
        if (!taken && isDue(armed)) {
            taken = armed.fault;
            state.hasStruck = true;
        }
    }
    return taken;
}

}  // namespace PosixSupport

FaultInjection::FaultInjection(const Fault& fault) {
    arm({{fault}});
}

FaultInjection::FaultInjection(const Fault& first, const Fault& second) {
    arm({{first}, {second}});
}

FaultInjection::~FaultInjection() {
    Armoury& state = armoury();
    const std::lock_guard lock(state.mutex);
    PosixSupport::faultsAreArmed.store(false);
    state.faults.clear();
}

bool FaultInjection::hasStruck() const {
    Armoury& state = armoury();
    const std::lock_guard lock(state.mutex);
    return state.hasStruck;
}

std::int64_t FaultInjection::callCount(std::size_t index) const {
    Armoury& state = armoury();
    const std::lock_guard lock(state.mutex);
    return state.faults.at(index).callCount;
}

}  // namespace Brelt
