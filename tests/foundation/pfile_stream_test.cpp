// The stream over a file, on any system.

#include "foundation/pfile_stream.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "foundation/texts.h"
#include "support/process_state.h"
#include "support/temp_directory.h"

using Brelt::PFileStream;
using TestSupport::printed;
using TestSupport::TempDirectory;

namespace {

/// Whether the chain is one node of that function with that code and a text of the system.
bool isOsFailure(const Brelt::ErrorChain& error, const std::string& function, int code) {
    const std::string number = std::to_string(code);
    const std::string start = "[PFileStream::" + function + "] " + number + ": (" + number + ") ";
    const std::string text = printed(error);
    return text.starts_with(start) && text.size() > start.size() &&
           text.find(" | ") == std::string::npos;
}

class PFileStreamTest : public testing::Test {
protected:
    void write(const char* text) {
        const Brelt::ErrorChain error = stream.WriteStr(text);
        ASSERT_FALSE(error) << printed(error);
    }

    /// The bytes that stand in the file after "x" was written first thing, or the failure's code.
    std::string outcome(std::uint32_t mode, bool creates, bool exists) {
        std::filesystem::remove(directory.path() / "file");
        if (exists) {
            directory.write("file", "abc");
        }
        const Brelt::ErrorChain error = creates ? stream.Create(name.c_str(), mode)
                                                : stream.Open(name.c_str(), 0xC0000000, 1, mode);
        EXPECT_EQ(stream.IsOpen(), error ? 0 : 1);
        if (error) {
            return std::to_string(error.codeAt(0));
        }
        write("x");
        EXPECT_FALSE(stream.Close());
        return directory.read("file");
    }

    const TempDirectory directory;
    const std::string name = directory.text("file");
    PFileStream stream;
};

TEST_F(PFileStreamTest, FieldsStandInTheirOrderBehindTheTable) {
    const std::pair<const void*, std::size_t> fields[] = {{&stream.openCount, 0},
                                                          {&stream.fileName, sizeof(void*)},
                                                          {&stream.access, 2 * sizeof(void*)},
                                                          {&stream.share, 2 * sizeof(void*) + 4},
                                                          {&stream.mode, 2 * sizeof(void*) + 8},
                                                          {&stream.file, 2 * sizeof(void*) + 16}};
    for (const auto& [field, offset] : fields) {
        EXPECT_EQ(field, reinterpret_cast<const char*>(&stream) + sizeof(void*) + offset);
    }
    EXPECT_EQ(stream.access, 0xC0000000U);
    EXPECT_EQ(stream.share, 1U);
    EXPECT_EQ(stream.mode, 2U);
}

TEST_F(PFileStreamTest, ModesDecideWhatHappensToTheFile) {
    // Opened where there is no file and where there is one; created likewise.
    for (const char* const row :
         {"0 -> 2 xbc x x ", "1 -> 2 abcx x abcx ", "2 -> x xbc x x ", "3 -> x x x x ",
          "15 -> x x x x ", "16 -> x 80 x 80 ", "17 -> x 80 x 80 ", "19 -> x 80 x 80 "}) {
        const auto [mode, expected] = TestSupport::bothSides(row);
        std::string outcomes;
        for (const bool creates : {false, true}) {
            for (const bool exists : {false, true}) {
                outcomes += outcome(static_cast<std::uint32_t>(std::stoul(mode)), creates, exists);
                outcomes += ' ';
            }
        }
        EXPECT_EQ(outcomes, expected) << "mode " << mode;
    }
}

TEST_F(PFileStreamTest, AnEmptyNameFailsBeforeAnythingIsClosedAndNoneIsTheFormer) {
    const std::string noneToOpen = "[PFileStream::Open] -1: Empty file name";
    const std::string noneToCreate = "[PFileStream::Create] -1: Empty file name";
    EXPECT_EQ(printed(stream.Open()), noneToOpen);
    EXPECT_EQ(printed(stream.Create(nullptr, 3)), noneToCreate);
    ASSERT_FALSE(stream.Create(name.c_str(), 3));
    EXPECT_EQ(printed(stream.Create("", 3)), noneToCreate);
    EXPECT_EQ(printed(stream.Open(nullptr, 0, 0, 0)), noneToOpen);
    write("still open");
    ASSERT_FALSE(stream.Create(name.c_str(), 1));
    EXPECT_EQ(stream.Tell(), 10);
    ASSERT_FALSE(stream.Create(nullptr, 3));
    EXPECT_EQ(stream.IsOpen(), 1);
    ASSERT_FALSE(stream.Create(stream.fileName, 1));
    write("second");
    EXPECT_FALSE(stream.Close());
    EXPECT_EQ(directory.read("file"), "second");
    EXPECT_FALSE(stream.Close());
    EXPECT_EQ(stream.IsOpen(), 0);
    stream.mode = 3;
    ASSERT_FALSE(stream.Open());
    EXPECT_EQ(stream.Size(), 0) << "the mode is remembered too";
}

TEST_F(PFileStreamTest, FailuresCarryTheCodeOfTheSystemAndNoName) {
    EXPECT_TRUE(isOsFailure(stream.Open(name.c_str(), PFileStream::readAccess, 1, 0), "Open", 2));
    EXPECT_TRUE(isOsFailure(stream.Create((name + "/file").c_str(), 3), "Create", 3));
    EXPECT_TRUE(isOsFailure(stream.Create(directory.text().c_str(), 3), "Create", 5));
    EXPECT_EQ(stream.file, nullptr);
    directory.write("file", "abc");
    EXPECT_FALSE(stream.Open(name.c_str(), PFileStream::readAccess, 1, PFileStream::atEnd));
    EXPECT_EQ(stream.Tell(), 0) << "one that is read isn't moved in";
    std::int32_t written = 7;
    EXPECT_TRUE(isOsFailure(stream.Write("x", 1, &written), "Write", 5));
    EXPECT_EQ(written, 0);
}

TEST_F(PFileStreamTest, OperationsOnAClosedStreamFailInTheSystem) {
    char byte = 0;
    std::int32_t moved = 7;
    EXPECT_TRUE(isOsFailure(stream.Read(&byte, 1, &moved), "Read", 6));
    EXPECT_EQ(moved, 0);
    EXPECT_TRUE(isOsFailure(stream.Write(&byte, 1, &moved), "Write", 6));
    EXPECT_TRUE(isOsFailure(stream.WriteStr("x"), "Write", 6));
    EXPECT_TRUE(isOsFailure(stream.Flush(), "Flush", 6));
    EXPECT_TRUE(isOsFailure(stream.Seek(0), "Seek", 6));
    EXPECT_TRUE(isOsFailure(stream.SeekOff(0), "SeekOff", 6));
    EXPECT_TRUE(isOsFailure(stream.SeekEnd(0), "SeekEnd", 6));
    EXPECT_TRUE(isOsFailure(stream.Truncate(), "Truncate", 6));
    EXPECT_EQ(stream.Size(), -1);
    EXPECT_EQ(stream.Tell(), -1);
    EXPECT_EQ(stream.IsEof(), 1);
    EXPECT_FALSE(stream.Close());
    EXPECT_EQ(stream.IsOpen(), 0);
}

TEST_F(PFileStreamTest, MovesReadsAndEnds) {
    ASSERT_FALSE(stream.Create(name.c_str(), 3));
    write("0123456789");
    EXPECT_EQ(stream.IsEof(), 1);
    ASSERT_FALSE(stream.Seek(3));
    ASSERT_FALSE(stream.SeekOff(-1));
    char bytes[20] = {};
    std::int32_t moved = 0;
    EXPECT_FALSE(stream.Read(bytes, 3, &moved));
    EXPECT_STREQ(bytes, "234");
    EXPECT_EQ(stream.Tell(), 5);
    EXPECT_EQ(stream.IsEof(), 0);
    ASSERT_FALSE(stream.SeekEnd(-2));
    for (const std::int32_t left : {2, 0}) {
        EXPECT_FALSE(stream.Read(bytes, 20, &moved));
        EXPECT_EQ(moved, left);
    }
    EXPECT_TRUE(isOsFailure(stream.Seek(-1), "Seek", 131));
    EXPECT_TRUE(isOsFailure(stream.SeekEnd(-11), "SeekEnd", 131));
    EXPECT_TRUE(isOsFailure(stream.Read(bytes, -1, &moved), "Read", 87));
    EXPECT_TRUE(isOsFailure(stream.Write(bytes, -5, &moved), "Write", 87));
    EXPECT_EQ(moved, 0);
    EXPECT_EQ(stream.Tell(), 10);
    ASSERT_FALSE(stream.Seek(4));
    EXPECT_FALSE(stream.Truncate());
    EXPECT_FALSE(stream.Flush());
    EXPECT_EQ(stream.Size(), 4);
    ASSERT_FALSE(stream.Seek(6));
    write("x");
    ASSERT_FALSE(stream.Close());
    EXPECT_EQ(directory.read("file"), std::string("0123\0\0x", 7));
    EXPECT_EQ(stream.SizeOfFile(name.c_str()), 7);
    EXPECT_EQ(stream.SizeOfFile(directory.text("missing").c_str()), -1);
    EXPECT_EQ(stream.SizeOfFile(""), -1);
}

TEST_F(PFileStreamTest, DealsWithFilesAboveFourGigabytes) {
    directory.write("file", "");
    constexpr std::int64_t fourGigabytes = std::int64_t{1} << 32;
    // The first size is one whose low half is the mark of a failure.
    for (const std::int64_t size : {fourGigabytes - 1, fourGigabytes, fourGigabytes * 3 - 1}) {
        std::filesystem::resize_file(directory.path() / "file", static_cast<std::uintmax_t>(size));
        ASSERT_FALSE(stream.Open(name.c_str(), 0xC0000000, 1, 0));
        EXPECT_EQ(stream.Size(), size);
        EXPECT_EQ(stream.SizeOfFile(name.c_str()), size);
        EXPECT_FALSE(stream.Seek(size));
        EXPECT_EQ(stream.Tell(), size);
        EXPECT_EQ(stream.IsEof(), 1);
        EXPECT_FALSE(stream.SeekOff(-fourGigabytes + 1));
        EXPECT_EQ(stream.Tell(), size - fourGigabytes + 1);
        ASSERT_FALSE(stream.Close());
    }
    ASSERT_FALSE(stream.Open());
    ASSERT_FALSE(stream.Seek(fourGigabytes + 5));
    write("tail");
    ASSERT_FALSE(stream.Seek(fourGigabytes + 6));
    char bytes[4] = {};
    EXPECT_FALSE(stream.ReadBuffer(bytes, 3));
    EXPECT_STREQ(bytes, "ail");
}

TEST_F(PFileStreamTest, NamesOfAnyScriptAndLengthAreTaken) {
    const std::string any = "\xC3\xA4\xE6\x9C\xA8\xF0\x9F\x98\x80";
    ASSERT_FALSE(stream.Create(directory.text(any).c_str(), 3));
    EXPECT_TRUE(directory.exists(any));
    // More units than a name's copy on the stack holds.
    std::string roundabout = directory.text();
    for (int i = 0; i < 800; ++i) {
        roundabout += "/.";
    }
    ASSERT_FALSE(stream.Open((roundabout + "/" + any).c_str(), PFileStream::readAccess, 1, 0));
    EXPECT_EQ(stream.Size(), 0);
}

TEST_F(PFileStreamTest, DestructorClosesTheFile) {
    const TestSupport::ProcessState before = TestSupport::ProcessState::now();
    {
        PFileStream other;
        ASSERT_FALSE(other.Create(name.c_str(), 3));
    }
    EXPECT_EQ(TestSupport::ProcessState::settledTo(before), before);
}

}  // namespace
