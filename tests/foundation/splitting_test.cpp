#include "foundation/splitting.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "foundation/texts.h"

namespace Brelt {
namespace {

std::string show(const CharString& text) {
    return text.ptr() == nullptr ? "null" : "<" + std::string(text.ptr()) + ">";
}

std::string show(const KeyValuePair& pair) {
    return show(pair.key) + "=" + show(pair.value);
}

template <class T>
std::string show(const Table<T>& table) {
    std::string shown;
    for (std::int32_t i = 0; i < table.count; ++i) {
        shown += (i == 0 ? "" : " ") + show(table.data[i]);
    }
    return shown;
}

TEST(Splitting, ByCharTable) {
    const std::tuple<std::string, char, std::int32_t, std::int32_t, std::string> rows[] = {
        {"abc", ';', 0, 1, "<abc>"},
        {";a;;b;", ';', 0, 2, "<a> <b>"},
        {";", ';', 0, 0, ""},
        {";", ';', SplitEmptyNotNull, 0, ""},
        {";", ';', SplitKeepEmpty, 2, "null null"},
        {"a;;b", ';', SplitKeepEmpty, 3, "<a> null <b>"},
        {";a;", ';', SplitKeepEmpty | SplitEmptyNotNull, 3, "<> <a> <>"},
        {"a\xFF b", '\xFF', 0, 2, "<a> < b>"},
        {{"ab\0c\0", 5}, '\0', 0, 2, "<ab> <c>"},
        {{"ab\0", 3}, '\0', SplitKeepEmpty, 1, "<ab>"}};
    for (const auto& [text, delimiter, flags, count, shown] : rows) {
        Table<CharString> pieces;
        EXPECT_EQ(splitByChar(text.c_str(), delimiter, pieces, flags), count) << text;
        EXPECT_EQ(show(pieces), shown) << text;
    }
}

TEST(Splitting, PiecesReplaceOrFollowWhatTheOutputHolds) {
    Table<CharString> pieces;
    splitByChar("a;b", ';', pieces, 0);
    EXPECT_EQ(pieces.capacity, 2);
    EXPECT_EQ(splitByChar("", ';', pieces, 0), 0);
    EXPECT_EQ(splitByChar(nullptr, ';', pieces, 0), 0);
    EXPECT_EQ(show(pieces), "<a> <b>");
    EXPECT_EQ(splitByChar("c;;", ';', pieces, SplitAppend | SplitKeepEmpty), 3);
    EXPECT_EQ(show(pieces), "<a> <b> <c> null null");
    EXPECT_EQ(pieces.capacity, 5);
    EXPECT_EQ(splitByChar("d", ';', pieces, SplitAppend | SplitKeepEmpty | SplitEmptyNotNull), 1);
    EXPECT_EQ(show(pieces), "<a> <b> <c> <> <> <d>");
    EXPECT_EQ(splitByChar(";;", ';', pieces, SplitKeepEmpty), 3);
    EXPECT_EQ(show(pieces), "null null null") << "stale values must not survive";
    std::string many;
    for (int i = 0; i < 70; ++i) {
        many += "x;";
    }
    Table<CharString> reservedOnce;
    EXPECT_EQ(splitByChar(many.c_str(), ';', reservedOnce, 0), 70);
    EXPECT_EQ(reservedOnce.capacity, 71);
}

TEST(Splitting, LengthsAreKeptInStepWithThePieces) {
    Table<std::int32_t> positions;
    EXPECT_EQ(findDelimiters(nullptr, ";", positions), 0);
    EXPECT_EQ(findDelimiters("a;b", "", positions), 0);
    EXPECT_EQ(positions.count, 0);
    EXPECT_EQ(findDelimiters("a,,bc;", ";,", positions), 6);
    Table<CharString> pieces;
    Table<std::int32_t> lengths(3);
    EXPECT_EQ(splitAtPositions("a,,bc;", 6, pieces, &lengths, positions, SplitKeepEmpty), 4);
    EXPECT_EQ(show(pieces), "<a> null <bc> null");
    EXPECT_EQ(std::vector<std::int32_t>(lengths.data, lengths.data + lengths.count),
              (std::vector<std::int32_t>{1, 0, 2, 0}));
}

TEST(Splitting, KeyAndValue) {
    for (const char* const row :
         {" -> null=null", "k=v -> <k>=<v>", "k -> <k>=null", "=v -> null=<v>", "k= -> <k>=<>",
          "= -> null=<>", "k=v=w -> <k>=<v=w>"}) {
        const auto [text, pair] = TestSupport::bothSides(row);
        EXPECT_EQ(show(splitKeyValue(text.c_str(), '=')), pair) << row;
    }
    EXPECT_EQ(show(splitKeyValue(nullptr, '=')), "null=null");
    EXPECT_EQ(show(splitKeyValue("k=v", '\0')), "null=null");
    DelimiterSet set;
    set.add(':');
    set.add('=');
    EXPECT_EQ(show(splitAtFirstOf("k:v=w", set)), "<k>=<v=w>");
}

TEST(Splitting, KeyValuePairsDropEmptyPieces) {
    Table<KeyValuePair> pairs;
    splitKeyValuePairs("a=1;;b;=2,c=", pairs, ";,", '=', SplitKeepEmpty);
    splitKeyValuePairs("", pairs, ";", '=', 0);
    EXPECT_EQ(show(pairs), "<a>=<1> <b>=null null=<2> <c>=<>");
    splitKeyValuePairs("d=4", pairs, ";", '=', SplitAppend);
    splitKeyValuePairs("e=5;f=6", pairs, ";", '=', SplitAppend);
    EXPECT_EQ(show(pairs), "<a>=<1> <b>=null null=<2> <c>=<> <d>=<4> <e>=<5> <f>=<6>");
    splitKeyValuePairs(";;;", pairs, ";", '=', 0);
    EXPECT_EQ(pairs.count, 0);
}

}  // namespace
}  // namespace Brelt
