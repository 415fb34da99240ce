// Values of the registry in all their forms, on any system.

#include <gtest/gtest.h>

#include <string>

#include "foundation/registry_values.h"
#include "foundation/win32/win32.h"
#include "support/environment_value.h"

using TestSupport::printed;
using TestSupport::RegistryValues;

namespace {

TEST_F(RegistryValues, NumbersAreReadWholeAndTakenAs32BitsOfTypeFourOnly) {
    const std::uint64_t stored = 0x1122334455667788;
    std::uint32_t number = 0;
    store(REG_DWORD, &stored, 4);
    ASSERT_FALSE(read());
    EXPECT_EQ(value.type, REG_DWORD);
    EXPECT_EQ(value.size, 4U);
    EXPECT_EQ(value.number, 0x55667788U);
    EXPECT_EQ(Brelt::registryValueToDword(value, number), 0);
    EXPECT_EQ(number, 0x55667788U);
    store(REG_QWORD, &stored, 8);
    ASSERT_FALSE(read());
    EXPECT_EQ(value.number, stored);
    EXPECT_EQ(Brelt::registryValueToDword(value, number), 1);
    EXPECT_EQ(number, 0x55667788U);
}

TEST_F(RegistryValues, ANumberLargerThanItsFieldFails) {
    const char bytes[] = "0123456789abcdef";
    value.number = 42;
    for (const DWORD type : {REG_DWORD, REG_QWORD}) {
        store(type, bytes, 9);
        const std::string text = printed(read());
        EXPECT_TRUE(text.starts_with(
            "[Brelt::readRegistryValue] 234: Error in registry value read of v ((234) "))
            << text;
        EXPECT_EQ(value.number, 42U);
        EXPECT_EQ(value.data, nullptr);
        EXPECT_EQ(value.type, 0U);
    }
}

TEST_F(RegistryValues, TextsAreTerminatedWhateverWasStored) {
    const char16_t stored[] = u"gr\u00FC\u00DF";
    const std::string expected = "gr\xC3\xBC\xC3\x9F";
    EXPECT_EQ(textOf(REG_SZ, stored, sizeof(stored)), expected);
    EXPECT_EQ(value.size, sizeof(stored));
    // Windows stores a NUL that stands behind the bytes it was told.
    const char16_t more[] = u"gr\u00FC\u00DF!";
    EXPECT_EQ(textOf(REG_SZ, more, 8), expected);
    EXPECT_EQ(value.size, 8U);
    EXPECT_EQ(textOf(REG_SZ, stored, 0), "");
    EXPECT_EQ(value.data[0], 0);
    EXPECT_EQ(value.data[1], 0);
    // Half a unit at the end.
    EXPECT_EQ(textOf(REG_SZ, u"ab", 3), "ab");
}

TEST_F(RegistryValues, OnlyTextsForExpansionAreExpanded) {
    const TestSupport::EnvironmentValue host("KIV_TEST_HOST", "proxy");
    const char16_t stored[] = u"%KIV_TEST_HOST%:80";
    EXPECT_EQ(textOf(REG_EXPAND_SZ, stored, sizeof(stored)), "proxy:80");
    EXPECT_EQ(textOf(REG_SZ, stored, sizeof(stored)), "%KIV_TEST_HOST%:80");
}

TEST_F(RegistryValues, OtherTypesAreDataAndNoText) {
    EXPECT_EQ(textOf(REG_BINARY, "\x01\x02\x03", 3), "<1>");
    EXPECT_EQ(value.size, 3U);
    EXPECT_EQ(value.data[2], 3);
    const DWORD number = 5;
    EXPECT_EQ(textOf(REG_DWORD, &number, 4), "<1>");
    Brelt::CharString text;
    Brelt::RegistryValue empty;
    empty.type = REG_SZ;
    EXPECT_EQ(Brelt::registryValueToString(empty, text), 2);
}

}  // namespace
