// The calls of the registry, with room for what a stored value doesn't promise: a terminator, an
// even size, the size that a first query told.

#include "foundation/registry.h"

#include <memory>
#include <new>
#include <utility>

#include "foundation/text_tools.h"
#include "foundation/win32/win32.h"

namespace Brelt {

namespace {

REGSAM accessMask(std::uint32_t flags) {
    REGSAM mask = 0;
    mask |= (flags & RegistryReadAccess) != 0 ? KEY_READ : 0;
    mask |= (flags & RegistryWriteAccess) != 0 ? KEY_WRITE : 0;
    mask |= (flags & Registry32BitView) != 0 ? KEY_WOW64_32KEY : 0;
    return mask;
}

/// The status and what came with it.
struct Fetched {
    LSTATUS status;
    DWORD type;
    DWORD size;
};

Fetched fetch(const RegistryKey& key, const WideChar* name, void* data, DWORD room) {
    Fetched result{0, 0, room};
    result.status = RegQueryValueExW(static_cast<HKEY>(key.handle), name, nullptr, &result.type,
                                     static_cast<LPBYTE>(data), &result.size);
    return result;
}

Fetched fetchNumber(const RegistryKey& key, const WideChar* name, RegistryValue& value) {
    std::uint64_t number = 0;
    const Fetched result = fetch(key, name, &number, sizeof(number));
    if (result.status == 0) {
        value.number = number;
    }
    return result;
}

Fetched fetchData(const RegistryKey& key, const WideChar* name, DWORD size, RegistryValue& value) {
    // All zero, with a terminator behind the text also where its size is odd, and behind any other
    // data: the type may have become a text by the time of the fetch.
    const std::size_t bytes = std::size_t{size} + 2 + size % 2;
    delete[] std::exchange(value.data, nullptr);
    value.data = new std::uint8_t[bytes]();
    return fetch(key, name, value.data, size);
}

ErrorChain statusFailure(LSTATUS status, const char* step, const char* name) {
    const CharString text = getOsErrorText(static_cast<std::uint32_t>(status));
    return ErrorChain::make("Brelt::readRegistryValue", status,
                            "Error in registry value %s of %s (%s)", step,
                            name == nullptr ? "" : name, text.cstr());
}

/// The expanded form of a text, or null.
std::unique_ptr<WideChar[]> expand(const WideChar* text) {
    const auto needed = static_cast<std::int32_t>(ExpandEnvironmentStringsW(text, nullptr, 0));
    if (needed < 1) {
        return nullptr;
    }
    // One unit more, which stays zero: the environment may have grown since it was asked.
    auto expanded = std::make_unique<WideChar[]>(static_cast<std::size_t>(needed) + 1);
    ExpandEnvironmentStringsW(text, expanded.get(), static_cast<DWORD>(needed));
    return expanded;
}

}  // namespace

RegistryKey RegistryKey::currentUser() {
    return fromPredefined(HKEY_CURRENT_USER);
}

ErrorChain RegistryKey::open(const RegistryKey& base, const char* subKey, std::uint32_t flags) {
    constexpr const char* function = "Brelt::RegistryKey::open";
    if (subKey == nullptr || *subKey == '\0') {
        return ErrorChain::make(function, -1, "Can not key with empty sub key path");
    }
    if (base.openFlags == 0 && base.predefined == 0) {
        return ErrorChain::make(
            function, -2,
            "Can not open a key with invalid base key (not opened or is not predefined)");
    }
    TextConverter name(subKey);
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(static_cast<HKEY>(base.handle), name.getWide(), 0,
                                         accessMask(flags), &opened);
    // Only now: this key may be the base.
    close();
    if (status != 0) {
        return ErrorChain::make(function, status, "Failed to open registry sub key: %s", subKey);
    }
    if (flags == 0) {
        // Without rights it counts as not open, and nobody else would close it.
        RegCloseKey(opened);
        return {};
    }
    predefined = 0;
    openFlags = flags;
    handle = opened;
    return {};
}

void RegistryKey::close() {
    if (openFlags != 0) {
        RegCloseKey(static_cast<HKEY>(handle));
        openFlags = 0;
        handle = nullptr;
    }
}

ErrorChain readRegistryValue(const RegistryKey& key, const char* name, RegistryValue& value) {
    if ((key.openFlags & RegistryReadAccess) == 0) {
        return ErrorChain::make("Brelt::readRegistryValue", -1, "Invalid registry key");
    }
    TextConverter converter(name);
    const WideChar* wideName = converter.getWide();
    const Fetched query = fetch(key, wideName, nullptr, 0);
    if (query.status != 0) {
        return statusFailure(query.status, "query", name);
    }
    const bool isNumber = query.type == REG_DWORD || query.type == REG_QWORD;
    const Fetched fetched =
        isNumber ? fetchNumber(key, wideName, value) : fetchData(key, wideName, query.size, value);
    if (fetched.status != 0) {
        return statusFailure(fetched.status, "read", name);
    }
    value.type = fetched.type;
    value.size = fetched.size;
    return {};
}

std::int32_t registryValueToDword(const RegistryValue& value, std::uint32_t& result) {
    if (value.type != REG_DWORD) {
        return 1;
    }
    result = static_cast<std::uint32_t>(value.number);
    return 0;
}

std::int32_t registryValueToString(const RegistryValue& value, CharString& text) {
    if (value.type != REG_SZ && value.type != REG_EXPAND_SZ) {
        return 1;
    }
    if (value.data == nullptr) {
        return 2;
    }
    const auto* wide = reinterpret_cast<const WideChar*>(value.data);
    std::unique_ptr<WideChar[]> expanded;
    if (value.type == REG_EXPAND_SZ) {
        expanded = expand(wide);
        if (!expanded) {
            return 3;
        }
        wide = expanded.get();
    }
    text = TextConverter(wide).getNarrowString();
    if (text.ptr() == nullptr) {
        throw std::bad_alloc();
    }
    return 0;
}

}  // namespace Brelt
