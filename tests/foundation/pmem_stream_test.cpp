#include "foundation/pmem_stream.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <string>

namespace Brelt {
namespace {

std::int32_t write(PMemStream& stream, const std::string& bytes) {
    std::int32_t written = -1;
    EXPECT_FALSE(stream.Write(bytes.data(), static_cast<std::int32_t>(bytes.size()), &written));
    return written;
}

std::string readAll(PMemStream& stream) {
    std::string bytes(static_cast<std::size_t>(stream.Size()), '\0');
    EXPECT_FALSE(stream.Seek(0));
    EXPECT_FALSE(stream.ReadBuffer(bytes.data(), static_cast<std::int32_t>(bytes.size())));
    return bytes;
}

int countBlocks(const PMemStream& stream) {
    int count = 0;
    for (const MemBlock* block = stream.head; block != nullptr; block = block->next) {
        ++count;
    }
    return count;
}

TEST(PMemStream, NewStreamIsEmptyAndWorksUnopened) {
    PMemStream stream(4);
    char byte = 0;
    std::int32_t read = -1;
    EXPECT_EQ(stream.Size(), 0);
    EXPECT_EQ(stream.IsEof(), 1);
    EXPECT_FALSE(stream.Read(&byte, 1, &read));
    EXPECT_EQ(read, 0);
    EXPECT_FALSE(stream.Seek(0));
    EXPECT_STREQ(stream.Seek(1).toCharString().cstr(),
                 "[PMemStream::Seek] -1: Seek position = 1, stream size = 0");
}

TEST(PMemStream, WriteThatEndsOnABoundaryAppendsTheNextBlock) {
    PMemStream stream(4);
    EXPECT_EQ(write(stream, "abcd"), 4);
    EXPECT_EQ(countBlocks(stream), 2);
    EXPECT_FALSE(stream.Seek(4));
    EXPECT_EQ(write(stream, "efghij"), 6);
    EXPECT_EQ(readAll(stream), "abcdefghij");
}

TEST(PMemStream, WriteBeforeTheEndOverwritesAndThenExtends) {
    PMemStream stream(4);
    write(stream, "0123456789");
    EXPECT_FALSE(stream.Seek(5));
    write(stream, "ab");
    EXPECT_EQ(stream.Size(), 10);
    write(stream, "cdefghi");
    EXPECT_EQ(readAll(stream), "01234abcdefghi");
}

TEST(PMemStream, ReadRunsIntoTheEndWithoutFailing) {
    PMemStream stream(4);
    write(stream, "abcdef");
    EXPECT_FALSE(stream.SeekEnd(-5));
    char bytes[10] = {};
    std::int32_t read = -1;
    EXPECT_FALSE(stream.Read(bytes, 9, &read));
    EXPECT_EQ(read, 5);
    EXPECT_STREQ(bytes, "bcdef");
    EXPECT_STREQ(stream.ReadBuffer(bytes, 1).toCharString().cstr(),
                 "[PStream::ReadBuffer] -1: Expected 1 bytes, got 0");
    EXPECT_STREQ(stream.Read(bytes, -1, &read).toCharString().cstr(),
                 "[PMemStream::Read] -1: Invalid read size (-1)");
}

TEST(PMemStream, SeekOutsideLeavesThePosition) {
    PMemStream stream(4);
    write(stream, "abcdef");
    EXPECT_FALSE(stream.Seek(3));
    EXPECT_TRUE(stream.SeekEnd(1));
    EXPECT_TRUE(stream.SeekOff(-4));
    EXPECT_EQ(stream.Tell(), 3);
    EXPECT_FALSE(stream.SeekEnd(0));
    EXPECT_EQ(stream.IsEof(), 1);
}

TEST(PMemStream, SeekByAnOffsetThatLeavesTheTypeFails) {
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    PMemStream stream(4);
    write(stream, "abcdef");
    EXPECT_TRUE(stream.SeekOff(highest));
    EXPECT_TRUE(stream.SeekEnd(highest));
    EXPECT_TRUE(stream.SeekEnd(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(stream.Tell(), 6);
}

TEST(PMemStream, FieldsLieInTheirOrder) {
    const PMemStream stream(4);
    const auto offsetOf = [&stream](const void* field) {
        return static_cast<const char*>(field) - reinterpret_cast<const char*>(&stream);
    };
    constexpr std::ptrdiff_t pointer = sizeof(void*);
    EXPECT_EQ(offsetOf(&stream.head), pointer);
    EXPECT_EQ(offsetOf(&stream.size), pointer + 8);
    EXPECT_EQ(offsetOf(&stream.current), pointer + 16);
    EXPECT_EQ(offsetOf(&stream.position), pointer + 24);
    EXPECT_EQ(offsetOf(&stream.opened), pointer + 32);
    EXPECT_EQ(offsetOf(&stream.blockSize), pointer + 40);
}

TEST(PMemStream, ResetKeepsOrFreesTheBlocks) {
    PMemStreamGrowStep<4> stream;
    write(stream, "abcdefghij");
    stream.Reset(0);
    EXPECT_EQ(countBlocks(stream), 3);
    write(stream, "xy");
    EXPECT_EQ(stream.Size(), 2);
    EXPECT_TRUE(stream.Seek(3));
    stream.Reset(1);
    EXPECT_EQ(stream.head, nullptr);
    write(stream, "z");
    EXPECT_EQ(readAll(stream), "z");
}

TEST(PMemStream, OpenRewindsAndRefusesASecondOpen) {
    PMemStream stream(4);
    write(stream, "abc");
    EXPECT_FALSE(stream.Open());
    EXPECT_EQ(stream.Tell(), 0);
    EXPECT_STREQ(stream.Open().toCharString().cstr(),
                 "[PMemStream::Open] -1: Stream already opened");
    EXPECT_FALSE(stream.Close());
    EXPECT_EQ(stream.IsOpen(), 0);
    EXPECT_EQ(readAll(stream), "abc");
    EXPECT_STREQ(stream.Truncate().toCharString().cstr(),
                 "[PStream::Truncate] -1: Not implemented");
}

}  // namespace
}  // namespace Brelt
