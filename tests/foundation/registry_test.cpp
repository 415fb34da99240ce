// Keys of the registry, its values in all their forms, and what is refused, on any system.

#include "foundation/registry.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/registry_values.h"
#include "foundation/win32/win32.h"
#include "support/environment_value.h"

using Brelt::RegistryKey;
using Brelt::RegistryReadAccess;
using TestSupport::printed;
using TestSupport::RegistryValues;

namespace {

const std::string invalidKey = "[Brelt::readRegistryValue] -1: Invalid registry key";

TEST_F(RegistryValues, RefusedArgumentsLeaveAnOpenKeyOpen) {
    const std::string empty = "[Brelt::RegistryKey::open] -1: Can not key with empty sub key path";
    const RegistryKey root = RegistryKey::currentUser();
    EXPECT_EQ(printed(key.open(root, nullptr, RegistryReadAccess)), empty);
    EXPECT_EQ(printed(key.open(root, "", RegistryReadAccess)), empty);
    EXPECT_EQ(printed(key.open(RegistryKey(), "x", RegistryReadAccess)),
              "[Brelt::RegistryKey::open] -2: Can not open a key with invalid base key (not opened "
              "or is not predefined)");
    EXPECT_EQ(key.openFlags, RegistryReadAccess);
    const std::string missing = read("no such value");
    const std::string start =
        "[Brelt::readRegistryValue] 2: Error in registry value query of no such value ((2) ";
    EXPECT_TRUE(missing.starts_with(start) && missing.ends_with(")")) << missing;
    EXPECT_EQ(value.type, 0U);
}

TEST_F(RegistryValues, AMissingSubKeyIsToldByItsNameAndClosesTheKey) {
    EXPECT_EQ(printed(key.open(RegistryKey::currentUser(), "No\\Such\\Key", 1)),
              "[Brelt::RegistryKey::open] 2: Failed to open registry sub key: No\\Such\\Key");
    EXPECT_EQ(key.openFlags, 0U);
}

TEST_F(RegistryValues, ARootAClosedKeyAndOneForWritingCantBeRead) {
    RegistryKey root = RegistryKey::currentUser();
    void* const handle = root.handle;
    root.close();
    EXPECT_EQ(root.handle, handle);
    EXPECT_EQ(printed(Brelt::readRegistryValue(root, "x", value)), invalidKey);
    EXPECT_EQ(openSettings(Brelt::RegistryWriteAccess), "No error");
    EXPECT_EQ(read(), invalidKey);
    EXPECT_EQ(openSettings(RegistryReadAccess), "No error");
    key.close();
    key.close();
    EXPECT_EQ(read(), invalidKey);
}

TEST_F(RegistryValues, OneThatWasNeverReadIsNeitherNumberNorText) {
    std::uint32_t number = 7;
    Brelt::CharString text("old");
    EXPECT_EQ(Brelt::registryValueToDword(value, number), 1);
    EXPECT_EQ(Brelt::registryValueToString(value, text), 1);
    value.type = REG_SZ;
    EXPECT_EQ(Brelt::registryValueToString(value, text), 2);
    EXPECT_EQ(number, 7U);
    EXPECT_STREQ(text.cstr(), "old");
}

TEST_F(RegistryValues, NumbersAreReadWholeAndTakenAs32BitsOfTypeFourOnly) {
    const std::uint64_t number = 0x1122334455667788;
    std::uint32_t taken = 0;
    EXPECT_EQ(stored(REG_DWORD, &number, 4), "<1>");
    EXPECT_EQ(value.type, REG_DWORD);
    EXPECT_EQ(value.size, 4U);
    EXPECT_EQ(value.number, 0x55667788U);
    EXPECT_EQ(Brelt::registryValueToDword(value, taken), 0);
    EXPECT_EQ(taken, 0x55667788U);
    EXPECT_EQ(stored(REG_QWORD, &number, 8), "<1>");
    EXPECT_EQ(value.number, number);
    EXPECT_EQ(Brelt::registryValueToDword(value, taken), 1);
    EXPECT_EQ(taken, 0x55667788U);
}

TEST_F(RegistryValues, ANumberLargerThanItsFieldFails) {
    value.number = 42;
    for (const DWORD type : {REG_DWORD, REG_QWORD}) {
        TestSupport::setRegistryValue("v", type, "0123456789", 9);
        const std::string text = read();
        EXPECT_TRUE(text.starts_with(
            "[Brelt::readRegistryValue] 234: Error in registry value read of v ((234) "))
            << text;
        EXPECT_EQ(value.number, 42U);
        EXPECT_EQ(value.data, nullptr);
        EXPECT_EQ(value.type, 0U);
    }
}

TEST_F(RegistryValues, TextsAreTerminatedWhateverWasStored) {
    const char16_t text[] = u"gr\u00FC\u00DF";
    const std::string expected = "gr\xC3\xBC\xC3\x9F";
    EXPECT_EQ(stored(REG_SZ, text, sizeof(text)), expected);
    EXPECT_EQ(value.size, sizeof(text));
    // Windows stores a NUL that stands behind the bytes it was told.
    EXPECT_EQ(stored(REG_SZ, u"gr\u00FC\u00DF!", 8), expected);
    EXPECT_EQ(value.size, 8U);
    EXPECT_EQ(stored(REG_SZ, text, 0), "");
    EXPECT_EQ(value.data[0], 0);
    EXPECT_EQ(value.data[1], 0);
    // Half a unit at the end.
    EXPECT_EQ(stored(REG_SZ, u"ab", 3), "ab");
    EXPECT_EQ(stored(REG_BINARY, "\x01\x02\x03", 3), "<1>");
    EXPECT_EQ(value.size, 3U);
    EXPECT_EQ(value.data[2], 3);
}

TEST_F(RegistryValues, OnlyTextsForExpansionAreExpanded) {
    const TestSupport::EnvironmentValue host("KIV_TEST_HOST", "proxy");
    const char16_t text[] = u"%KIV_TEST_HOST%:80";
    EXPECT_EQ(stored(REG_EXPAND_SZ, text, sizeof(text)), "proxy:80");
    EXPECT_EQ(stored(REG_SZ, text, sizeof(text)), "%KIV_TEST_HOST%:80");
}

}  // namespace
