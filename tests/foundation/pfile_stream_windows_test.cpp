// Files on Windows: what others hold open, what is forbidden, and names that are no names.

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "foundation/pfile_stream.h"
#include "foundation/text_tools.h"
#include "support/system_facts.h"
#include "support/temp_directory.h"

using Brelt::PFileStream;
using TestSupport::TempDirectory;

namespace {

class WindowsFiles : public testing::Test {
protected:
    WindowsFiles() { directory.write("file", "abc"); }

    std::int32_t codeOfCreate(const std::string& name) const {
        PFileStream stream;
        return stream.Create(directory.text(name).c_str(), 3).codeAt(0);
    }

    std::int32_t codeOfReading(const std::string& name) const {
        PFileStream stream;
        return stream.Open(directory.text(name).c_str(), PFileStream::readAccess, 1, 0).codeAt(0);
    }

    TempDirectory directory;
};

TEST_F(WindowsFiles, WriterLetsNobodyElseWriteOrDelete) {
    PFileStream writer;
    ASSERT_FALSE(writer.Create(directory.text("file").c_str(), 3));
    EXPECT_EQ(codeOfCreate("file"), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(codeOfReading("file"), ERROR_SHARING_VIOLATION) << "share mode 1 allows no writer";
    EXPECT_FALSE(::DeleteFileW((directory.path() / "file").c_str()));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_FALSE(writer.Close());
    EXPECT_EQ(codeOfReading("file"), 0);
}

TEST_F(WindowsFiles, ReadersShareAndKeepWritersOut) {
    PFileStream reader;
    ASSERT_FALSE(reader.Open(directory.text("file").c_str(), PFileStream::readAccess, 1, 0));
    EXPECT_EQ(codeOfReading("file"), 0);
    EXPECT_EQ(codeOfCreate("file"), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(reader.Size(), 3) << "the file isn't emptied";
}

TEST_F(WindowsFiles, ReadOnlyFileIsReadAndNotReplaced) {
    const std::filesystem::path file = directory.path() / "file";
    ASSERT_TRUE(::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY));
    if (TestSupport::runsUnderWine() &&
        PFileStream()
                .Open(directory.text("file").c_str(), PFileStream::writeAccess, 1, 0)
                .codeAt(0) == 0) {
        GTEST_SKIP() << "for Wine the attribute is a right of Linux, which root doesn't need";
    }
    EXPECT_EQ(codeOfCreate("file"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(codeOfReading("file"), 0);
    EXPECT_EQ(directory.read("file"), "abc");
    ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(WindowsFiles, DirectoryInTheFilesPlaceIsDenied) {
    std::filesystem::create_directory(directory.path() / "directory");
    EXPECT_EQ(codeOfCreate("directory"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(codeOfReading("directory"), ERROR_ACCESS_DENIED);
}

TEST_F(WindowsFiles, CharactersThatNoNameHasAreAnInvalidName) {
    for (const char* name : {"a?", "a*", "a<b", "a>b", "a|b", "a\"b", "a\tb"}) {
        EXPECT_EQ(codeOfCreate(name), ERROR_INVALID_NAME) << name;
    }
}

TEST_F(WindowsFiles, BytesThatArentUtf8BecomeAnEscapedNameAndTheSameBytesAgain) {
    const std::string name = "gr\xFC\xC3\xBC.tx";
    ASSERT_EQ(codeOfReading("missing"), ERROR_FILE_NOT_FOUND);
    PFileStream stream;
    ASSERT_FALSE(stream.Create((directory.text() + "/" + name).c_str(), 3));
    ASSERT_FALSE(stream.Close());
    // 0x100000 and the byte, as two surrogates.
    EXPECT_TRUE(std::filesystem::exists(directory.path() / L"gr\xDBC0\xDCFC\xFC.tx"));
    std::filesystem::remove(directory.path() / "file");
    const std::wstring found =
        std::filesystem::directory_iterator(directory.path())->path().filename().wstring();
    EXPECT_STREQ(Brelt::TextConverter(found.c_str()).getNarrow(), name.c_str());
    EXPECT_EQ(stream.SizeOfFile((directory.text() + "/" + name).c_str()), 0);
}

}  // namespace
