// The text of a list, with a real directory behind it: whatever it says, what is to be fetched lies
// below the directory and isn't the stamp.

#include <cstring>

#include "below.h"
#include "foundation/pmem_stream.h"
#include "foundation/table.h"
#include "fuzzing.h"
#include "interface/downloader_impl.h"
#include "silent_sink.h"
#include "support/temp_directory.h"

using Fuzzing::require;

namespace {

/// Made once: a target with a file, a file in a directory, and a neighbour whose name begins alike.
struct Ground {
    TestSupport::TempDirectory directory;
    DownloaderParams params;

    Ground() {
        directory.write("in/here.tx", "here");
        directory.write("in/sub/there.tx", "there");
        directory.write("in/id.txt", "stamp");
        directory.write("inside/neighbour.tx", "not ours");
        params.targetDirectory = directory.text("in").c_str();
    }
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Ground ground;
    Fuzzing::SilentSink sink;
    DownloaderImpl downloader(&sink, &ground.params);
    Brelt::PMemStream stream(256);
    std::int32_t written = 0;
    stream.Write(data, static_cast<std::int32_t>(size), &written);
    Brelt::Table<DownloaderImpl::ListFile> files;
    const std::int32_t result = downloader.parseListFile(&stream, files);
    require(result == 0 || result == -1);
    require(sink.toldFailure == (result == -1));
    const std::string base = ground.directory.text("in");
    for (std::int32_t i = 0; result == 0 && i < files.count; ++i) {
        const Brelt::CharString path = downloader.getFilePath(files.data[i].localName.ptr(), 0);
        require(path.isEmpty() || Fuzzing::isBelow(path.cstr(), base));
        require(!(path == (base + "/id.txt").c_str()));
        require(std::strpbrk(downloader.getFilePath(files.data[i].remoteName.ptr(), 1).cstr(),
                             "\r\n \t") == nullptr);
    }
    return 0;
}
