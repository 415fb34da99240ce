// The state of a process as Windows tells it: its handles take the place of descriptors.

#include <windows.h>
// After windows.h, which they need.
#include <tlhelp32.h>

#include <array>
#include <cstdint>
#include <string>

#include "support/process_state.h"

namespace TestSupport {

namespace {

/// Such as "File"; empty where there is no such handle.
std::wstring typeOf(HANDLE handle) {
    using QueryObject =
        LONG(WINAPI*)(HANDLE handle, ULONG what, void* buffer, ULONG size, ULONG* needed);
    constexpr ULONG objectType = 2;
    static const auto query = reinterpret_cast<QueryObject>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQueryObject")));
    struct {
        USHORT length;
        USHORT room;
        const wchar_t* name;
        std::array<char, 1024> more;
    } type{};
    if (query(handle, objectType, &type, sizeof(type), nullptr) != 0) {
        return {};
    }
    return {type.name, type.length / sizeof(wchar_t)};
}

/// What locks are made of. The system makes it for a lock when two threads first meet there, and
/// keeps it: no leak, and at no time to be foreseen.
bool belongsToLock(const std::wstring& type) {
    return type == L"Event" || type == L"Semaphore" || type == L"Mutant" || type == L"KeyedEvent";
}

/// One by one, since Wine's GetProcessHandleCount tells 0, and its list of all handles may end the
/// server of all its processes. Handles are multiples of 4, and the lowest free one is next.
int countHandles() {
    constexpr int longestGap = 256;
    int count = 0;
    int gap = 0;
    for (std::uintptr_t number = 4; gap < longestGap; number += 4) {
        const std::wstring type = typeOf(reinterpret_cast<HANDLE>(number));
        gap = type.empty() ? gap + 1 : 0;
        count += type.empty() || belongsToLock(type) ? 0 : 1;
    }
    return count;
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

}  // namespace

ProcessState ProcessState::now() {
    return {countHandles(), countThreads()};
}

long long allocatedBytes() {
    return 0;
}

}  // namespace TestSupport
