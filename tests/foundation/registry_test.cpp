// Keys of the registry and what is refused, on any system.

#include "foundation/registry.h"

#include <gtest/gtest.h>

#include <string>

using Brelt::RegistryKey;
using Brelt::RegistryValue;

namespace {

constexpr const char* settingsKey =
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Internet Settings";

std::string printed(const Brelt::ErrorChain& error) {
    return error.toCharString().cstr();
}

TEST(RegistryKey, RefusedArgumentsLeaveAnOpenKeyOpen) {
    const RegistryKey root = RegistryKey::currentUser();
    const RegistryKey none;
    RegistryKey key;
    ASSERT_FALSE(key.open(root, settingsKey, Brelt::RegistryReadAccess));
    const std::string empty = "[Brelt::RegistryKey::open] -1: Can not key with empty sub key path";
    EXPECT_EQ(printed(key.open(root, nullptr, Brelt::RegistryReadAccess)), empty);
    EXPECT_EQ(printed(key.open(root, "", Brelt::RegistryReadAccess)), empty);
    EXPECT_EQ(printed(key.open(none, "x", Brelt::RegistryReadAccess)),
              "[Brelt::RegistryKey::open] -2: Can not open a key with invalid base key (not opened "
              "or is not predefined)");
    EXPECT_EQ(key.openFlags, Brelt::RegistryReadAccess);
    RegistryValue value;
    EXPECT_EQ(Brelt::readRegistryValue(key, "no such value", value).codeAt(0), 2);
}

TEST(RegistryKey, AMissingSubKeyIsToldByItsName) {
    RegistryKey key;
    EXPECT_EQ(printed(key.open(RegistryKey::currentUser(), "No\\Such\\Key", 1)),
              "[Brelt::RegistryKey::open] 2: Failed to open registry sub key: No\\Such\\Key");
    EXPECT_EQ(key.openFlags, 0U);
    key.close();
}

TEST(RegistryKey, ARootIsNeitherReadNorClosed) {
    RegistryKey root = RegistryKey::currentUser();
    void* const handle = root.handle;
    root.close();
    EXPECT_EQ(root.predefined, 1);
    EXPECT_EQ(root.handle, handle);
    RegistryKey key;
    EXPECT_FALSE(key.open(root, settingsKey, Brelt::RegistryReadAccess));
    RegistryValue value;
    EXPECT_EQ(printed(Brelt::readRegistryValue(root, "x", value)),
              "[Brelt::readRegistryValue] -1: Invalid registry key");
}

TEST(RegistryKey, AClosedKeyAndOneForWritingCantBeRead) {
    const std::string invalid = "[Brelt::readRegistryValue] -1: Invalid registry key";
    RegistryKey key;
    RegistryValue value;
    EXPECT_EQ(printed(Brelt::readRegistryValue(key, "x", value)), invalid);
    ASSERT_FALSE(key.open(RegistryKey::currentUser(), settingsKey, Brelt::RegistryWriteAccess));
    EXPECT_EQ(printed(Brelt::readRegistryValue(key, "x", value)), invalid);
    ASSERT_FALSE(key.open(RegistryKey::currentUser(), settingsKey, Brelt::RegistryReadAccess));
    key.close();
    key.close();
    EXPECT_EQ(printed(Brelt::readRegistryValue(key, "x", value)), invalid);
}

TEST(RegistryValue, AMissingValueIsToldWithTheWordsOfTheSystem) {
    RegistryKey key;
    ASSERT_FALSE(key.open(RegistryKey::currentUser(), settingsKey, Brelt::RegistryReadAccess));
    RegistryValue value;
    const std::string text = printed(Brelt::readRegistryValue(key, "no such value", value));
    const std::string start =
        "[Brelt::readRegistryValue] 2: Error in registry value query of no such value ((2) ";
    EXPECT_TRUE(text.starts_with(start) && text.ends_with(")")) << text;
    EXPECT_EQ(value.type, 0U);
}

TEST(RegistryValue, OneThatWasNeverReadIsNeitherNumberNorText) {
    const RegistryValue value;
    std::uint32_t number = 7;
    Brelt::CharString text("old");
    EXPECT_EQ(Brelt::registryValueToDword(value, number), 1);
    EXPECT_EQ(Brelt::registryValueToString(value, text), 1);
    EXPECT_EQ(number, 7U);
    EXPECT_STREQ(text.cstr(), "old");
}

}  // namespace
