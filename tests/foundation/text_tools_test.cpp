#include "foundation/text_tools.h"

#include <gtest/gtest.h>

#include <bit>
#include <random>
#include <string>
#include <vector>

namespace Brelt {
namespace {

using Units = std::basic_string<WideChar>;

Units toWide(const std::string& bytes) {
    const std::int32_t count = utf8ToWide(bytes.c_str(), nullptr, 0);
    Units units(static_cast<std::size_t>(count) + 1, 'X');
    EXPECT_EQ(utf8ToWide(bytes.c_str(), units.data(), count + 1), count);
    EXPECT_EQ(units.back(), 0);
    units.pop_back();
    return units;
}

std::string toNarrow(const Units& units) {
    const std::int32_t count = wideToUtf8(units.c_str(), nullptr, 0);
    std::string bytes(static_cast<std::size_t>(count) + 1, 'X');
    EXPECT_EQ(wideToUtf8(units.c_str(), bytes.data(), count + 1), count);
    EXPECT_EQ(bytes.back(), '\0');
    bytes.pop_back();
    return bytes;
}

Units escaped(const std::string& bytes) {
    Units units;
    for (const char c : bytes) {
        units += static_cast<WideChar>(0xDBC0);
        units += static_cast<WideChar>(0xDC00 + static_cast<unsigned char>(c));
    }
    return units;
}

/// By the bits of its first byte; 0 for one that begins no sequence.
std::size_t sequenceLength(unsigned char lead) {
    const int ones = std::countl_one(lead);
    return ones == 0 ? 1 : ones == 1 || ones > 4 ? 0 : static_cast<std::size_t>(ones);
}

/// The length of the sound sequence at `at`, and its code point; 0 where there is none.
std::size_t soundSequence(const std::string& bytes, std::size_t at, std::uint32_t& codePoint) {
    const std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(bytes[at]);
    const std::size_t length = sequenceLength(lead);
    codePoint = length == 1 ? lead : lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        // Behind the last byte stands a NUL.
        const auto next = static_cast<unsigned char>(bytes.c_str()[at + i]);
        if (next / 0x40 != 2) {
            return 0;
        }
        codePoint = codePoint * 64 + (next - 0x80U);
    }
    const bool reserved = codePoint >= 0x100000 && codePoint <= 0x1000FF;
    return codePoint < smallest[length] || codePoint >= 0x110000 || reserved ? 0 : length;
}

/// What is no sound sequence is escaped byte by byte.
Units oracleWide(const std::string& bytes) {
    Units units;
    for (std::size_t at = 0; at < bytes.size();) {
        std::uint32_t codePoint = 0;
        const std::size_t length = soundSequence(bytes, at, codePoint);
        if (length == 0) {
            units += escaped(bytes.substr(at, 1));
        } else if (codePoint < 0x10000) {
            units += static_cast<WideChar>(codePoint);
        } else {
            units += static_cast<WideChar>(0xD7C0 + (codePoint >> 10));
            units += static_cast<WideChar>(0xDC00 | (codePoint & 0x3FF));
        }
        at += std::max<std::size_t>(length, 1);
    }
    return units;
}

void addUtf8(std::string& bytes, std::uint32_t codePoint) {
    if (codePoint < 0x80) {
        bytes += static_cast<char>(codePoint);
        return;
    }
    std::string tail;
    std::uint32_t room = 0x40;
    for (; codePoint >= room; codePoint >>= 6) {
        tail.insert(tail.begin(), static_cast<char>(0x80 | (codePoint & 0x3F)));
        room = tail.size() == 1 ? 0x20 : room / 2;
    }
    bytes += static_cast<char>(0x100 - 2 * room + codePoint);
    bytes += tail;
}

std::string oracleNarrow(const Units& units) {
    std::string bytes;
    for (std::size_t at = 0; at < units.size(); ++at) {
        std::uint32_t codePoint = units[at];
        const std::uint32_t next = at + 1 < units.size() ? units[at + 1] : 0;
        if (codePoint / 0x800 == 0xD800 / 0x800 && next / 0x400 == 0xDC00 / 0x400) {
            codePoint = 0x10000 + (codePoint - 0xD800) * 0x400 + (next - 0xDC00);
            ++at;
        }
        if (codePoint >= 0x100000 && codePoint <= 0x1000FF) {
            bytes += static_cast<char>(codePoint & 0xFF);
        } else {
            addUtf8(bytes, codePoint);
        }
    }
    return bytes;
}

TEST(Conversion, Table) {
    const struct {
        std::string bytes;
        Units units;
    } cases[] = {
        {"", {}},
        {"A\x7F", {'A', 0x7F}},
        {"\xC2\x80\xDF\xBF", {0x80, 0x7FF}},
        {"\xE0\xA0\x80\xEF\xBF\xBF", {0x800, 0xFFFF}},
        {"\xF0\x9F\x98\x80", {0xD83D, 0xDE00}},
        {"\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}},
        {"\xF4\x80\x84\x80", {0xDBC0, 0xDD00}},
        {"\xED\xA0\x80", {0xD800}},
        {"\xFF", escaped("\xFF")},
        {"\x80"
         "A",
         escaped("\x80") + Units{'A'}},
        {"\xC3"
         "A",
         escaped("\xC3") + Units{'A'}},
        {"\xE2\x82", escaped("\xE2\x82")},
        {"\xE2\xC3\xA4", escaped("\xE2") + Units{0xE4}},
        {"\xC0\x80", escaped("\xC0\x80")},
        {"\xE0\x80\x80", escaped("\xE0\x80\x80")},
        {"\xF4\x80\x80\x80", escaped("\xF4\x80\x80\x80")},
        {"\xF4\x80\x83\xBF", escaped("\xF4\x80\x83\xBF")},
        {"\xF4\x90\x80\x80", escaped("\xF4\x90\x80\x80")},
        {"\xFE\x83\xBF\xBF\xBF\xBF\xBF", escaped("\xFE\x83\xBF\xBF\xBF\xBF\xBF")},
        {"\xFF\xBF\xBF\xBF\xBF\xBF\xBF\xBF", escaped("\xFF\xBF\xBF\xBF\xBF\xBF\xBF\xBF")},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(toWide(c.bytes), c.units) << testing::PrintToString(c.bytes);
        EXPECT_EQ(toNarrow(c.units), c.bytes) << testing::PrintToString(c.bytes);
    }
}

TEST(Conversion, SurrogatesThatMeetCombine) {
    EXPECT_EQ(toNarrow({0xDC00, 'A'}),
              "\xED\xB0\x80"
              "A");
    EXPECT_EQ(toNarrow({0xD800, 0xD800}), "\xED\xA0\x80\xED\xA0\x80");
    EXPECT_EQ(toNarrow({0xDC00, 0xDC00}), "\xF4\x90\x80\x80");
    EXPECT_EQ(toNarrow({0xDFFF, 0xDFFF}), "\xF8\x88\x8F\xBF\xBF");
    EXPECT_EQ(toNarrow({0xDBC0, 0xDC41}), "A");
    // The one text of bytes that comes back changed: two surrogates, each in three bytes.
    EXPECT_EQ(toNarrow(toWide("\xED\xA0\x80\xED\xB0\x80")), "\xF0\x90\x80\x80");
}

testing::AssertionResult comesBack(const std::string& bytes) {
    const Units units = toWide(bytes);
    if (units != oracleWide(bytes)) {
        return testing::AssertionFailure() << "to wide: " << testing::PrintToString(bytes);
    }
    if (toNarrow(units) != bytes) {
        return testing::AssertionFailure() << "back: " << testing::PrintToString(bytes);
    }
    return testing::AssertionSuccess();
}

TEST(Conversion, AllPairsOfBytesComeBack) {
    for (int first = 1; first < 256; ++first) {
        for (int second = 1; second < 256; ++second) {
            ASSERT_TRUE(comesBack({static_cast<char>(first), static_cast<char>(second)}));
        }
    }
}

TEST(Conversion, TriplesAndGeneratedRowsOfTellingBytesComeBack) {
    const std::string telling =
        "\x01\x41\x7F\x80\x83\x84\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xEF\xF0\xF4\xF5\xF8\xFC"
        "\xFE\xFF\xED";
    for (const char first : telling) {
        for (const char second : telling) {
            for (const char third : telling) {
                ASSERT_TRUE(comesBack({first, second, third}));
            }
        }
    }
    constexpr unsigned seed = 7;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 50000; ++round) {
        std::string bytes(4 + random() % 9, ' ');
        for (char& byte : bytes) {
            byte = telling[random() % (telling.size() - 1)];  // no 0xED: see above
        }
        ASSERT_TRUE(comesBack(bytes));
    }
}

TEST(Conversion, AllTriplesOfTellingUnitsAgreeWithTheOracle) {
    const Units telling = {1,      0x7F,   0x80,   0x7FF,  0x800,  0xD7FF, 0xD800, 0xDBC0,
                           0xDBFF, 0xDC00, 0xDC41, 0xDCFF, 0xDD00, 0xDFFF, 0xE000, 0xFFFF};
    for (const WideChar first : telling) {
        for (const WideChar second : telling) {
            for (const WideChar third : telling) {
                const Units units = {first, second, third};
                ASSERT_EQ(toNarrow(units), oracleNarrow(units)) << testing::PrintToString(units);
            }
        }
    }
}

/// The text that arrives in a destination of `size`, with "|" where a terminator stands.
template <class Unit, class Convert, class Text>
std::basic_string<Unit> cut(Convert convert, const Text& source, std::int32_t size) {
    std::basic_string<Unit> destination(20, '#');
    const std::int32_t count = convert(source.c_str(), destination.data(), size);
    std::replace(destination.begin(), destination.end(), Unit{0}, Unit{'|'});
    const auto end = destination.find_last_not_of(Unit{'#'});
    destination.resize(end == std::basic_string<Unit>::npos ? 0 : end + 1);
    EXPECT_LE(count, std::max(size, 0));
    EXPECT_EQ(count, static_cast<std::int32_t>(
                         std::count_if(destination.begin(), destination.end(),
                                       [](Unit unit) { return unit != Unit{'|'}; })));
    return destination;
}

TEST(Conversion, StopsAtTheSizeOfTheDestination) {
    const Units pair = {0xD83D, 0xDE00};
    const Units bar = {'|'};
    const struct {
        std::string bytes;
        std::int32_t size;
        Units units;
    } cases[] = {
        {"abc", -1, {}},
        {"abc", 0, {}},
        {"abc", 1, {'a'}},
        {"abc", 3, {'a', 'b', 'c'}},
        {"abc", 4, Units{'a', 'b', 'c'} + bar},
        {"\xF0\x9F\x98\x80", 1, bar},
        {"\xF0\x9F\x98\x80", 2, bar},
        {"\xF0\x9F\x98\x80", 3, pair + bar},
        {"a\xF0\x9F\x98\x80z", 3, Units{'a'} + bar},
        {"a\xF0\x9F\x98\x80z", 4, Units{'a'} + pair + Units{'z'}},
        {"\xC3\xC3", 2, bar},
        {"\xC3\xC3", 4, escaped("\xC3") + bar},
        {"\xE2\x82", 5, escaped("\xE2\x82") + bar},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(cut<WideChar>(utf8ToWide, c.bytes, c.size), c.units)
            << testing::PrintToString(c.bytes) << " in " << c.size;
    }
    const struct {
        Units units;
        std::int32_t size;
        std::string bytes;
    } backwards[] = {
        {{'a', 'b'}, 0, ""},
        {{'a', 'b'}, 2, "ab"},
        {{'a', 'b'}, 3, "ab|"},
        {{0x20AC}, 2, "|"},
        {{0x20AC}, 3, "\xE2\x82\xAC"},
        {{'a', 0x20AC}, 3, "a|"},
        {{'a', 0x20AC}, 4, "a\xE2\x82\xAC"},
        {pair, 3, "|"},
        {pair, 5, "\xF0\x9F\x98\x80|"},
        {escaped("\xC3\xC3"), 1, "\xC3"},
    };
    for (const auto& c : backwards) {
        EXPECT_EQ(cut<char>(wideToUtf8, c.units, c.size), c.bytes)
            << testing::PrintToString(c.units) << " in " << c.size;
    }
}

TEST(TextConverter, ConvertsOnceAndOnlyWhenAsked) {
    TextConverter fromNarrow("\xC3\xA4");
    EXPECT_EQ(fromNarrow.narrowSize, 3);
    EXPECT_EQ(fromNarrow.wide, nullptr);
    const WideChar* wide = fromNarrow.getWide();
    EXPECT_EQ(Units(wide), Units{0xE4});
    EXPECT_EQ(fromNarrow.wideSize, 2);
    EXPECT_EQ(fromNarrow.getWide(), wide);
    EXPECT_EQ(fromNarrow.ownedNarrow, nullptr);

    TextConverter fromWide(wide);
    EXPECT_STREQ(fromWide.getNarrowString().cstr(), "\xC3\xA4");
    EXPECT_EQ(fromWide.getNarrow(), fromWide.ownedNarrow);
    EXPECT_EQ(fromWide.narrowSize, 3);
    EXPECT_EQ(fromWide.getWide(), wide);

    TextConverter null(static_cast<const char*>(nullptr));
    EXPECT_EQ(null.getWide(), nullptr);
    EXPECT_EQ(null.getNarrowString().holder(), nullptr);
}

}  // namespace
}  // namespace Brelt
