#include "sync/stamp_check.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/pmem_stream.h"

namespace {

class FailingStream : public Brelt::PMemStream {
public:
    FailingStream() : PMemStream(16) {}
    Brelt::ErrorChain Read(void* /*destination*/, std::int32_t /*size*/,
                           std::int32_t* read) override {
        *read = 0;
        return Brelt::ErrorChain::make("FailingStream::Read", 5, nullptr);
    }
};

void fill(Brelt::PStream& stream, const std::string& bytes) {
    std::int32_t written = 0;
    stream.Write(bytes.data(), static_cast<std::int32_t>(bytes.size()), &written);
}

std::int32_t compare(const std::string& first, const std::string& second) {
    Brelt::PMemStream a(4096);
    Brelt::PMemStream b(100);
    fill(a, first);
    fill(b, second);
    Brelt::ErrorChain error;
    const std::int32_t result = compareStreams(error, &a, &b);
    EXPECT_FALSE(error);
    return result;
}

std::string withByte(std::size_t size, std::size_t at, char byte) {
    std::string bytes(size, 'x');
    bytes[at] = byte;
    return bytes;
}

TEST(CompareStreams, EveryByteCounts) {
    constexpr std::size_t block = 16384;
    EXPECT_EQ(compare("", ""), 0);
    EXPECT_EQ(compare("7", "7"), 0);
    EXPECT_EQ(compare("7\n", "7"), -1);
    EXPECT_EQ(compare(std::string(3 * block, 'x'), std::string(3 * block, 'x')), 0);
    for (const std::size_t at : {std::size_t{0}, block - 1, block, 2 * block}) {
        EXPECT_EQ(compare(withByte(2 * block + 1, at, 'y'), std::string(2 * block + 1, 'x')), -1)
            << at;
    }
}

TEST(CompareStreams, FailureOfAStreamIsADifferenceWithItsCause) {
    FailingStream failing;
    Brelt::PMemStream sound(16);
    fill(failing, "a");
    fill(sound, "a");
    Brelt::ErrorChain error;
    EXPECT_EQ(compareStreams(error, &sound, &failing), -1);
    EXPECT_EQ(error.codeAt(0), 5);
    EXPECT_EQ(compareStreams(error, &sound, &sound), -1);
}

}  // namespace
