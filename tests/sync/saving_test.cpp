#include <gtest/gtest.h>

#include <string>

#include "foundation/pmem_stream.h"
#include "interface/downloader_impl.h"
#include "support/recording_sink.h"
#include "support/temp_directory.h"

using namespace TestSupport;

namespace {

class Saving : public testing::Test {
protected:
    Saving() : downloader_(&sink_, &params_) { params_.targetDirectory = target_.text().c_str(); }

    static void fill(Brelt::PStream& stream, const std::string& bytes) {
        std::int32_t written = 0;
        stream.Write(bytes.data(), static_cast<std::int32_t>(bytes.size()), &written);
    }

    std::string save(const std::string& name, const std::string& bytes) {
        Brelt::PMemStream stream(16384);
        fill(stream, bytes);
        return downloader_.saveFile(name.c_str(), &stream).toCharString().cstr();
    }

    std::int32_t writeStamp(const std::string& bytes) {
        Brelt::PMemStream stream(4096);
        fill(stream, bytes);
        return sink_.during([&] { return downloader_.writeLocalIdFile(&stream); });
    }

    TestSupport::TempDirectory target_;
    RecordingSink sink_;
    DownloaderParams params_;
    DownloaderImpl downloader_;
};

TEST_F(Saving, FileIsWrittenWithItsDirectoriesAndReplacedWhole) {
    const std::string large(100'000, 'x');
    EXPECT_EQ(save("a/b/c.tx", large), "No error");
    EXPECT_EQ(target_.read("a/b/c.tx"), large);
    EXPECT_EQ(save("a\\b\\c.tx", "short"), "No error");
    EXPECT_EQ(target_.read("a/b/c.tx"), "short");
    EXPECT_EQ(save("empty", ""), "No error");
    EXPECT_EQ(target_.read("empty"), "");
}

TEST_F(Saving, FailureNamesTheRelativeNameAndItsCause) {
    target_.write("file", "");
    // Systems differ in the step that finds out.
    const std::string inTheWay = save("file/x", "");
    EXPECT_EQ(inTheWay.find("[DownloaderImpl::saveFile] -1: Could not create "), 0U) << inTheWay;
    EXPECT_NE(inTheWay.find("\"file/x\" | ["), std::string::npos) << inTheWay;
    EXPECT_EQ(target_.read("file"), "");
    const std::string directory = save("", "");
    EXPECT_EQ(directory.find("[DownloaderImpl::saveFile] -1: Could not create file \"\" | "
                             "[PFileStream::Create] 5: (5) "),
              0U)
        << directory;
    const std::string tooLong(300, 'n');
    EXPECT_EQ(save(tooLong, ""),
              "[DownloaderImpl::saveFile] -1: Could not create directory path to \"" + tooLong +
                  "\" | [createPathImpl] -1: Path length exceeds MAX_PATH");
}

/// A stream whose size promises more than it holds.
class LyingStream : public Brelt::PMemStream {
public:
    LyingStream() : PMemStream(16) {}
    std::int64_t Size() override { return size + 1; }
};

TEST_F(Saving, StreamThatEndsEarlyIsASizeMismatch) {
    LyingStream stream;
    fill(stream, "abc");
    EXPECT_STREQ(downloader_.saveFile("f", &stream).toCharString().cstr(),
                 "[DownloaderImpl::saveFile] -1: Error saving stream for \"f\" | "
                 "[DownloaderImpl::saveFile] -1: "
                 "IO size mismatch: size=4, bytes read=3, bytes written=3");
}

TEST_F(Saving, StampIsAByteCopyAndNeedsItsDirectory) {
    EXPECT_EQ(writeStamp("7 \r\n"), 0);
    EXPECT_EQ(target_.read("id.txt"), "7 \r\n");
    params_.subPath = "beta";
    EXPECT_EQ(writeStamp("8"), -1);
    ASSERT_EQ(sink_.lines().size(), 1U);
    EXPECT_EQ(sink_.lines()[0].find("logError Creating local stamp file failed: "
                                    "[PFileStream::Create] 3: (3) "),
              0U)
        << sink_.lines()[0];
    target_.write("beta/x", "");
    EXPECT_EQ(writeStamp("8"), 0);
    EXPECT_EQ(target_.read("beta/id.txt"), "8");
}

}  // namespace
