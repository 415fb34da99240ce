// What the steps make of the streams that they are given.

#include <gtest/gtest.h>

#include <string>

#include "foundation/pmem_stream.h"
#include "interface/downloader_impl.h"
#include "support/recording_sink.h"
#include "support/temp_directory.h"
#include "sync/stamp_check.h"

using namespace TestSupport;

namespace {

class FilledStream : public Brelt::PMemStream {
public:
    explicit FilledStream(const std::string& bytes) : PMemStream(100) {
        WriteBuffer(bytes.data(), static_cast<std::int32_t>(bytes.size()));
    }
};

/// Says that it holds one byte more than it does.
class ShortStream final : public FilledStream {
public:
    using FilledStream::FilledStream;
    std::int64_t Size() override { return size + 1; }
};

std::int32_t compare(const std::string& first, const std::string& second) {
    FilledStream a(first);
    FilledStream b(second);
    Brelt::ErrorChain error;
    const std::int32_t result = compareStreams(error, &a, &b);
    EXPECT_FALSE(error);
    return result;
}

TEST(CompareStreams, EveryByteCounts) {
    constexpr std::size_t block = 16384;
    const std::string same(2 * block + 1, 'x');
    EXPECT_EQ(compare("", ""), 0);
    EXPECT_EQ(compare("7\n", "7"), -1);
    EXPECT_EQ(compare(same, same), 0);
    for (const std::size_t at : {std::size_t{0}, block - 1, block, 2 * block}) {
        std::string other = same;
        other[at] = 'y';
        EXPECT_EQ(compare(other, same), -1) << at;
    }
}

TEST(StreamFaults, StreamThatEndsEarlyIsNeverTakenForWhole) {
    const TempDirectory target;
    RecordingSink sink;
    DownloaderParams params;
    params.targetDirectory = target.text().c_str();
    DownloaderImpl downloader(&sink, &params);
    ShortStream stream("abc");
    EXPECT_STREQ(downloader.saveFile("f", &stream).toCharString().cstr(),
                 "[DownloaderImpl::saveFile] -1: Error saving stream for \"f\" | "
                 "[DownloaderImpl::saveFile] -1: "
                 "IO size mismatch: size=4, bytes read=3, bytes written=3");
    Brelt::Table<DownloaderImpl::ListFile> files;
    EXPECT_EQ(downloader.parseListFile(&stream, files), -1);
    EXPECT_EQ(sink.errorText(),
              "[DownloaderImpl::parseListFile] -1: Reading json file list failed | "
              "[PStream::ReadBuffer] -1: Expected 4 bytes, got 3");
}

}  // namespace
