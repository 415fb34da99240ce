// The registry where a call of the stand-in fails, and what it counts.

#include <gtest/gtest.h>

#include <string>

#include "foundation/registry_values.h"
#include "foundation/win32/fault_injection.h"
#include "foundation/win32/registry_stand_in.h"
#include "foundation/win32/win32.h"

using Brelt::FaultInjection;
using Brelt::RegistryKey;
using TestSupport::printed;
using TestSupport::RegistryValues;
using TestSupport::settingsKey;

namespace {

TEST_F(RegistryValues, AnExpansionThatFailsIsToldByItsStatus) {
    const FaultInjection faults({.calls = Brelt::expandEnvironmentStringsCall});
    EXPECT_EQ(textOf(REG_EXPAND_SZ, u"%A%", 8), "<3>");
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
