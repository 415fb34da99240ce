#include "foundation/table.h"

#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <tuple>

#include "foundation/char_string.h"

namespace Brelt {
namespace {

TEST(Table, CapacityAfterOneGrowth) {
    // Step, capacity before, new count, whether exactly, and the capacity then.
    const std::tuple<std::int32_t, std::int32_t, std::int32_t, bool, std::int32_t> rows[] = {
        {100, 0, 99, false, 100}, {100, 0, 100, false, 200}, {100, 0, 101, false, 200},
        {100, 0, 5, true, 5},     {100, 5, 6, false, 100},   {100, 5, 5, false, 5},
        {100, 5, 0, true, 5},     {100, 5, -1, false, 5},    {32, 0, 32, false, 64},
        {0, 0, 7, false, 7},      {0, 7, 8, false, 14},      {-1, 7, 29, false, 56}};
    for (const auto& [step, capacity, count, exact, result] : rows) {
        Table<char> table;
        EXPECT_EQ(table.step, 100);
        table.setCount(capacity, true);
        table.step = step;
        table.setCount(count, exact);
        EXPECT_EQ(table.capacity, result) << step << ' ' << capacity << ' ' << count;
        EXPECT_EQ(table.count, count);
    }
    EXPECT_EQ(Table<char>(0).data, nullptr);
    EXPECT_EQ(Table<char>(99).capacity, 100);
    EXPECT_EQ(Table<char>(100).capacity, 200);
    EXPECT_EQ(Table<char>(100).count, 100);
}

TEST(Table, GrowthAndAssignmentShareTheStringsAndALoweredCountKeepsThem) {
    const CharString text("a");
    Table<CharString> table;
    table.setCount(1, true);
    table.data[0] = text;
    table.setCount(2, false);
    EXPECT_STREQ(table.data[0].cstr(), "a");
    EXPECT_EQ(text.holder()->refCount, 2);
    Table<CharString> other;
    other.setCount(7, true);
    other = table;
    EXPECT_EQ(other.capacity, 7);
    EXPECT_EQ(other.count, 2);
    EXPECT_EQ(other.data[0].holder(), text.holder());
    other = *&other;
    EXPECT_EQ(text.holder()->refCount, 3);
    other.setCount(0, false);
    other.setCount(1, false);
    EXPECT_EQ(other.data[0].holder(), text.holder());
}

TEST(Table, FailedGrowthLeavesTheTable) {
    // So large that the array's size leaves the address space before anything is asked for it.
    struct Huge {
        char bytes[std::int64_t{1} << 33];
    };
    Table<Huge> table;
    EXPECT_THROW(table.setCount(std::numeric_limits<std::int32_t>::max(), false), std::bad_alloc);
    EXPECT_EQ(table.count, 0);
    EXPECT_EQ(table.capacity, 0);
}

}  // namespace
}  // namespace Brelt
