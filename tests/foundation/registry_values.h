#pragma once

// What the tests of registry values share: the key, open for reading, and one value "v" in it.

#include <gtest/gtest.h>

#include <string>

#include "foundation/registry.h"
#include "support/registry_values.h"

namespace TestSupport {

inline constexpr const char* settingsKey =
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Internet Settings";

inline std::string printed(const Brelt::ErrorChain& error) {
    return error.toCharString().cstr();
}

/// The values of one key, which is open for reading.
class RegistryValues : public testing::Test {
protected:
    RegistryValues() {
        // On Windows the key is there from now on.
        resetRegistry();
        EXPECT_FALSE(
            key.open(Brelt::RegistryKey::currentUser(), settingsKey, Brelt::RegistryReadAccess));
    }
    ~RegistryValues() override {
        key.close();
        resetRegistry();
    }

    void store(std::uint32_t type, const void* data, std::uint32_t size) {
        setRegistryValue("v", type, data, size);
    }

    Brelt::ErrorChain read() { return Brelt::readRegistryValue(key, "v", value); }

    /// Stores, reads and takes as text; or the status in angle brackets.
    std::string textOf(std::uint32_t type, const void* data, std::uint32_t size) {
        store(type, data, size);
        EXPECT_FALSE(read());
        Brelt::CharString text;
        const std::int32_t status = Brelt::registryValueToString(value, text);
        return status == 0 ? text.cstr() : "<" + std::to_string(status) + ">";
    }

    Brelt::RegistryKey key;
    Brelt::RegistryValue value;
};

}  // namespace TestSupport
