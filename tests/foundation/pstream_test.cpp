// Records and copies over any stream, and the stream over memory.

#include "foundation/pstream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "foundation/pmem_stream.h"
#include "foundation/texts.h"

namespace Brelt {
namespace {

using TestSupport::printed;

void write(PStream& stream, const std::string& bytes) {
    EXPECT_FALSE(stream.WriteBuffer(bytes.data(), static_cast<std::int32_t>(bytes.size())));
}

std::string readAll(PStream& stream) {
    std::string bytes(static_cast<std::size_t>(stream.Size()), '#');
    EXPECT_FALSE(stream.Seek(0));
    EXPECT_FALSE(stream.ReadBuffer(bytes.data(), static_cast<std::int32_t>(bytes.size())));
    return bytes;
}

/// Moves at most so many bytes in one call, or fails its calls from the n-th on.
class WeakStream : public PMemStream {
public:
    explicit WeakStream(const std::string& content = "", std::int32_t most = 1 << 30,
                        std::size_t sound = 99)
        : PMemStream(64), longest(most), soundCalls(sound) {
        std::int32_t written = 0;
        PMemStream::Write(content.data(), static_cast<std::int32_t>(content.size()), &written);
        Seek(0);
    }

    ErrorChain Write(const void* source, std::int32_t count, std::int32_t* written) override {
        *written = 0;
        return fails(count) ? ErrorChain::make("WeakStream::Write", 112, "full")
                            : PMemStream::Write(source, std::min(count, longest), written);
    }

    ErrorChain Read(void* destination, std::int32_t count, std::int32_t* read) override {
        *read = 0;
        return fails(count) ? ErrorChain::make("WeakStream::Read", 30, "torn")
                            : PMemStream::Read(destination, std::min(count, longest), read);
    }

    std::vector<std::int32_t> calls;
    std::int32_t longest;
    std::size_t soundCalls;

private:
    bool fails(std::int32_t count) {
        calls.push_back(count);
        return calls.size() > soundCalls;
    }
};

TEST(PStream, RecordsHaveTheirBytesAndAreReadBack) {
    WeakStream stream;
    std::int32_t moved = -1;
    EXPECT_FALSE(stream.WriteU32(0x84838281));
    EXPECT_FALSE(stream.WriteU16(0xFFFE, &moved));
    EXPECT_EQ(moved, 2);
    std::string text(65535, 'x');
    const int lengths[] = {0, 3, 65535};
    for (const int length : lengths) {
        EXPECT_FALSE(
            stream.WritePascalStr(text.data(), static_cast<std::uint16_t>(length), &moved));
        EXPECT_EQ(moved, 2 + length);
    }
    EXPECT_FALSE(stream.WriteCharString(CharString("de")));
    EXPECT_FALSE(stream.WriteCharString(CharString()));
    EXPECT_FALSE(stream.WriteStr("f"));
    EXPECT_EQ(readAll(stream), std::string("\x81\x82\x83\x84\xFE\xFF\0\0\3\0xxx\xFF\xFF", 15) +
                                   text + std::string("\2\0\0\0de\0\0\0\0f", 11));
    EXPECT_FALSE(stream.Seek(0));
    std::uint32_t wide = 0;
    std::uint16_t narrow = 0;
    EXPECT_FALSE(stream.ReadU32(wide));
    EXPECT_EQ(wide, 0x84838281U);
    EXPECT_FALSE(stream.ReadU16(narrow, &moved));
    EXPECT_EQ(narrow, 0xFFFE);
    for (const int length : lengths) {
        text.assign(65535, '#');
        EXPECT_FALSE(stream.ReadPascalStr(text.data(), &narrow, &moved));
        EXPECT_EQ(narrow, length);
        EXPECT_EQ(moved, 2 + length);
        EXPECT_EQ(std::count(text.begin(), text.end(), 'x'), length);
    }
}

TEST(PStream, BoundedTextsFitWithTheirTerminatorOrStayUnread) {
    WeakStream stream(std::string("\x9\0ninebytes\xA\0\0\0tencharact\0\0\0\0\xA\0", 31));
    std::string text = "################";
    std::uint16_t length = 10;
    std::int32_t read = 0;
    EXPECT_FALSE(stream.ReadPascalStr1(text.data(), &length, &read));
    EXPECT_STREQ(text.c_str(), "ninebytes");
    EXPECT_EQ(length, 9);
    EXPECT_EQ(read, 11);
    const CharString other("xyz");
    CharString replaced(other);
    EXPECT_FALSE(stream.ReadCharString(replaced));
    EXPECT_STREQ(replaced.ptr(), "tencharact");
    EXPECT_STREQ(other.ptr(), "xyz");
    EXPECT_FALSE(stream.ReadCharString(replaced));
    EXPECT_EQ(replaced.holder(), nullptr);
    length = 10;
    EXPECT_EQ(printed(stream.ReadPascalStr1(text.data(), &length, &read)),
              "[PStream::ReadPascalStr1] -1: Buffer length = 10 too short for 10 characters");
    EXPECT_STREQ(text.c_str(), "ninebytes");
}

/// Writes a record, or reads one where its name begins with "read"; what is told.
std::string moveRecord(WeakStream& stream, const std::string& record, std::int32_t& moved) {
    char text[20];
    std::uint16_t length = sizeof(text);
    CharString counted("abcdef");
    return printed(record == "buffer"         ? stream.WriteBuffer("abcdef", 6)
                   : record == "pascal"       ? stream.WritePascalStr("abc", 3, &moved)
                   : record == "text"         ? stream.WriteCharString(counted)
                   : record == "read pascal"  ? stream.ReadPascalStr(text, &length, &moved)
                   : record == "read bounded" ? stream.ReadPascalStr1(text, &length, &moved)
                                              : stream.ReadCharString(counted));
}

TEST(PStream, TornAndShortRecordsAreTold) {
    const std::string full = "[WeakStream::Write] 112: full";
    const std::string torn("\4\0ab", 4);
    const std::string tornText("\4\0\0\0ab", 6);
    // What is there to read, the most bytes of a call, the sound calls; what is told, and the
    // count.
    using Row = std::tuple<std::string, std::string, std::int32_t, std::size_t, std::string, int>;
    const Row rows[] = {
        {"read pascal", "\1", 9, 9, "[PStream::ReadPascalStr] -1: expected 2 bytes, got 1", 1},
        {"read pascal", torn, 9, 9, "[PStream::ReadBuffer] -1: Expected 4 bytes, got 2", 6},
        {"read bounded", "\1", 9, 9, "[PStream::ReadPascalStr1] -1: expected 2 bytes, got 1", 1},
        {"read bounded", torn, 9, 9, "[PStream::ReadBuffer] -1: Expected 4 bytes, got 2", 6},
        {"read text", "", 9, 9, "[PStream::ReadBuffer] -1: Expected 4 bytes, got 0", 0},
        {"read text", tornText, 9, 9, "[PStream::ReadCharString] -1: expected 4 bytes, got 2", 0},
        {"read text", "\xFF\xFF\xFF\xFF", 9, 9, "[PMemStream::Read] -1: Invalid read size (-1)", 0},
        {"read text", "\xFF\xFF\xFF\x7F", 9, 9,
         "[PStream::ReadCharString] -1: No memory for 2147483647 bytes", 0},
        {"buffer", "", 4, 9, "[PStream::WriteBuffer] -1: 4 of 6 bytes written", 0},
        {"buffer", "", 9, 0, full, 0},
        {"pascal", "", 1, 9, "[PStream::WritePascalStr] -1: 1 of 2 bytes written", 1},
        {"pascal", "", 2, 9, "No error", 4},
        {"pascal", "", 9, 0, full, 0},
        {"pascal", "", 9, 1, full, 2},
        {"text", "", 4, 9, "[PStream::WriteBuffer] -1: 4 of 6 bytes written", 0},
        {"text", "", 3, 9, "[PStream::WriteBuffer] -1: 3 of 4 bytes written", 0},
        {"text", "", 9, 1, full, 0}};
    for (const auto& [record, bytes, longest, soundCalls, told, count] : rows) {
        WeakStream stream(bytes, longest, soundCalls);
        std::int32_t moved = 0;
        EXPECT_EQ(moveRecord(stream, record, moved), told);
        EXPECT_EQ(moved, count) << record << told;
    }
}

/// Copies behind two bytes; the sizes of the reads, what is told and what came.
std::string copied(WeakStream&& source, WeakStream&& destination, std::int64_t total,
                   std::int32_t bufferSize) {
    EXPECT_FALSE(source.Seek(2) || destination.Seek(2));
    std::int64_t read = -1;
    std::int64_t written = -1;
    const ErrorChain error = copyStream(&destination, &source, total, &read, &written, bufferSize);
    std::string told;
    for (const std::int32_t size : source.calls) {
        told += std::to_string(size) + " ";
    }
    EXPECT_EQ(destination.Tell(), 2 + written);
    destination.longest = 99;
    destination.soundCalls = 99;
    return told + "-> " + printed(error) + ", " + std::to_string(read) + " read, " +
           readAll(destination);
}

TEST(CopyStream, MovesBlocksFromTheTwoPositionsAndTellsWhatWasMoved) {
    constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();
    const std::tuple<std::int64_t, std::int32_t, std::string> rows[] = {
        {0, 4, "-> No error, 0 read, ##"},
        {-1, 4, "-> No error, 0 read, ##"},
        {8, 4, "4 4 -> No error, 8 read, ##01234567"},
        {10, 4, "4 4 2 -> No error, 10 read, ##0123456789"},
        {10, 0, "10 -> No error, 10 read, ##0123456789"},
        {10, -5, "10 -> No error, 10 read, ##0123456789"},
        {50, 8, "8 8 -> No error, 10 read, ##0123456789"},
        {50, 5, "5 5 5 -> No error, 10 read, ##0123456789"},
        {40000, 0, "32768 -> No error, 10 read, ##0123456789"},
        {std::int64_t{1} << 33, highest, "33554432 -> No error, 10 read, ##0123456789"}};
    for (const auto& [total, bufferSize, told] : rows) {
        EXPECT_EQ(copied(WeakStream("__0123456789"), WeakStream("##"), total, bufferSize), told);
    }
    EXPECT_EQ(copied(WeakStream("__0123456789", 9, 2), WeakStream("##"), 10, 4),
              "4 4 2 -> [WeakStream::Read] 30: torn, 8 read, ##01234567");
    EXPECT_EQ(copied(WeakStream("__0123456789", 9, 0), WeakStream("##"), 10, 4),
              "4 -> [WeakStream::Read] 30: torn, 0 read, ##");
    EXPECT_EQ(copied(WeakStream("__0123456789"), WeakStream("##", 9, 1), 10, 4),
              "4 4 -> [WeakStream::Write] 112: full, 8 read, ##0123");
    EXPECT_EQ(copied(WeakStream("__0123456789"), WeakStream("##", 3), 10, 4),
              "4 4 4 -> No error, 10 read, ##01245689");
}

std::string blocksOf(const PMemStream& stream) {
    std::string blocks;
    for (const MemBlock* block = stream.head; block != nullptr; block = block->next) {
        blocks += 'o';
    }
    return blocks;
}

TEST(PMemStream, WritesAppendBlocksAtABoundaryAndOverwriteBeforeTheEnd) {
    PMemStream stream(4);
    EXPECT_EQ(stream.IsEof(), 1);
    EXPECT_EQ(readAll(stream), "");
    write(stream, "abcd");
    EXPECT_EQ(blocksOf(stream), "oo");
    EXPECT_FALSE(stream.Seek(4));
    write(stream, "efghij");
    EXPECT_FALSE(stream.Seek(5));
    write(stream, "01");
    EXPECT_EQ(stream.Size(), 10);
    write(stream, "2345678");
    EXPECT_EQ(readAll(stream), "abcde012345678");
    EXPECT_EQ(stream.IsEof(), 1);
}

TEST(PMemStream, SeekOutsideOrBeyondTheTypeLeavesThePosition) {
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    PMemStream stream(4);
    write(stream, "abcdef");
    EXPECT_FALSE(stream.SeekEnd(-3));
    EXPECT_TRUE(stream.SeekOff(-4));
    EXPECT_TRUE(stream.SeekOff(highest));
    for (const std::int64_t offset : {std::int64_t{1}, highest, -highest - 1}) {
        EXPECT_TRUE(stream.SeekEnd(offset)) << offset;
    }
    EXPECT_EQ(printed(stream.Seek(7)), "[PMemStream::Seek] -1: Seek position = 7, stream size = 6");
    EXPECT_EQ(printed(stream.Truncate()), "[PStream::Truncate] -1: Not implemented");
    EXPECT_EQ(stream.Tell(), 3);
}

TEST(PMemStream, FieldsLieInTheirOrder) {
    const PMemStream stream(4);
    const void* const fields[] = {&stream.head,     &stream.size,   &stream.current,
                                  &stream.position, &stream.opened, &stream.blockSize};
    std::size_t offset = sizeof(void*);
    for (const void* const field : fields) {
        EXPECT_EQ(field, reinterpret_cast<const char*>(&stream) + offset);
        offset += 8;
    }
}

TEST(PMemStream, ResetKeepsOrFreesTheBlocksAndASecondOpenIsRefused) {
    PMemStreamGrowStep<4> stream;
    write(stream, "abcdefghij");
    stream.Reset(0);
    EXPECT_EQ(blocksOf(stream), "ooo");
    write(stream, "xy");
    EXPECT_EQ(stream.Size(), 2);
    EXPECT_TRUE(stream.Seek(3));
    EXPECT_FALSE(stream.Open());
    EXPECT_EQ(stream.Tell(), 0);
    EXPECT_EQ(printed(stream.Open()), "[PMemStream::Open] -1: Stream already opened");
    EXPECT_FALSE(stream.Close());
    EXPECT_EQ(stream.IsOpen(), 0);
    EXPECT_EQ(readAll(stream), "xy");
    stream.Reset(1);
    EXPECT_EQ(stream.head, nullptr);
    write(stream, "z");
    EXPECT_EQ(readAll(stream), "z");
}

}  // namespace
}  // namespace Brelt
