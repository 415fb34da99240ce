// The registry of the POSIX stand-in: one key, with values from the environment or from a test.

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>

#include "foundation/win32/posix_support.h"
#include "foundation/win32/registry_stand_in.h"

namespace Support = Brelt::PosixSupport;
using Support::RegistryBytes;

namespace {

constexpr const char* settingsKey =
    R"(software\microsoft\windows\currentversion\internet settings)";

char settingsMark;
std::atomic<std::int32_t> openKeys{0};

HKEY settingsHandle() {
    return reinterpret_cast<HKEY>(&settingsMark);
}

// Only the low half tells a root: on Windows its value may come with the sign in the high half.
bool isCurrentUser(HKEY key) {
    return static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(key)) ==
           static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(HKEY_CURRENT_USER));
}

std::string inSmallLetters(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

/// Values from tests, by name in small letters; an entry without bytes is a value that is missing.
struct Overrides {
    std::mutex mutex;
    std::map<std::string, std::optional<RegistryBytes>> values;
};

Overrides& overrides() {
    static Overrides instance;
    return instance;
}

std::optional<RegistryBytes> findValue(const std::string& name) {
    Overrides& own = overrides();
    const std::lock_guard lock(own.mutex);
    const auto found = own.values.find(name);
    return found == own.values.end() ? Support::valueFromEnvironment(name) : found->second;
}

void overrideValue(const char* name, std::optional<RegistryBytes> value) {
    Overrides& own = overrides();
    const std::lock_guard lock(own.mutex);
    own.values[inSmallLetters(name)] = std::move(value);
}

LSTATUS status(DWORD code) {
    return static_cast<LSTATUS>(code);
}

/// Hands a value out by the rules of `RegQueryValueExW`.
DWORD deliver(const RegistryBytes& value, LPDWORD type, LPBYTE data, LPDWORD size) {
    const auto needed = static_cast<DWORD>(value.bytes.size());
    if (type != nullptr) {
        *type = value.type;
    }
    if (size == nullptr) {
        return data == nullptr ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
    }
    const DWORD room = std::exchange(*size, needed);
    if (data != nullptr && room < needed) {
        return ERROR_MORE_DATA;
    }
    if (data != nullptr && needed > 0) {
        std::memcpy(data, value.bytes.data(), needed);
    }
    return ERROR_SUCCESS;
}

}  // namespace

namespace Brelt {

void setStandInRegistryValue(const char* name, std::uint32_t type, const void* data,
                             std::uint32_t size) {
    const auto* const bytes = static_cast<const BYTE*>(data);
    overrideValue(name, RegistryBytes{type, std::vector<BYTE>(bytes, bytes + size)});
}

void removeStandInRegistryValue(const char* name) {
    overrideValue(name, std::nullopt);
}

void resetStandInRegistry() {
    Overrides& own = overrides();
    const std::lock_guard lock(own.mutex);
    own.values.clear();
}

std::int32_t openStandInRegistryKeys() {
    return openKeys.load();
}

}  // namespace Brelt

LSTATUS RegOpenKeyExW(HKEY base, LPCWSTR subKey, DWORD, REGSAM, PHKEY result) {
    if (const auto fault = Support::faultFor(Brelt::regOpenKeyCall)) {
        return status(fault->code);
    }
    if (!isCurrentUser(base) && base != settingsHandle()) {
        return status(ERROR_INVALID_HANDLE);
    }
    if (!isCurrentUser(base) || inSmallLetters(Support::narrowed(subKey)) != settingsKey) {
        return status(ERROR_FILE_NOT_FOUND);
    }
    *result = settingsHandle();
    ++openKeys;
    return status(ERROR_SUCCESS);
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) {
    if (const auto fault = Support::faultFor(Brelt::regQueryValueCall)) {
        return status(fault->code);
    }
    if (key != settingsHandle()) {
        return status(isCurrentUser(key) ? ERROR_FILE_NOT_FOUND : ERROR_INVALID_HANDLE);
    }
    const std::string wanted = name == nullptr ? std::string() : Support::narrowed(name);
    const std::optional<RegistryBytes> value = findValue(inSmallLetters(wanted));
    return status(value ? deliver(*value, type, data, size) : ERROR_FILE_NOT_FOUND);
}

LSTATUS RegCloseKey(HKEY key) {
    if (isCurrentUser(key)) {
        return status(ERROR_SUCCESS);
    }
    std::int32_t open = openKeys.load();
    while (key == settingsHandle() && open > 0) {
        if (openKeys.compare_exchange_weak(open, open - 1)) {
            return status(ERROR_SUCCESS);
        }
    }
    return status(ERROR_INVALID_HANDLE);
}
