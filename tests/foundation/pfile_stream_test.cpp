// The stream over a file, on any system.

#include "foundation/pfile_stream.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "support/temp_directory.h"

using Brelt::PFileStream;
using TestSupport::TempDirectory;

namespace {

std::string printed(const Brelt::ErrorChain& error) {
    return error.toCharString().cstr();
}

/// Whether the chain is one node of that function with that code and a text of the system.
bool isOsFailure(const Brelt::ErrorChain& error, const std::string& function, int code) {
    const std::string start =
        "[" + function + "] " + std::to_string(code) + ": (" + std::to_string(code) + ") ";
    const std::string text = printed(error);
    return text.starts_with(start) && text.size() > start.size() &&
           text.find(" | ") == std::string::npos;
}

void writeText(PFileStream& stream, const char* text) {
    const Brelt::ErrorChain error = stream.WriteStr(text);
    ASSERT_FALSE(error) << printed(error);
}

TEST(PFileStream, FieldsStandInTheirOrderBehindTheTable) {
    PFileStream stream;
    const auto offsetOf = [&](const void* field) {
        return static_cast<const char*>(field) - reinterpret_cast<const char*>(&stream);
    };
    const auto table = static_cast<std::ptrdiff_t>(sizeof(void*));
    EXPECT_EQ(offsetOf(&stream.openCount), table);
    EXPECT_EQ(offsetOf(&stream.fileName), 2 * table);
    EXPECT_EQ(offsetOf(&stream.access), 3 * table);
    EXPECT_EQ(offsetOf(&stream.share), 3 * table + 4);
    EXPECT_EQ(offsetOf(&stream.mode), 3 * table + 8);
    EXPECT_EQ(offsetOf(&stream.file), 3 * table + 16);
    EXPECT_EQ(stream.access, 0xC0000000U);
    EXPECT_EQ(stream.share, 1U);
    EXPECT_EQ(stream.mode, 2U);
}

/// What becomes of a file for one mode: the bytes that stand in it after "x" was written first
/// thing, or the code of the failure.
struct ModeRow {
    std::uint32_t mode;
    const char* openMissing;
    const char* openExisting;
    const char* createMissing;
    const char* createExisting;
};

std::ostream& operator<<(std::ostream& out, const ModeRow& row) {
    return out << "mode " << row.mode;
}

class PFileStreamModes : public testing::TestWithParam<ModeRow> {
protected:
    std::string outcome(bool creates, bool exists) {
        const TempDirectory directory;
        if (exists) {
            directory.write("file", "abc");
        }
        const std::uint32_t mode = GetParam().mode;
        PFileStream stream;
        const std::string name = directory.text("file");
        const Brelt::ErrorChain error =
            creates ? stream.Create(name.c_str(), mode)
                    : stream.Open(name.c_str(), PFileStream::readAccess | PFileStream::writeAccess,
                                  PFileStream::shareRead, mode);
        EXPECT_EQ(stream.IsOpen(), error ? 0 : 1);
        if (error) {
            return std::to_string(error.codeAt(0));
        }
        writeText(stream, "x");
        EXPECT_FALSE(stream.Close());
        return directory.read("file");
    }
};

TEST_P(PFileStreamModes, DecideWhatHappensToTheFile) {
    const ModeRow& row = GetParam();
    EXPECT_EQ(outcome(false, false), row.openMissing);
    EXPECT_EQ(outcome(false, true), row.openExisting);
    EXPECT_EQ(outcome(true, false), row.createMissing);
    EXPECT_EQ(outcome(true, true), row.createExisting);
}

INSTANTIATE_TEST_SUITE_P(
    AllModes, PFileStreamModes,
    testing::Values(ModeRow{0, "2", "xbc", "x", "x"}, ModeRow{1, "2", "abcx", "x", "abcx"},
                    ModeRow{2, "x", "xbc", "x", "x"}, ModeRow{3, "x", "x", "x", "x"},
                    ModeRow{0x10, "x", "80", "x", "80"}, ModeRow{0x11, "x", "80", "x", "80"},
                    ModeRow{0x13, "x", "80", "x", "80"}, ModeRow{0x0F, "x", "x", "x", "x"}));

TEST(PFileStream, OpenForReadingAloneStaysAtTheStart) {
    const TempDirectory directory;
    directory.write("file", "abc");
    PFileStream stream;
    EXPECT_FALSE(stream.Open(directory.text("file").c_str(), PFileStream::readAccess,
                             PFileStream::shareRead, PFileStream::atEnd));
    EXPECT_EQ(stream.Tell(), 0);
    std::int32_t written = 7;
    EXPECT_TRUE(isOsFailure(stream.Write("x", 1, &written), "PFileStream::Write", 5));
    EXPECT_EQ(written, 0);
}

TEST(PFileStream, AnEmptyNameFailsBeforeAnythingIsClosed) {
    const TempDirectory directory;
    PFileStream stream;
    EXPECT_EQ(printed(stream.Open()), "[PFileStream::Open] -1: Empty file name");
    EXPECT_EQ(printed(stream.Create(nullptr, 3)), "[PFileStream::Create] -1: Empty file name");
    ASSERT_FALSE(stream.Create(directory.text("file").c_str(), 3));
    EXPECT_EQ(printed(stream.Create("", 3)), "[PFileStream::Create] -1: Empty file name");
    EXPECT_EQ(stream.IsOpen(), 1);
    EXPECT_EQ(printed(stream.Open(nullptr, 0, 0, 0)), "[PFileStream::Open] -1: Empty file name");
    writeText(stream, "still open");
    EXPECT_FALSE(stream.Close());
    EXPECT_EQ(directory.read("file"), "still open");
}

TEST(PFileStream, TheNameIsRememberedAndAnOpenStreamClosedFirst) {
    const TempDirectory directory;
    PFileStream stream;
    ASSERT_FALSE(stream.Create(directory.text("file").c_str(), 3));
    writeText(stream, "first");
    ASSERT_FALSE(stream.Create(nullptr, 3));
    EXPECT_EQ(stream.IsOpen(), 1);
    EXPECT_EQ(stream.Size(), 0);
    ASSERT_FALSE(stream.Create(stream.fileName, 1));
    writeText(stream, "second");
    EXPECT_FALSE(stream.Close());
    EXPECT_EQ(directory.read("file"), "second");
    EXPECT_FALSE(stream.Close());
    EXPECT_EQ(stream.IsOpen(), 0);
}

TEST(PFileStream, OpenAfterCreateWithModeThreeEmptiesTheFile) {
    const TempDirectory directory;
    PFileStream stream;
    ASSERT_FALSE(stream.Create(directory.text("file").c_str(), 3));
    writeText(stream, "abc");
    ASSERT_FALSE(stream.Close());
    ASSERT_FALSE(stream.Open());
    EXPECT_EQ(stream.Size(), 0);
}

TEST(PFileStream, FailuresCarryTheCodeOfTheSystemAndNoName) {
    const TempDirectory directory;
    PFileStream stream;
    const std::string missing = directory.text("missing");
    EXPECT_TRUE(isOsFailure(stream.Open(missing.c_str(), PFileStream::readAccess, 1, 0),
                            "PFileStream::Open", 2));
    EXPECT_TRUE(
        isOsFailure(stream.Create((missing + "/file").c_str(), 3), "PFileStream::Create", 3));
    EXPECT_TRUE(isOsFailure(stream.Create(directory.text().c_str(), 3), "PFileStream::Create", 5));
    EXPECT_EQ(stream.IsOpen(), 0);
    EXPECT_EQ(stream.file, nullptr);
}

TEST(PFileStream, OperationsOnAClosedStreamFailInTheSystem) {
    PFileStream stream;
    char byte = 0;
    std::int32_t moved = 7;
    EXPECT_TRUE(isOsFailure(stream.Read(&byte, 1, &moved), "PFileStream::Read", 6));
    EXPECT_EQ(moved, 0);
    EXPECT_TRUE(isOsFailure(stream.Write(&byte, 1, &moved), "PFileStream::Write", 6));
    EXPECT_TRUE(isOsFailure(stream.WriteStr("x"), "PFileStream::Write", 6));
    EXPECT_TRUE(isOsFailure(stream.Flush(), "PFileStream::Flush", 6));
    EXPECT_TRUE(isOsFailure(stream.Seek(0), "PFileStream::Seek", 6));
    EXPECT_TRUE(isOsFailure(stream.SeekOff(0), "PFileStream::SeekOff", 6));
    EXPECT_TRUE(isOsFailure(stream.SeekEnd(0), "PFileStream::SeekEnd", 6));
    EXPECT_TRUE(isOsFailure(stream.Truncate(), "PFileStream::Truncate", 6));
    EXPECT_EQ(stream.Size(), -1);
    EXPECT_EQ(stream.Tell(), -1);
    EXPECT_EQ(stream.IsEof(), 1);
    EXPECT_FALSE(stream.Close());
    EXPECT_EQ(stream.IsOpen(), 0);
}

TEST(PFileStream, MovesReadsAndEnds) {
    const TempDirectory directory;
    PFileStream stream;
    ASSERT_FALSE(stream.Create(directory.text("file").c_str(), 3));
    writeText(stream, "0123456789");
    EXPECT_EQ(stream.IsEof(), 1);
    ASSERT_FALSE(stream.Seek(3));
    ASSERT_FALSE(stream.SeekOff(-1));
    char bytes[20] = {};
    std::int32_t read = 0;
    EXPECT_FALSE(stream.Read(bytes, 3, &read));
    EXPECT_STREQ(bytes, "234");
    EXPECT_EQ(stream.Tell(), 5);
    EXPECT_EQ(stream.IsEof(), 0);
    ASSERT_FALSE(stream.SeekEnd(-2));
    EXPECT_FALSE(stream.Read(bytes, 20, &read));
    EXPECT_EQ(read, 2);
    EXPECT_FALSE(stream.Read(bytes, 20, &read));
    EXPECT_EQ(read, 0);
    EXPECT_EQ(printed(stream.ReadBuffer(bytes, 4)),
              "[PStream::ReadBuffer] -1: Expected 4 bytes, got 0");
    EXPECT_TRUE(isOsFailure(stream.Seek(-1), "PFileStream::Seek", 131));
    EXPECT_TRUE(isOsFailure(stream.SeekEnd(-11), "PFileStream::SeekEnd", 131));
    EXPECT_EQ(stream.Tell(), 10);
    ASSERT_FALSE(stream.Seek(4));
    EXPECT_FALSE(stream.Truncate());
    EXPECT_FALSE(stream.Flush());
    EXPECT_EQ(stream.Size(), 4);
    ASSERT_FALSE(stream.Seek(6));
    writeText(stream, "x");
    ASSERT_FALSE(stream.Close());
    EXPECT_EQ(directory.read("file"), std::string("0123\0\0x", 7));
}

TEST(PFileStream, SizesBelowZeroAreRefused) {
    const TempDirectory directory;
    PFileStream stream;
    ASSERT_FALSE(stream.Create(directory.text("file").c_str(), 3));
    writeText(stream, "abc");
    ASSERT_FALSE(stream.Seek(0));
    char byte = 0;
    std::int32_t moved = 7;
    EXPECT_TRUE(isOsFailure(stream.Read(&byte, -1, &moved), "PFileStream::Read", 87));
    EXPECT_EQ(moved, 0);
    EXPECT_TRUE(isOsFailure(stream.Write(&byte, -5, &moved), "PFileStream::Write", 87));
    EXPECT_EQ(moved, 0);
    EXPECT_EQ(stream.Size(), 3);
}

TEST(PFileStream, DealsWithFilesAboveFourGigabytes) {
    const TempDirectory directory;
    directory.write("large", "");
    const std::string name = directory.text("large");
    constexpr std::int64_t fourGigabytes = std::int64_t{1} << 32;
    // The first size is one whose low half is the mark of a failure.
    for (const std::int64_t size : {fourGigabytes - 1, fourGigabytes, fourGigabytes * 3 - 1}) {
        std::filesystem::resize_file(directory.path() / "large", static_cast<std::uintmax_t>(size));
        PFileStream stream;
        ASSERT_FALSE(stream.Open(name.c_str(), 0xC0000000, 1, 0));
        EXPECT_EQ(stream.Size(), size);
        EXPECT_EQ(stream.SizeOfFile(name.c_str()), size);
        EXPECT_FALSE(stream.Seek(size));
        EXPECT_EQ(stream.Tell(), size);
        EXPECT_EQ(stream.IsEof(), 1);
        EXPECT_FALSE(stream.SeekOff(-fourGigabytes + 1));
        EXPECT_EQ(stream.Tell(), size - fourGigabytes + 1);
    }
    PFileStream stream;
    ASSERT_FALSE(stream.Open(name.c_str(), 0xC0000000, 1, 0));
    ASSERT_FALSE(stream.Seek(fourGigabytes + 5));
    writeText(stream, "tail");
    ASSERT_FALSE(stream.Seek(fourGigabytes + 6));
    char bytes[4] = {};
    EXPECT_FALSE(stream.ReadBuffer(bytes, 3));
    EXPECT_STREQ(bytes, "ail");
}

TEST(PFileStream, SizeOfFileTellsMissingFilesApart) {
    const TempDirectory directory;
    directory.write("file", "12345");
    PFileStream stream;
    EXPECT_EQ(stream.SizeOfFile(directory.text("file").c_str()), 5);
    EXPECT_EQ(stream.SizeOfFile(directory.text("missing").c_str()), -1);
    EXPECT_EQ(stream.SizeOfFile(""), -1);
}

TEST(PFileStream, NamesOfAnyScriptAndLengthAreTaken) {
    const TempDirectory directory;
    const std::string name = "\xC3\xA4\xE6\x9C\xA8\xF0\x9F\x98\x80";
    PFileStream stream;
    ASSERT_FALSE(stream.Create(directory.text(name).c_str(), 3));
    ASSERT_FALSE(stream.Close());
    EXPECT_TRUE(directory.exists(name));
    // More units than a name's copy on the stack holds.
    std::string roundabout = directory.text() + "/";
    for (int i = 0; i < 800; ++i) {
        roundabout += "./";
    }
    ASSERT_FALSE(stream.Open((roundabout + name).c_str(), PFileStream::readAccess, 1, 0));
    EXPECT_EQ(stream.Size(), 0);
}

}  // namespace
