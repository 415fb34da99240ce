#include "foundation/text_tools.h"

#include <gtest/gtest.h>

#include <bit>
#include <random>
#include <string>
#include <tuple>

#include "foundation/texts.h"

namespace Brelt {
namespace {

using Units = std::basic_string<WideChar>;

template <class Unit, class Convert, class Text>
std::basic_string<Unit> converted(Convert convert, const Text& source) {
    const std::int32_t count = convert(source.c_str(), nullptr, 0);
    std::basic_string<Unit> result(static_cast<std::size_t>(count) + 1, 'X');
    EXPECT_EQ(convert(source.c_str(), result.data(), count + 1), count);
    EXPECT_EQ(result.back(), 0);
    result.pop_back();
    return result;
}

Units toWide(const std::string& bytes) {
    return converted<WideChar>(utf8ToWide, bytes);
}

std::string toNarrow(const Units& units) {
    return converted<char>(wideToUtf8, units);
}

Units escaped(const std::string& bytes) {
    Units units;
    for (const char c : bytes) {
        units += static_cast<WideChar>(0xDBC0);
        units += static_cast<WideChar>(0xDC00 + static_cast<unsigned char>(c));
    }
    return units;
}

/// The length of the sound sequence that begins there, and its code point; 0 where there is none.
std::size_t soundSequence(const char* bytes, std::uint32_t& codePoint) {
    const std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const int ones = std::countl_one(static_cast<unsigned char>(*bytes));
    if (ones == 1 || ones > 4) {
        return 0;
    }
    const auto length = static_cast<std::size_t>(std::max(ones, 1));
    codePoint = static_cast<unsigned char>(*bytes) & (0x7FU >> ones);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(bytes[i]);
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
        const std::size_t length = soundSequence(bytes.c_str() + at, codePoint);
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
    std::uint32_t tail = codePoint < 0x80 ? 0 : 1;
    while (tail > 0 && codePoint >> (5 * tail + 6) != 0) {
        ++tail;
    }
    const std::uint32_t mark = tail == 0 ? 0 : 0x100 - (0x80U >> tail);
    bytes += static_cast<char>(mark + (codePoint >> (6 * tail)));
    while (tail-- > 0) {
        bytes += static_cast<char>(0x80 + codePoint / (1U << (6 * tail)) % 64);
    }
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
    const std::tuple<std::string, Units> rows[] = {
        {"", {}},
        {"A\x7F", {'A', 0x7F}},
        {"\xC2\x80\xDF\xBF", {0x80, 0x7FF}},
        {"\xE0\xA0\x80\xEF\xBF\xBF", {0x800, 0xFFFF}},
        {"\xF0\x9F\x98\x80", {0xD83D, 0xDE00}},
        {"\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}},
        {"\xF4\x80\x84\x80", {0xDBC0, 0xDD00}},
        {"\xED\xA0\x80", {0xD800}},
        {"\xE2\xC3\xA4", {0xDBC0, 0xDCE2, 0xE4}},
        {"\xC0\x80", {0xDBC0, 0xDCC0, 0xDBC0, 0xDC80}},
        {"\xF4\x80\x83\xBF", {0xDBC0, 0xDCF4, 0xDBC0, 0xDC80, 0xDBC0, 0xDC83, 0xDBC0, 0xDCBF}},
        {"\xF4\x90\x80\x80", {0xDBC0, 0xDCF4, 0xDBC0, 0xDC90, 0xDBC0, 0xDC80, 0xDBC0, 0xDC80}}};
    for (const auto& [bytes, units] : rows) {
        EXPECT_EQ(toWide(bytes), units) << testing::PrintToString(bytes);
        EXPECT_EQ(toNarrow(units), bytes) << testing::PrintToString(bytes);
    }
    // Surrogates that meet combine.
    EXPECT_EQ(toNarrow({0xDC00, 0xDC00}), "\xF4\x90\x80\x80");
    EXPECT_EQ(toNarrow({0xDFFF, 0xDFFF}), "\xF8\x88\x8F\xBF\xBF");
    // The one text of bytes that comes back changed: two surrogates, each in three bytes.
    EXPECT_EQ(toNarrow(toWide("\xED\xA0\x80\xED\xB0\x80")), "\xF0\x90\x80\x80");
}

testing::AssertionResult comesBack(const std::string& bytes) {
    const Units units = toWide(bytes);
    if (units == oracleWide(bytes) && toNarrow(units) == bytes) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << testing::PrintToString(bytes);
}

TEST(Conversion, AllPairsOfBytesComeBack) {
    for (int pair = 0x100; pair < 0x10000; ++pair) {
        if ((pair & 0xFF) != 0) {
            ASSERT_TRUE(comesBack({static_cast<char>(pair >> 8), static_cast<char>(pair)}));
        }
    }
}

TEST(Conversion, TriplesAndGeneratedRowsOfTellingBytesComeBack) {
    const std::string telling =
        "\x01\x41\x7F\x80\x83\x84\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xEF\xF0\xF4\xF5\xF8\xFC"
        "\xFE\xFF\xED";
    const std::size_t count = telling.size();
    for (std::size_t i = 0; i < count * count * count; ++i) {
        ASSERT_TRUE(comesBack(
            {telling[i / count / count], telling[i / count % count], telling[i % count]}));
    }
    constexpr unsigned seed = 7;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 50000; ++round) {
        std::string bytes(4 + random() % 9, ' ');
        for (char& byte : bytes) {
            byte = telling[random() % (count - 1)];  // no 0xED: see above
        }
        ASSERT_TRUE(comesBack(bytes));
    }
}

TEST(Conversion, AllTriplesOfTellingUnitsAgreeWithTheOracle) {
    const Units telling = {1,      0x7F,   0x80,   0x7FF,  0x800,  0xD7FF, 0xD800, 0xDBC0,
                           0xDBFF, 0xDC00, 0xDC41, 0xDCFF, 0xDD00, 0xDFFF, 0xE000, 0xFFFF};
    for (std::size_t i = 0; i < std::size_t{16} * 16 * 16; ++i) {
        const Units units = {telling[i / 256], telling[i / 16 % 16], telling[i % 16]};
        ASSERT_EQ(toNarrow(units), oracleNarrow(units)) << testing::PrintToString(units);
    }
}

/// The text that arrives in a destination of `size`, with "|" where a terminator stands.
template <class Unit, class Convert, class Text>
std::basic_string<Unit> cut(Convert convert, const Text& source, std::int32_t size) {
    std::basic_string<Unit> destination(20, '#');
    const std::int32_t count = convert(source.c_str(), destination.data(), size);
    std::replace(destination.begin(), destination.end(), Unit{0}, Unit{'|'});
    destination.resize(destination.find_last_not_of(Unit{'#'}) + 1);
    const bool isEnded = destination.ends_with(Unit{'|'});
    EXPECT_EQ(count, static_cast<std::int32_t>(destination.size()) - (isEnded ? 1 : 0));
    return destination;
}

TEST(Conversion, StopsAtTheSizeOfTheDestination) {
    for (const char* const row :
         {"abc in -1 ->  and ", "abc in 0 ->  and ", "abc in 1 -> a and a",
          "abc in 3 -> abc and abc", "abc in 4 -> abc| and abc|", "\u20AC in 2 -> \u20AC| and |",
          "\u20AC in 3 -> \u20AC| and \u20AC", "a\u20AC in 3 -> a\u20AC| and a|",
          "\U0001F600 in 1 -> | and |", "\U0001F600 in 2 -> | and |",
          "\U0001F600 in 3 -> \U0001F600| and |", "\U0001F600 in 5 -> \U0001F600| and \U0001F600|",
          "a\U0001F600z in 3 -> a| and a|", "a\U0001F600z in 4 -> a\U0001F600z and a|",
          "\xC3\xC3 in 1 -> | and \xC3", "\xC3\xC3 in 2 -> | and \xC3\xC3",
          "\xC3\xC3 in 4 -> \xC3| and \xC3\xC3|", "\xE2\x82 in 5 -> \xE2\x82| and \xE2\x82|"}) {
        SCOPED_TRACE(testing::PrintToString(row));
        const auto [source, results] = TestSupport::bothSides(row);
        const auto [text, size] = TestSupport::bothSides(source, " in ");
        const auto [wide, narrow] = TestSupport::bothSides(results, " and ");
        EXPECT_EQ(cut<WideChar>(utf8ToWide, text, std::stoi(size)), toWide(wide));
        EXPECT_EQ(cut<char>(wideToUtf8, toWide(text), std::stoi(size)), narrow);
    }
}

TEST(TextConverter, ConvertsOnceAndOnlyWhenAsked) {
    TextConverter converter("\xC3\xA4");
    EXPECT_EQ(converter.wide, nullptr);
    EXPECT_EQ(TextConverter(converter.getWide()).getNarrowString(), "\xC3\xA4");
    EXPECT_EQ(converter.getWide(), converter.ownedWide);
    EXPECT_EQ(converter.wideSize, 2);
    EXPECT_EQ(TextConverter(static_cast<const char*>(nullptr)).getWide(), nullptr);
}

}  // namespace
}  // namespace Brelt
