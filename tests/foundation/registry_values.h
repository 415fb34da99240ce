#pragma once

// What the tests of the registry share: the key, open for reading, and its values.

#include <gtest/gtest.h>

#include <string>

#include "foundation/registry.h"
#include "foundation/texts.h"
#include "support/registry_values.h"

namespace TestSupport {

class RegistryValues : public testing::Test {
protected:
    RegistryValues() {
        // On Windows the key is there from now on.
        resetRegistry();
        EXPECT_EQ(openSettings(Brelt::RegistryReadAccess), "No error");
    }
    ~RegistryValues() override {
        key.close();
        resetRegistry();
    }

    std::string openSettings(std::uint32_t flags) {
        return printed(key.open(Brelt::RegistryKey::currentUser(),
                                "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Internet Settings",
                                flags));
    }

    std::string read(const char* name = "v") {
        return printed(Brelt::readRegistryValue(key, name, value));
    }

    /// Takes as text what was read; or the status in angle brackets.
    std::string text() const {
        Brelt::CharString text;
        const std::int32_t status = Brelt::registryValueToString(value, text);
        return status == 0 ? text.cstr() : "<" + std::to_string(status) + ">";
    }

    /// Stores, reads and takes as text.
    std::string stored(std::uint32_t type, const void* data, std::size_t size) {
        setRegistryValue("v", type, data, static_cast<std::uint32_t>(size));
        EXPECT_EQ(read(), "No error");
        return text();
    }

    Brelt::RegistryKey key;
    Brelt::RegistryValue value;
};

}  // namespace TestSupport
