#include "foundation/table.h"

#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <vector>

#include "foundation/char_string.h"

namespace Brelt {
namespace {

TEST(Table, AppendingGrowsByTheStep) {
    Table<std::int32_t> table;
    EXPECT_EQ(table.data, nullptr);
    EXPECT_EQ(table.step, 100);
    const auto append = [&table] {
        table.setCount(table.count + 1, false);
        table.data[table.count - 1] = table.count;
    };
    append();
    EXPECT_EQ(table.capacity, 100);
    while (table.count < 100) {
        append();
    }
    EXPECT_EQ(table.capacity, 100);
    append();
    EXPECT_EQ(table.capacity, 200);
    EXPECT_EQ(table.count, 101);
    EXPECT_EQ(table.data[99], 100);
    EXPECT_EQ(table.data[100], 101);
}

TEST(Table, CapacityAfterOneGrowth) {
    const struct {
        std::int32_t step;
        std::int32_t capacity;
        std::int32_t n;
        bool exact;
        std::int32_t result;
    } cases[] = {
        {100, 0, 99, false, 100}, {100, 0, 100, false, 200}, {100, 0, 101, false, 200},
        {100, 0, 5, true, 5},     {100, 5, 6, false, 100},   {100, 5, 5, false, 5},
        {100, 5, 0, true, 5},     {100, 5, -1, false, 5},    {32, 0, 32, false, 64},
        {0, 0, 7, false, 7},      {0, 7, 8, false, 14},      {-1, 7, 29, false, 56},
    };
    for (const auto& c : cases) {
        Table<char> table;
        table.setCount(c.capacity, true);
        table.step = c.step;
        table.setCount(c.n, c.exact);
        EXPECT_EQ(table.capacity, c.result) << c.step << ' ' << c.capacity << ' ' << c.n;
        EXPECT_EQ(table.count, c.n);
    }
}

TEST(Table, ConstructionAtASizeLeavesRoomForMore) {
    const Table<char> none(0);
    EXPECT_EQ(none.data, nullptr);
    EXPECT_EQ(Table<char>(99).capacity, 100);
    const Table<char> exact(100);
    EXPECT_EQ(exact.capacity, 200);
    EXPECT_EQ(exact.count, 100);
}

TEST(Table, LoweredCountKeepsTheElements) {
    Table<CharString> table;
    table.setCount(2, false);
    table.data[0] = CharString("a");
    table.setCount(0, false);
    table.setCount(1, false);
    EXPECT_STREQ(table.data[0].cstr(), "a");
}

TEST(Table, GrowthAndAssignmentShareTheStrings) {
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
}

TEST(Table, ElementsAreMadeInOrderAndDestroyedFromTheLast) {
    static std::vector<int> events;
    struct Recorder {
        Recorder() { events.push_back(id); }
        Recorder(const Recorder&) = delete;
        Recorder& operator=(const Recorder&) = default;
        ~Recorder() { events.push_back(-id); }
        int id = 1 + static_cast<int>(events.size());
    };
    {
        Table<Recorder> table;
        table.setCount(3, true);
        table.setCount(1, true);
    }
    EXPECT_EQ(events, (std::vector<int>{1, 2, 3, -3, -2, -1}));
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
