#include "foundation/pstream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "foundation/pmem_stream.h"

namespace Brelt {
namespace {

/// A memory stream that moves at most so many bytes in one call, or fails its calls from the n-th
/// on.
class WeakStream : public PMemStream {
public:
    WeakStream() : PMemStream(64) {}
    explicit WeakStream(const std::string& content) : PMemStream(64) {
        std::int32_t written = 0;
        PMemStream::Write(content.data(), static_cast<std::int32_t>(content.size()), &written);
        Seek(0);
    }

    ErrorChain Write(const void* source, std::int32_t count, std::int32_t* written) override {
        calls.push_back(count);
        if (static_cast<int>(calls.size()) > soundCalls) {
            *written = 0;
            return ErrorChain::make("WeakStream::Write", 112, "full");
        }
        return PMemStream::Write(source, std::min(count, longest), written);
    }

    ErrorChain Read(void* destination, std::int32_t count, std::int32_t* read) override {
        calls.push_back(count);
        if (static_cast<int>(calls.size()) > soundCalls) {
            *read = 0;
            return ErrorChain::make("WeakStream::Read", 30, "torn");
        }
        return PMemStream::Read(destination, std::min(count, longest), read);
    }

    std::string content() {
        std::string bytes(static_cast<std::size_t>(Size()), '#');
        std::int32_t read = 0;
        EXPECT_FALSE(Seek(0));
        EXPECT_FALSE(
            PMemStream::Read(bytes.data(), static_cast<std::int32_t>(bytes.size()), &read));
        return bytes;
    }

    std::vector<std::int32_t> calls;
    std::int32_t longest = std::numeric_limits<std::int32_t>::max();
    int soundCalls = std::numeric_limits<int>::max();
};

std::string show(const ErrorChain& chain) {
    return chain.toCharString().cstr();
}

TEST(PStream, RecordsHaveTheirBytes) {
    WeakStream stream;
    std::int32_t written = -1;
    EXPECT_FALSE(stream.WriteU32(0x84838281));
    EXPECT_FALSE(stream.WriteU16(0x8281, &written));
    EXPECT_EQ(written, 2);
    EXPECT_FALSE(stream.WritePascalStr("abc", 3, &written));
    EXPECT_EQ(written, 5);
    EXPECT_FALSE(stream.WritePascalStr(nullptr, 0, &written));
    EXPECT_EQ(written, 2);
    EXPECT_FALSE(stream.WriteCharString(CharString("de")));
    EXPECT_FALSE(stream.WriteCharString(CharString("")));
    EXPECT_FALSE(stream.WriteCharString(CharString()));
    EXPECT_FALSE(stream.WriteStr("f"));
    const char expected[] =
        "\x81\x82\x83\x84"
        "\x81\x82"
        "\3\0abc"
        "\0\0"
        "\2\0\0\0de"
        "\0\0\0\0"
        "\0\0\0\0"
        "f";
    EXPECT_EQ(stream.content(), std::string(expected, sizeof(expected) - 1));
}

TEST(PStream, RecordsAreReadBack) {
    WeakStream stream(std::string("\x81\x82\x83\x84\xFE\xFF\3\0abc\0\0", 13));
    std::uint32_t wide = 0;
    std::uint16_t narrow = 0;
    std::int32_t read = -1;
    EXPECT_FALSE(stream.ReadU32(wide));
    EXPECT_EQ(wide, 0x84838281U);
    EXPECT_FALSE(stream.ReadU16(narrow, &read));
    EXPECT_EQ(narrow, 0xFFFE);
    std::string text(65535, '#');
    std::uint16_t length = 77;
    EXPECT_FALSE(stream.ReadPascalStr(text.data(), &length, &read));
    EXPECT_EQ(length, 3);
    EXPECT_EQ(read, 5);
    EXPECT_EQ(text.substr(0, 4), "abc#");
    EXPECT_FALSE(stream.ReadPascalStr(text.data(), &length, &read));
    EXPECT_EQ(length, 0);
    EXPECT_EQ(read, 2);
}

TEST(PStream, LongestPascalStringGoesThrough) {
    WeakStream stream;
    std::string text(65535, 'x');
    std::int32_t moved = 0;
    EXPECT_FALSE(stream.WritePascalStr(text.c_str(), 65535, &moved));
    EXPECT_EQ(moved, 65537);
    std::uint16_t length = 0;
    EXPECT_FALSE(stream.Seek(0));
    EXPECT_FALSE(stream.ReadPascalStr(text.data(), &length, &moved));
    EXPECT_EQ(length, 65535);
    EXPECT_EQ(moved, 65537);
}

TEST(PStream, BoundedPascalStringFitsWithItsTerminatorOrStaysUnread) {
    WeakStream stream(std::string("\x9\0ninebytes\0\0\xA\0tencharact", 25));
    std::string text = "################";
    std::uint16_t length = 10;
    std::int32_t read = 0;
    EXPECT_FALSE(stream.ReadPascalStr1(text.data(), &length, &read));
    EXPECT_STREQ(text.c_str(), "ninebytes");
    EXPECT_EQ(length, 9);
    EXPECT_EQ(read, 11);
    length = 10;
    EXPECT_FALSE(stream.ReadPascalStr1(text.data(), &length, &read));
    EXPECT_EQ(length, 10);
    EXPECT_STREQ(text.c_str(), "ninebytes");
    EXPECT_EQ(show(stream.ReadPascalStr1(text.data(), &length, &read)),
              "[PStream::ReadPascalStr1] -1: Buffer length = 10 too short for 10 characters");
    EXPECT_EQ(stream.Tell(), 15);
}

TEST(PStream, CharStringRecordReplacesTheTextOfThisHandleOnly) {
    const std::string record("\3\0\0\0abc\5\0\0\0fghij\0\0\0\0", 20);
    WeakStream stream(record);
    const CharString other("xyz");
    CharString text(other);
    EXPECT_FALSE(stream.ReadCharString(text));
    EXPECT_STREQ(text.ptr(), "abc");
    EXPECT_STREQ(other.ptr(), "xyz");
    EXPECT_FALSE(stream.ReadCharString(text));
    EXPECT_STREQ(text.ptr(), "fghij");
    EXPECT_FALSE(stream.ReadCharString(text));
    EXPECT_EQ(text.holder(), nullptr);
}

TEST(PStream, TornRecordsFailWithWhatCame) {
    using Read = ErrorChain (*)(PStream&);
    const Read pascal = [](PStream& stream) {
        char text[20];
        std::uint16_t length = 0;
        std::int32_t read = 0;
        return stream.ReadPascalStr(text, &length, &read);
    };
    const Read bounded = [](PStream& stream) {
        char text[20];
        std::uint16_t length = sizeof(text);
        std::int32_t read = 0;
        return stream.ReadPascalStr1(text, &length, &read);
    };
    const Read charString = [](PStream& stream) {
        CharString text("old");
        return stream.ReadCharString(text);
    };
    const struct {
        std::string bytes;
        Read read;
        const char* error;
    } cases[] = {
        {"\1", pascal, "[PStream::ReadPascalStr] -1: expected 2 bytes, got 1"},
        {std::string("\4\0ab", 4), pascal, "[PStream::ReadBuffer] -1: Expected 4 bytes, got 2"},
        {"\1", bounded, "[PStream::ReadPascalStr1] -1: expected 2 bytes, got 1"},
        {std::string("\4\0ab", 4), bounded, "[PStream::ReadBuffer] -1: Expected 4 bytes, got 2"},
        {"", charString, "[PStream::ReadBuffer] -1: Expected 4 bytes, got 0"},
        {std::string("\4\0\0\0ab", 6), charString,
         "[PStream::ReadCharString] -1: expected 4 bytes, got 2"},
        {"\xFF\xFF\xFF\xFF", charString, "[PMemStream::Read] -1: Invalid read size (-1)"},
        {"\xFF\xFF\xFF\x7F", charString,
         "[PStream::ReadCharString] -1: No memory for 2147483647 bytes"},
    };
    for (const auto& c : cases) {
        WeakStream stream(c.bytes);
        EXPECT_EQ(show(c.read(stream)), c.error);
    }
}

TEST(PStream, ShortAndFailedWritesAreTold) {
    using Write = ErrorChain (*)(PStream&, std::int32_t * written);
    const Write buffer = [](PStream& stream, std::int32_t*) {
        return stream.WriteBuffer("abcdef", 6);
    };
    const Write pascal = [](PStream& stream, std::int32_t* written) {
        return stream.WritePascalStr("abc", 3, written);
    };
    const Write charString = [](PStream& stream, std::int32_t*) {
        return stream.WriteCharString(CharString("abcdef"));
    };
    const struct {
        Write write;
        std::int32_t longest;
        int soundCalls;
        const char* error;
        std::int32_t written;
    } cases[] = {
        {buffer, 4, 9, "[PStream::WriteBuffer] -1: 4 of 6 bytes written", 0},
        {buffer, 9, 0, "[WeakStream::Write] 112: full", 0},
        {pascal, 1, 9, "[PStream::WritePascalStr] -1: 1 of 2 bytes written", 1},
        {pascal, 2, 9, "No error", 4},
        {pascal, 9, 0, "[WeakStream::Write] 112: full", 0},
        {pascal, 9, 1, "[WeakStream::Write] 112: full", 2},
        {charString, 4, 9, "[PStream::WriteBuffer] -1: 4 of 6 bytes written", 0},
        {charString, 3, 9, "[PStream::WriteBuffer] -1: 3 of 4 bytes written", 0},
        {charString, 9, 1, "[WeakStream::Write] 112: full", 0},
    };
    for (const auto& c : cases) {
        WeakStream stream;
        stream.longest = c.longest;
        stream.soundCalls = c.soundCalls;
        std::int32_t written = 0;
        EXPECT_EQ(show(c.write(stream, &written)), c.error);
        EXPECT_EQ(written, c.written) << c.error;
    }
}

using Sizes = std::vector<std::int32_t>;

TEST(CopyStream, MovesBlocksFromTheTwoPositions) {
    const struct {
        std::int64_t total;
        std::int32_t bufferSize;
        Sizes reads;
        std::int64_t moved;
    } cases[] = {
        {0, 4, {}, 0},
        {-1, 4, {}, 0},
        {10, 4, {4, 4, 2}, 10},
        {8, 4, {4, 4}, 8},
        {10, 0, {10}, 10},
        {10, -5, {10}, 10},
        {50, 8, {8, 8}, 10},
        {50, 5, {5, 5, 5}, 10},
        {40000, 0, {32768}, 10},
        {std::int64_t{1} << 33, std::numeric_limits<std::int32_t>::max(), {0x2000000}, 10},
    };
    for (const auto& c : cases) {
        WeakStream source("__0123456789");
        EXPECT_FALSE(source.Seek(2));
        WeakStream destination("##");
        EXPECT_FALSE(destination.Seek(2));
        std::int64_t read = -1;
        std::int64_t written = -1;
        EXPECT_FALSE(copyStream(&destination, &source, c.total, &read, &written, c.bufferSize));
        EXPECT_EQ(source.calls, c.reads) << c.total << " by " << c.bufferSize;
        EXPECT_EQ(read, c.moved);
        EXPECT_EQ(written, c.moved);
        EXPECT_EQ(destination.content(),
                  "##" + std::string("0123456789").substr(0, static_cast<std::size_t>(c.moved)));
    }
}

TEST(CopyStream, CountersTellWhatWasMovedUpToTheFailure) {
    const struct {
        int soundReads;
        int soundWrites;
        std::int32_t longestWrite;
        const char* error;
        std::int64_t read;
        std::int64_t written;
    } cases[] = {
        {2, 9, 9, "[WeakStream::Read] 30: torn", 8, 8},
        {9, 1, 9, "[WeakStream::Write] 112: full", 8, 4},
        {0, 9, 9, "[WeakStream::Read] 30: torn", 0, 0},
        {9, 9, 3, "No error", 10, 8},
    };
    for (const auto& c : cases) {
        WeakStream source("0123456789");
        source.soundCalls = c.soundReads;
        WeakStream destination;
        destination.soundCalls = c.soundWrites;
        destination.longest = c.longestWrite;
        std::int64_t read = -1;
        std::int64_t written = -1;
        EXPECT_EQ(show(copyStream(&destination, &source, 10, &read, &written, 4)), c.error);
        EXPECT_EQ(read, c.read) << c.error;
        EXPECT_EQ(written, c.written) << c.error;
    }
}

}  // namespace
}  // namespace Brelt
