// The user's root of the registry, replaced for this process by a key of the test's own.

#include <windows.h>

#include <stdexcept>
#include <string>

#include "foundation/text_tools.h"
#include "support/registry_values.h"

namespace TestSupport {

namespace {

void require(LSTATUS status, const char* what) {
    if (status != ERROR_SUCCESS) {
        throw std::runtime_error(std::string(what) + " fails with " + std::to_string(status));
    }
}

/// What a test leaves behind goes with the user's session.
HKEY create(const std::wstring& name) {
    HKEY key = nullptr;
    require(::RegCreateKeyExW(HKEY_CURRENT_USER, name.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr),
            "making a key of the tests");
    return key;
}

HKEY settings() {
    static const HKEY key = [] {
        const HKEY root =
            create(L"Software\\kiv_tests_" + std::to_wstring(::GetCurrentProcessId()));
        require(::RegOverridePredefKey(HKEY_CURRENT_USER, root), "replacing the user's root");
        return create(L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Internet Settings");
    }();
    return key;
}

}  // namespace

void setRegistryValue(const char* name, std::uint32_t type, const void* bytes, std::uint32_t size) {
    require(::RegSetValueExW(settings(), Brelt::TextConverter(name).getWide(), 0, type,
                             static_cast<const BYTE*>(bytes), size),
            "setting a value");
}

void removeRegistryValue(const char* name) {
    ::RegDeleteValueW(settings(), Brelt::TextConverter(name).getWide());
}

void resetRegistry() {
    ::RegDeleteTreeW(settings(), nullptr);
}

}  // namespace TestSupport
