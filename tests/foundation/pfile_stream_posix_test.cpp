// The stream over a file where a call of the system fails that seldom does.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "foundation/pfile_stream.h"
#include "foundation/win32/posix_test_support.h"

using Brelt::FaultInjection;
using Brelt::PFileStream;
using TestSupport::TempDirectory;

namespace {

std::string printed(const Brelt::ErrorChain& error) {
    return error.toCharString().cstr();
}

TEST(PFileStreamFaults, EachOperationTellsTheFailureUnderItsName) {
    const TempDirectory directory;
    PFileStream stream;
    ASSERT_FALSE(stream.Create(directory.text("file").c_str(), 3));
    char byte = 0;
    std::int32_t moved = 0;
    struct Row {
        const char* name;
        std::function<Brelt::ErrorChain()> run;
    };
    for (const Row& row : {
             Row{"Write", [&] { return stream.Write("abc", 3, &moved); }},
             Row{"Read", [&] { return stream.Read(&byte, 1, &moved); }},
             Row{"Seek", [&] { return stream.Seek(0); }},
             Row{"SeekOff", [&] { return stream.SeekOff(0); }},
             Row{"SeekEnd", [&] { return stream.SeekEnd(0); }},
             Row{"Truncate", [&] { return stream.Truncate(); }},
             Row{"Flush", [&] { return stream.Flush(); }},
             Row{"Close", [&] { return stream.Close(); }},
         }) {
        const FaultInjection faults({.code = ERROR_IO_DEVICE});
        EXPECT_TRUE(printed(row.run()).starts_with("[PFileStream::" + std::string(row.name) +
                                                   "] 1117: (1117) The request"));
    }
    const FaultInjection faults({.code = ERROR_IO_DEVICE, .strikesOn = true});
    EXPECT_EQ(stream.Size(), -1);
    EXPECT_EQ(stream.Tell(), -1);
    EXPECT_EQ(stream.SizeOfFile(directory.text("file").c_str()), -1);
    EXPECT_EQ(stream.IsEof(), 1);
}

TEST(PFileStreamFaults, AFailedCloseLeavesTheStreamClosed) {
    const TempDirectory directory;
    const auto descriptors = TestSupport::openDescriptors();
    PFileStream stream;
    const std::string name = directory.text("file");
    ASSERT_FALSE(stream.Create(name.c_str(), 3));
    {
        const FaultInjection faults({.calls = Brelt::closeHandleCall, .code = ERROR_DISK_FULL});
        // It closes first, and gives up when that fails.
        EXPECT_TRUE(printed(stream.Create(name.c_str(), 3))
                        .starts_with("[PFileStream::Close] 112: (112) "));
    }
    EXPECT_EQ(stream.IsOpen(), 0);
    EXPECT_EQ(stream.file, nullptr);
    EXPECT_EQ(TestSupport::openDescriptors(), descriptors);
    EXPECT_FALSE(stream.Close());
}

TEST(PFileStreamFaults, AFileThatCantBeAppendedToIsntLeftOpen) {
    const TempDirectory directory;
    directory.write("file", "abc");
    const auto descriptors = TestSupport::openDescriptors();
    const std::string name = directory.text("file");
    PFileStream stream;
    const FaultInjection faults(
        {.calls = Brelt::setFilePointerCall, .code = ERROR_IO_DEVICE, .strikesOn = true});
    EXPECT_TRUE(printed(stream.Create(name.c_str(), PFileStream::atEnd))
                    .starts_with("[PFileStream::Create] 1117: "));
    EXPECT_TRUE(printed(stream.Open(name.c_str(), 0xC0000000, 1, PFileStream::atEnd))
                    .starts_with("[PFileStream::Open] 1117: "));
    EXPECT_EQ(stream.IsOpen(), 0);
    EXPECT_EQ(TestSupport::openDescriptors(), descriptors);
}

TEST(PFileStreamFaults, ShortTransfersShowInTheCounters) {
    const TempDirectory directory;
    PFileStream stream;
    ASSERT_FALSE(stream.Create(directory.text("file").c_str(), 3));
    std::int32_t written = 0;
    {
        const FaultInjection faults({.calls = Brelt::writeFileCall, .bytesMoved = 2});
        EXPECT_FALSE(stream.Write("abcd", 4, &written));
        EXPECT_EQ(written, 2);
    }
    {
        const FaultInjection faults({.calls = Brelt::writeFileCall, .bytesMoved = 1});
        EXPECT_EQ(printed(stream.WriteStr("abc")),
                  "[PStream::WriteBuffer] -1: 1 of 3 bytes written");
    }
    const FaultInjection faults(
        {.calls = Brelt::writeFileCall, .code = ERROR_DISK_FULL, .bytesMoved = 3});
    EXPECT_EQ(stream.Write("abcd", 4, &written).codeAt(0), 112);
    EXPECT_EQ(written, 3);
}

TEST(PFileStreamNames, BytesThatArentUtf8ReachTheDiskUnchanged) {
    const TempDirectory directory;
    const std::string name = "\xFF\xC0\x80x";
    PFileStream stream;
    ASSERT_FALSE(stream.Create((directory.text() + "/" + name).c_str(), 3));
    const std::filesystem::directory_iterator entries(directory.path());
    EXPECT_EQ(entries->path().filename().native(), name);
}

TEST(PFileStreamDestructor, ClosesTheFile) {
    const TempDirectory directory;
    const auto descriptors = TestSupport::openDescriptors();
    {
        PFileStream stream;
        ASSERT_FALSE(stream.Create(directory.text("file").c_str(), 3));
        EXPECT_EQ(TestSupport::openDescriptors(), descriptors + 1);
    }
    EXPECT_EQ(TestSupport::openDescriptors(), descriptors);
}

}  // namespace
