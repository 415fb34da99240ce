#include "foundation/splitting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Brelt {
namespace {

std::string show(const CharString& text) {
    return text.ptr() == nullptr ? "null" : "<" + std::string(text.ptr()) + ">";
}

std::string show(const KeyValuePair& pair) {
    return show(pair.key) + "=" + show(pair.value);
}

using Shown = std::vector<std::string>;

template <class T>
Shown show(const Table<T>& table) {
    Shown shown(static_cast<std::size_t>(table.count));
    std::transform(table.data, table.data + table.count, shown.begin(),
                   [](const T& element) { return show(element); });
    return shown;
}

TEST(Splitting, ByCharTable) {
    const struct {
        std::string text;
        char delimiter;
        std::int32_t flags;
        Shown pieces;
    } cases[] = {
        {"abc", ';', 0, {"<abc>"}},
        {";a;;b;", ';', 0, {"<a>", "<b>"}},
        {";", ';', 0, {}},
        {";", ';', SplitEmptyNotNull, {}},
        {";", ';', SplitKeepEmpty, {"null", "null"}},
        {"a;;b", ';', SplitKeepEmpty, {"<a>", "null", "<b>"}},
        {";a;", ';', SplitKeepEmpty | SplitEmptyNotNull, {"<>", "<a>", "<>"}},
        {"a\xFF b", '\xFF', 0, {"<a>", "< b>"}},
        {std::string("ab\0c\0", 5), '\0', 0, {"<ab>", "<c>"}},
        {std::string("ab\0", 3), '\0', SplitKeepEmpty, {"<ab>"}},
    };
    for (const auto& c : cases) {
        Table<CharString> pieces;
        EXPECT_EQ(splitByChar(c.text.c_str(), c.delimiter, pieces, c.flags),
                  static_cast<std::int32_t>(c.pieces.size()))
            << c.text;
        EXPECT_EQ(show(pieces), c.pieces) << c.text;
    }
}

TEST(Splitting, PiecesReplaceOrFollowWhatTheOutputHolds) {
    Table<CharString> pieces;
    splitByChar("a;b", ';', pieces, 0);
    EXPECT_EQ(pieces.capacity, 2);
    EXPECT_EQ(splitByChar("", ';', pieces, 0), 0);
    EXPECT_EQ(splitByChar(nullptr, ';', pieces, 0), 0);
    EXPECT_EQ(show(pieces), (Shown{"<a>", "<b>"}));
    EXPECT_EQ(splitByChar("c;;", ';', pieces, SplitAppend | SplitKeepEmpty), 3);
    EXPECT_EQ(show(pieces), (Shown{"<a>", "<b>", "<c>", "null", "null"}));
    EXPECT_EQ(pieces.capacity, 5);
    EXPECT_EQ(splitByChar("d", ';', pieces, SplitAppend | SplitKeepEmpty | SplitEmptyNotNull), 1);
    EXPECT_EQ(show(pieces), (Shown{"<a>", "<b>", "<c>", "<>", "<>", "<d>"}));
    EXPECT_EQ(splitByChar(";;", ';', pieces, SplitKeepEmpty), 3);
    EXPECT_EQ(show(pieces), (Shown{"null", "null", "null"})) << "stale values must not survive";
}

TEST(Splitting, ManyPiecesGrowThePositionsAndReserveThePiecesOnce) {
    std::string text;
    for (int i = 0; i < 70; ++i) {
        text += "x;";
    }
    Table<CharString> pieces;
    EXPECT_EQ(splitByChar(text.c_str(), ';', pieces, 0), 70);
    EXPECT_EQ(pieces.capacity, 71);
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
    EXPECT_EQ(show(pieces), (Shown{"<a>", "null", "<bc>", "null"}));
    EXPECT_EQ(std::vector<std::int32_t>(lengths.data, lengths.data + lengths.count),
              (std::vector<std::int32_t>{1, 0, 2, 0}));
}

TEST(Splitting, KeyValueTable) {
    const struct {
        const char* text;
        char separator;
        const char* pair;
    } cases[] = {
        {nullptr, '=', "null=null"}, {"", '=', "null=null"}, {"k=v", '\0', "null=null"},
        {"k=v", '=', "<k>=<v>"},     {"k", '=', "<k>=null"}, {"=v", '=', "null=<v>"},
        {"k=", '=', "<k>=<>"},       {"=", '=', "null=<>"},  {"k=v=w", '=', "<k>=<v=w>"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(show(splitKeyValue(c.text, c.separator)), c.pair);
    }
    DelimiterSet set;
    set.add(':');
    set.add('=');
    EXPECT_EQ(show(splitAtFirstOf("k:v=w", set)), "<k>=<v=w>");
}

TEST(Splitting, KeyValuePairsDropEmptyPieces) {
    Table<KeyValuePair> pairs;
    splitKeyValuePairs("a=1;;b;=2,c=", pairs, ";,", '=', SplitKeepEmpty);
    EXPECT_EQ(show(pairs), (Shown{"<a>=<1>", "<b>=null", "null=<2>", "<c>=<>"}));
    splitKeyValuePairs("", pairs, ";", '=', 0);
    EXPECT_EQ(pairs.count, 4);
    splitKeyValuePairs("d=4", pairs, ";", '=', SplitAppend);
    EXPECT_EQ(pairs.count, 5);
    EXPECT_EQ(show(pairs.data[4]), "<d>=<4>");
    splitKeyValuePairs("e=5;f=6", pairs, ";", '=', SplitAppend);
    EXPECT_EQ(show(pairs.data[6]), "<f>=<6>");
    splitKeyValuePairs(";;;", pairs, ";", '=', 0);
    EXPECT_EQ(pairs.count, 0);
}

}  // namespace
}  // namespace Brelt
