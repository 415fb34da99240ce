// A target directory and an entry's path, both of any shape: what the judgement lets pass lies
// below the directory.

#include "foundation/paths.h"

#include "below.h"
#include "fuzzing.h"
#include "interface/downloader_impl.h"
#include "silent_sink.h"
#include "sync/entry_judgement.h"

using Fuzzing::require;

namespace {

/// The root has an empty address, where it isn't written as such but reached by steps.
std::string placeOf(const Brelt::CharString& address, const std::string& directory) {
    const bool rooted = !directory.empty() && (directory[0] == '/' || directory[0] == '\\');
    return address.isEmpty() && rooted ? "/" : address.cstr();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzzing::Input input(data, size);
    DownloaderParams params;
    const std::string directory = input.text();
    params.targetDirectory = directory.c_str();
    const std::string name = input.text();

    const Brelt::CharString normal = Brelt::normalizePath(name.c_str());
    require(normal.ptr() != nullptr && normal.length() <= static_cast<std::int32_t>(name.size()));

    Fuzzing::SilentSink sink;
    DownloaderImpl downloader(&sink, &params);
    downloader.remotePath = directory.c_str();
    const Brelt::CharString base = downloader.getFilePath("", 0);
    const Brelt::CharString path = downloader.getFilePath(name.c_str(), 0);
    const EntryVerdict verdict =
        judgeEntry(base.cstr(), downloader.getStampPath(0).cstr(), path.cstr(), false);
    if (verdict == EntryVerdict::Inside || verdict == EntryVerdict::TakenElsewhere) {
        require(Fuzzing::isBelow(path.cstr(), placeOf(base, directory)));
    }
    for (const char c : std::string(downloader.getFilePath(name.c_str(), 1).cstr())) {
        require(c > ' ' && c < 0x7F);
    }
    return 0;
}
