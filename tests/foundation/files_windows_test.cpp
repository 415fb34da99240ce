// Files on Windows: drives, servers, what others hold open, names that are no names, and the texts
// of its codes.

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "foundation/paths.h"
#include "foundation/pfile_stream.h"
#include "foundation/text_tools.h"
#include "foundation/texts.h"
#include "support/system_facts.h"
#include "support/temp_directory.h"

using Brelt::createFilePath;
using Brelt::createPath;
using Brelt::PFileStream;
using TestSupport::printed;

namespace {

class WindowsFiles : public testing::Test {
protected:
    WindowsFiles() { directory.write("file", "abc"); }

    std::int32_t codeOfCreate(const std::string& name) {
        return PFileStream().Create(directory.text(name).c_str(), 3).codeAt(0);
    }

    std::int32_t codeOfOpen(const std::string& name, std::uint32_t access) {
        return PFileStream().Open(directory.text(name).c_str(), access, 1, 0).codeAt(0);
    }

    std::int32_t codeOfReading(const std::string& name) {
        return codeOfOpen(name, PFileStream::readAccess);
    }

    TestSupport::TempDirectory directory;
    const std::string root = directory.path().string();
    PFileStream stream;
};

TEST_F(WindowsFiles, WriterAndReadersKeepWritersOut) {
    ASSERT_FALSE(stream.Create(directory.text("file").c_str(), 3));
    EXPECT_EQ(codeOfCreate("file"), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(codeOfReading("file"), ERROR_SHARING_VIOLATION) << "share mode 1 allows no writer";
    EXPECT_FALSE(::DeleteFileW((directory.path() / "file").c_str()));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_FALSE(stream.WriteStr("abc"));
    ASSERT_FALSE(stream.Open(directory.text("file").c_str(), PFileStream::readAccess, 1, 0));
    EXPECT_EQ(codeOfReading("file"), 0);
    EXPECT_EQ(codeOfCreate("file"), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(stream.Size(), 3) << "the file isn't emptied";
}

TEST_F(WindowsFiles, ReadOnlyFileIsReadAndNotReplaced) {
    const std::filesystem::path file = directory.path() / "file";
    ASSERT_TRUE(::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY));
    if (TestSupport::runsUnderWine() && codeOfOpen("file", PFileStream::writeAccess) == 0) {
        GTEST_SKIP() << "for Wine the attribute is a right of Linux, which root doesn't need";
    }
    EXPECT_EQ(codeOfCreate("file"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(codeOfReading("file"), 0);
    EXPECT_EQ(directory.read("file"), "abc");
    ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(WindowsFiles, DirectoriesAndCharactersThatNoNameHasAreRefused) {
    std::filesystem::create_directory(directory.path() / "directory");
    EXPECT_EQ(codeOfCreate("directory"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(codeOfReading("directory"), ERROR_ACCESS_DENIED);
    for (const char* name : {"a?", "a*", "a<b", "a>b", "a|b", "a\"b", "a\tb"}) {
        EXPECT_EQ(codeOfCreate(name), ERROR_INVALID_NAME) << name;
    }
}

TEST_F(WindowsFiles, BytesThatArentUtf8BecomeAnEscapedNameAndTheSameBytesAgain) {
    const std::string name = "gr\xFC\xC3\xBC.tx";
    ASSERT_EQ(codeOfReading("missing"), ERROR_FILE_NOT_FOUND);
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

TEST_F(WindowsFiles, LevelsBehindADriveAreMadeWithBackslashes) {
    ASSERT_EQ(root.substr(1, 2), ":\\");
    EXPECT_FALSE(createPath((root + R"(\a\b\)").c_str()));
    EXPECT_FALSE(createPath((root + R"(\a\c)").c_str()));
    EXPECT_EQ(Brelt::isDirectory((root + R"(\a\b)").c_str()), 1);
    EXPECT_EQ(Brelt::isDirectory((root + R"(\A\C\)").c_str()), 1);
    EXPECT_FALSE(createPath(root.substr(0, 3).c_str()));
}

TEST_F(WindowsFiles, MissingDriveIsToldAtItsFirstLevel) {
    std::string drive = "Z:";
    while ((::GetLogicalDrives() >> (drive[0] - 'A') & 1) != 0) {
        --drive[0];
    }
    // Wine finds a file missing there, Windows the way to it.
    const std::string code = TestSupport::runsUnderWine() ? "2" : "3";
    const std::string text = printed(createPath((drive + R"(\a\b)").c_str()));
    EXPECT_TRUE(
        text.starts_with("[createPathImpl] " + code + ": " + drive + "\\a\\ (" + code + ") "))
        << text;
    EXPECT_FALSE(Brelt::fileExists((drive + "\\").c_str()));
}

TEST_F(WindowsFiles, ServerThatHasNoSuchShareIsToldAtTheShare) {
    const Brelt::ErrorChain error = createPath(R"(\\localhost\kiv_no_such_share\a\)");
    EXPECT_GT(error.codeAt(0), 0);
    const std::string text = printed(error);
    EXPECT_NE(text.find(R"( \\localhost\kiv_no_such_share\ ()"), std::string::npos) << text;
    EXPECT_FALSE(Brelt::fileExists(R"(\\localhost\kiv_no_such_share\a)"));
    EXPECT_GT(stream.Create(R"(\\localhost\kiv_no_such_share\a)", 3).codeAt(0), 0);
    EXPECT_EQ(stream.IsOpen(), 0);
}

TEST_F(WindowsFiles, FileOfALongestPathIsMadeAndOneByteMoreIsRefused) {
    std::string path = root + "\\";
    path += std::string(200 - path.size(), 'd') + "\\";
    path.append(259 - path.size(), 'f');
    ASSERT_FALSE(createFilePath(path.c_str()));
    EXPECT_EQ(printed(stream.Create(path.c_str(), 3)), "No error");
    EXPECT_EQ(printed(createFilePath((path + "f").c_str())),
              "[createPathImpl] -1: Path length exceeds MAX_PATH");
}

// The trailing separator hides the file from the question, and making the directory says that it is
// there already, which counts as success. So the file to be made inside tells.
TEST_F(WindowsFiles, FileInADirectorysPlaceIsFoundByTheFileInside) {
    EXPECT_FALSE(createFilePath((root + R"(\file\x)").c_str()));
    EXPECT_EQ(codeOfCreate("file/x"), 3);
    EXPECT_EQ(directory.read("file"), "abc");
}

TEST(OsErrorTextOfWindows, EachCodeThatRunsMeetHasAnEnglishSentence) {
    for (const std::uint32_t code : {2U, 3U, 4U, 5U, 6U, 19U, 32U, 80U, 112U, 123U, 131U, 183U}) {
        const std::string text = Brelt::getOsErrorText(code).cstr();
        EXPECT_TRUE(text.starts_with("(" + std::to_string(code) + ") ")) << text;
        EXPECT_TRUE(text.ends_with(".\r\n")) << text;
        EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char c) {
            return static_cast<unsigned char>(c) < 128;
        })) << text;
    }
    // "%1 is not a valid Win32 application."
    const std::string placeholder = Brelt::getOsErrorText(193).cstr();
    EXPECT_NE(placeholder.find("%1"), std::string::npos) << placeholder;
}

}  // namespace
