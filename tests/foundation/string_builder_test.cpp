#include "foundation/string_builder.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>

#include "foundation/texts.h"

namespace Brelt {
namespace {

using namespace std::string_literals;

TEST(IntToText, Table) {
    const std::string lowest = std::to_string(std::numeric_limits<std::int64_t>::min());
    for (const std::string& row :
         {"0 by 10 in 2 -> 0"s, "0 by 10 in 1 -> "s, "-1 by 10 in 70 -> -1"s, "-1 by 10 in 2 -> 1"s,
          "-1 by 16 in 70 -> 1"s, "255 by 16 in 70 -> FF"s, "255 by 16 in 2 -> F"s,
          "-1234 by 10 in 4 -> 234"s, "-1234 by 10 in 5 -> 1234"s, "1234 by 10 in 1 -> "s,
          "5 by 2 in 70 -> 101"s, "5 by 1 in 70 -> "s, "5 by 17 in 70 -> "s, "5 by 10 in 0 -> #"s,
          "5 by 10 in -1 -> #"s, "5 by 1 in 0 -> #"s,
          std::string(lowest).append(" by 10 in 70 -> ").append(lowest),
          lowest + " by 2 in 70 -> 1" + std::string(63, '0')}) {
        const auto [call, expected] = TestSupport::bothSides(row);
        const auto [value, rest] = TestSupport::bothSides(call, " by ");
        const auto [radix, size] = TestSupport::bothSides(rest, " in ");
        char text[70] = "#";
        EXPECT_EQ(intToText(std::stoll(value), text, std::stoi(radix), std::stoi(size)), text);
        EXPECT_EQ(text, expected) << row;
    }
}

TEST(StringBuilder, LimitsItsSettings) {
    EXPECT_EQ(StringBuilder(0, 1.0F).granularity, 16);
    EXPECT_EQ(StringBuilder(0, 1.0F).growth, 0.0F);
    EXPECT_EQ(StringBuilder(std::int64_t{1} << 40, 5000.0F).granularity, 0x40000000);
    EXPECT_EQ(StringBuilder(128, 5000.0F).growth, 1024.0F);
    EXPECT_EQ(StringBuilder(128, 1.7F).toCharString().holder(), nullptr);
}

TEST(StringBuilder, GrowsByTheFactorInWholeGranules) {
    StringBuilder builder(128, 1.7F);
    builder.appendText("");
    builder.appendText(nullptr);
    EXPECT_EQ(builder.text, nullptr);
    std::string text;
    // 256 * 1.7 is 435.
    const std::pair<std::size_t, std::int64_t> rows[] = {
        {10, 128}, {117, 128}, {1, 256}, {128, 512}};
    for (const auto& [size, capacity] : rows) {
        const std::string piece(size, static_cast<char>('a' + text.size() % 26));
        text += piece;
        builder.appendText(piece.c_str());
        EXPECT_EQ(builder.capacity, capacity);
    }
    EXPECT_EQ(builder.toCharString(), text.c_str());
}

TEST(StringBuilder, LeavesTheCallersArrayWhenItOutgrowsIt) {
    char array[8] = "ignored";
    StringBuilder builder(array, sizeof(array), 0);
    EXPECT_STREQ(array, "");
    builder.appendText("1234567");
    EXPECT_EQ(builder.text, array);
    builder.appendInt(-80, 10);
    EXPECT_STREQ(array, "1234567");
    EXPECT_EQ(builder.capacity, 1024);
    EXPECT_EQ(builder.flags, 0U);
    EXPECT_STREQ(builder.toCharString().cstr(), "1234567-80");
}

TEST(StringBuilder, GoesOnBehindATextInTheArrayAndTakesANullOne) {
    char array[8] = "ab";
    StringBuilder builder(array, sizeof(array), StringBuilder::arrayHoldsText);
    builder.appendFormat("%d", 7);
    EXPECT_STREQ(array, "ab7");
    StringBuilder null(nullptr, 50, StringBuilder::arrayHoldsText);
    null.appendText("x");
    EXPECT_EQ(null.flags, 0U);
    EXPECT_STREQ(null.text, "x");
}

TEST(StringBuilder, FormatsIntoTheRoomOrGrows) {
    char array[8];
    for (const char* const text : {"123456", "1234567", "12345678"}) {
        StringBuilder builder(array, sizeof(array), 0);
        builder.appendText("a");
        builder.appendFormat("%s", text);
        EXPECT_EQ(builder.text == array, std::string(text).size() == 6) << text;
        EXPECT_EQ(builder.toCharString(), ("a" + std::string(text)).c_str());
        EXPECT_STREQ(array, builder.text == array ? "a123456" : "a") << "no trace of the first try";
    }
    const char* const noFormat = nullptr;
    StringBuilder untouched(16, 0);
    untouched.appendFormat(noFormat);
    untouched.appendInt(5, 1);
    EXPECT_EQ(untouched.text, nullptr);
}

}  // namespace
}  // namespace Brelt
