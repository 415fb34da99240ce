// The state of a process as Windows tells it: its handles take the place of descriptors.

#include <windows.h>
// After windows.h, which they need.
#include <psapi.h>
#include <tlhelp32.h>

#include <algorithm>
#include <chrono>
#include <ostream>
#include <vector>

#include "support/patience.h"
#include "support/process_state.h"

namespace TestSupport {

namespace {

struct HandleEntry {
    void* object;
    ULONG_PTR process;
    ULONG_PTR handle;
    ULONG access;
    USHORT trace;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
};

struct HandleList {
    ULONG_PTR count;
    ULONG_PTR reserved;
    HandleEntry entries[1];
};

using QuerySystem = LONG(WINAPI*)(ULONG what, void* buffer, ULONG size, ULONG* needed);

/// Through the list of all handles: Wine's GetProcessHandleCount always tells 0. The kind of list
/// has a number that the headers don't name.
int countHandles() {
    constexpr ULONG allHandles = 64;
    const auto query = reinterpret_cast<QuerySystem>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<HandleEntry> buffer(1024);
    while (query(allHandles, buffer.data(), static_cast<ULONG>(buffer.size() * sizeof(HandleEntry)),
                 nullptr) != 0) {
        buffer.resize(buffer.size() * 2);
    }
    const auto& list = reinterpret_cast<const HandleList&>(*buffer.data());
    return static_cast<int>(std::count_if(
        list.entries, list.entries + list.count,
        [](const HandleEntry& entry) { return entry.process == ::GetCurrentProcessId(); }));
}

int countThreads() {
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    int count = 0;
    for (BOOL more = ::Thread32First(snapshot, &entry); more != FALSE;
         more = ::Thread32Next(snapshot, &entry)) {
        count += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1 : 0;
    }
    ::CloseHandle(snapshot);
    return count;
}

PROCESS_MEMORY_COUNTERS memoryCounters() {
    PROCESS_MEMORY_COUNTERS counters{};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof(counters));
    return counters;
}

}  // namespace

ProcessState ProcessState::now() {
    return {countHandles(), countThreads()};
}

ProcessState ProcessState::settledTo(const ProcessState& wanted) {
    const auto end = std::chrono::steady_clock::now() + patience;
    ProcessState state = now();
    while (state != wanted && std::chrono::steady_clock::now() < end) {
        // No event tells that a thread has left the list.
        ::SwitchToThread();
        state = now();
    }
    return state;
}

std::ostream& operator<<(std::ostream& stream, const ProcessState& state) {
    return stream << state.descriptors << " handles, " << state.threads << " threads";
}

long long residentBytes() {
    return static_cast<long long>(memoryCounters().WorkingSetSize);
}

long long peakResidentBytes() {
    return static_cast<long long>(memoryCounters().PeakWorkingSetSize);
}

}  // namespace TestSupport
