// Values of the registry in all their forms, put into the stand-in.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "foundation/registry.h"
#include "foundation/win32/fault_injection.h"
#include "foundation/win32/registry_stand_in.h"
#include "foundation/win32/win32.h"

using Brelt::FaultInjection;
using Brelt::RegistryKey;
using Brelt::RegistryValue;

namespace {

constexpr const char* settingsKey =
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Internet Settings";

std::string printed(const Brelt::ErrorChain& error) {
    return error.toCharString().cstr();
}

/// The values of one key, which is open for reading.
class RegistryValues : public testing::Test {
protected:
    RegistryValues() {
        EXPECT_FALSE(key.open(RegistryKey::currentUser(), settingsKey, Brelt::RegistryReadAccess));
    }
    ~RegistryValues() override {
        key.close();
        EXPECT_EQ(Brelt::openStandInRegistryKeys(), 0);
        Brelt::resetStandInRegistry();
    }

    void store(DWORD type, const void* data, std::uint32_t size) {
        Brelt::setStandInRegistryValue("v", type, data, size);
    }

    Brelt::ErrorChain read() { return Brelt::readRegistryValue(key, "v", value); }

    /// Stores, reads and takes as text; or the status in angle brackets.
    std::string textOf(DWORD type, const void* data, std::uint32_t size) {
        store(type, data, size);
        EXPECT_FALSE(read());
        Brelt::CharString text;
        const std::int32_t status = Brelt::registryValueToString(value, text);
        return status == 0 ? text.cstr() : "<" + std::to_string(status) + ">";
    }

    RegistryKey key;
    RegistryValue value;
};

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
    EXPECT_EQ(textOf(REG_SZ, stored, 8), expected);
    EXPECT_EQ(value.size, 8U);
    EXPECT_EQ(textOf(REG_SZ, stored, 0), "");
    EXPECT_EQ(value.data[0], 0);
    EXPECT_EQ(value.data[1], 0);
    // Half a unit at the end.
    EXPECT_EQ(textOf(REG_SZ, u"ab", 3), "ab");
}

TEST_F(RegistryValues, OnlyTextsForExpansionAreExpanded) {
    setenv("KIV_TEST_HOST", "proxy", 1);
    const char16_t stored[] = u"%KIV_TEST_HOST%:80";
    EXPECT_EQ(textOf(REG_EXPAND_SZ, stored, sizeof(stored)), "proxy:80");
    EXPECT_EQ(textOf(REG_SZ, stored, sizeof(stored)), "%KIV_TEST_HOST%:80");
    const FaultInjection faults({.calls = Brelt::expandEnvironmentStringsCall});
    EXPECT_EQ(textOf(REG_EXPAND_SZ, stored, sizeof(stored)), "<3>");
    unsetenv("KIV_TEST_HOST");
}

TEST_F(RegistryValues, OtherTypesAreDataAndNoText) {
    EXPECT_EQ(textOf(REG_BINARY, "\x01\x02\x03", 3), "<1>");
    EXPECT_EQ(value.size, 3U);
    EXPECT_EQ(value.data[2], 3);
    const DWORD number = 5;
    EXPECT_EQ(textOf(REG_DWORD, &number, 4), "<1>");
    Brelt::CharString text;
    RegistryValue empty;
    empty.type = REG_SZ;
    EXPECT_EQ(Brelt::registryValueToString(empty, text), 2);
}

TEST_F(RegistryValues, AFailedReadKeepsTheFormerValue) {
    ASSERT_EQ(textOf(REG_SZ, u"former", 12), "former");
    store(REG_BINARY, "12345", 5);
    for (const std::int64_t call : {1, 2}) {
        const FaultInjection faults(
            {.calls = Brelt::regQueryValueCall, .strikeAt = call, .code = 5});
        const std::string text = printed(read());
        EXPECT_TRUE(text.starts_with("[Brelt::readRegistryValue] 5: Error in registry value " +
                                     std::string(call == 1 ? "query" : "read") + " of v ((5) "))
            << text;
        EXPECT_EQ(value.type, REG_SZ);
        EXPECT_EQ(value.size, 12U);
    }
}

TEST_F(RegistryValues, OpeningAgainClosesTheFormerHandleOnce) {
    EXPECT_EQ(Brelt::openStandInRegistryKeys(), 1);
    EXPECT_FALSE(key.open(RegistryKey::currentUser(), settingsKey, Brelt::RegistryReadAccess));
    EXPECT_EQ(Brelt::openStandInRegistryKeys(), 1);
    // A key may be its own base; here there is nothing below it, so it ends closed.
    EXPECT_EQ(key.open(key, "below", Brelt::RegistryReadAccess).codeAt(0), 2);
    EXPECT_EQ(Brelt::openStandInRegistryKeys(), 0);
    EXPECT_FALSE(key.open(RegistryKey::currentUser(), settingsKey, 0));
    EXPECT_EQ(Brelt::openStandInRegistryKeys(), 0);
}

}  // namespace
