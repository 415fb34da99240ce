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

/// Made on first use; goes with the process.
class OwnRoot {
public:
    static OwnRoot& instance() {
        static OwnRoot root;
        return root;
    }
    OwnRoot(const OwnRoot&) = delete;
    OwnRoot& operator=(const OwnRoot&) = delete;

    HKEY settings() const { return settings_; }

private:
    OwnRoot() : name_(L"Software\\kiv_tests_" + std::to_wstring(::GetCurrentProcessId())) {
        HKEY root = nullptr;
        require(create(HKEY_CURRENT_USER, name_.c_str(), root), "making the tests' root");
        require(::RegOverridePredefKey(HKEY_CURRENT_USER, root), "replacing the user's root");
        ::RegCloseKey(root);
        require(
            create(HKEY_CURRENT_USER,
                   L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Internet Settings", settings_),
            "making the tests' settings");
    }
    ~OwnRoot() {
        ::RegCloseKey(settings_);
        ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        ::RegDeleteTreeW(HKEY_CURRENT_USER, name_.c_str());
    }

    /// What is left behind by a killed test goes with the user's session.
    static LSTATUS create(HKEY base, const wchar_t* name, HKEY& key) {
        return ::RegCreateKeyExW(base, name, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                                 nullptr, &key, nullptr);
    }

    std::wstring name_;
    HKEY settings_ = nullptr;
};

}  // namespace

void setRegistryValue(const char* name, std::uint32_t type, const void* bytes, std::uint32_t size) {
    require(::RegSetValueExW(OwnRoot::instance().settings(), Brelt::TextConverter(name).getWide(),
                             0, type, static_cast<const BYTE*>(bytes), size),
            "setting a value");
}

void removeRegistryValue(const char* name) {
    ::RegDeleteValueW(OwnRoot::instance().settings(), Brelt::TextConverter(name).getWide());
}

void resetRegistry() {
    wchar_t name[256];
    DWORD length = 256;
    const HKEY settings = OwnRoot::instance().settings();
    while (::RegEnumValueW(settings, 0, name, &length, nullptr, nullptr, nullptr, nullptr) ==
           ERROR_SUCCESS) {
        ::RegDeleteValueW(settings, name);
        length = 256;
    }
}

}  // namespace TestSupport
