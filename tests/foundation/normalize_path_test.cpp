// The shape of a path: each rule by its texts, and what holds for all texts.

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>

#include "foundation/paths.h"

using Brelt::normalizePath;

namespace {

struct Row {
    const char* text;
    const char* result;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.text << " -> " << row.result;
}

class NormalizePathTable : public testing::TestWithParam<Row> {};

TEST_P(NormalizePathTable, GivesTheOneShapeForBothSeparators) {
    const Row& row = GetParam();
    EXPECT_STREQ(normalizePath(row.text).cstr(), row.result);
    std::string slashed = row.text;
    std::replace(slashed.begin(), slashed.end(), '\\', '/');
    EXPECT_STREQ(normalizePath(slashed.c_str()).cstr(), row.result) << slashed;
}

INSTANTIATE_TEST_SUITE_P(Separators, NormalizePathTable,
                         testing::Values(Row{"a/b", R"(a\b)"}, Row{R"(a\\b)", R"(a\b)"},
                                         Row{R"(a\/\b)", R"(a\b)"},
                                         Row{"//server//share", R"(\\server\share)"},
                                         Row{"///a", R"(\\\a)"}, Row{R"(a\)", "a"},
                                         Row{R"(\)", R"(\)"}, Row{R"(\\)", R"(\\)"},
                                         Row{R"(C:\)", "C:"}, Row{R"(\a)", R"(\a)"}));

INSTANTIATE_TEST_SUITE_P(
    SingleDots, NormalizePathTable,
    testing::Values(Row{R"(a\.\b)", R"(a\b)"}, Row{R"(.\a)", R"(.\a)"}, Row{".", "."},
                    Row{R"(a\b\.)", R"(a\b)"}, Row{R"(\.)", R"(\.)"}, Row{R"(.\.)", "."},
                    Row{R"(a\.b\c)", R"(a\.b\c)"}, Row{R"(a\b.\c)", R"(a\b.\c)"},
                    Row{R"(.x.x\.\.)", R"(.x.x\.)"}, Row{R"(.\.\a)", R"(.\a)"}));

INSTANTIATE_TEST_SUITE_P(
    DoubleDots, NormalizePathTable,
    testing::Values(Row{"..", ".."}, Row{"...", "..."}, Row{R"(a\...\b)", R"(a\...\b)"},
                    Row{R"(a\b\..\c)", R"(a\c)"}, Row{R"(\a\b\..\..\c)", R"(\c)"},
                    Row{R"(C:\a\..\b)", R"(C:\b)"}, Row{R"(a\..\c)", R"(a\c)"},
                    Row{R"(x\..\..\a)", R"(x\a)"}, Row{R"(..\a)", R"(..\a)"},
                    Row{R"(..\..\a)", R"(..\..\a)"}, Row{R"(\..\a)", R"(\a)"},
                    Row{R"(\a\..\..\c)", R"(\c)"}, Row{R"(\\..\a)", R"(\\\a)"},
                    Row{R"(a\b\..)", "a"}, Row{R"(a\..)", R"(a\..)"}, Row{R"(\a\..)", ""},
                    Row{R"(\a\..\..)", R"(\..)"}, Row{R"(\..)", R"(\..)"},
                    Row{R"(.\..\a)", R"(.\..\a)"}, Row{R"(\...\..\a)", R"(\...\a)"},
                    Row{R"(a\..x\..\b)", R"(a\..x\b)"}, Row{R"(..x\..\a)", R"(..x\..\a)"},
                    Row{R"(..\..)", R"(..\..)"}));

// The end is judged by the buffer at its former length: what a shortened text left behind counts.
INSTANTIATE_TEST_SUITE_P(BytesLeftBehind, NormalizePathTable,
                         testing::Values(Row{R"(\.\)", ""}, Row{R"(\..\)", ""},
                                         Row{R"(a\.\.)", R"(a\.)"}));

TEST(NormalizePath, NothingGivesTheEmptyTextAndNoNullHandle) {
    EXPECT_STREQ(normalizePath(nullptr).ptr(), "");
    EXPECT_STREQ(normalizePath("").ptr(), "");
}

TEST(NormalizePath, NeverGrowsNorLeavesOtherSeparators) {
    constexpr char alphabet[] = {'a', '.', '\\', '/'};
    for (int code = 1; code < 1 << 16; ++code) {
        std::string text;
        for (int rest = code; rest > 1; rest >>= 2) {
            text += alphabet[rest & 3];
        }
        const std::string result = normalizePath(text.c_str()).cstr();
        ASSERT_LE(result.size(), text.size()) << text;
        ASSERT_EQ(result.find('/'), std::string::npos) << text;
        ASSERT_EQ(result.find("\\\\", 2), std::string::npos) << text;
    }
}

TEST(NormalizePath, LongTextIsTakenWhole) {
    std::string text;
    for (int i = 0; i < 20000; ++i) {
        text += "/ab/../c";
    }
    EXPECT_EQ(normalizePath(text.c_str()).length(), 20000 * 2);
}

}  // namespace
