// The two places where a run writes to the target directory: a file, and at the very end the stamp.

#include "foundation/out_of_memory.h"
#include "foundation/paths.h"
#include "foundation/pfile_stream.h"
#include "interface/downloader_impl.h"

namespace {

constexpr std::uint32_t newOrEmptied = 3;
constexpr std::int32_t copyBuffer = 32768;
constexpr const char* savingFunction = "DownloaderImpl::saveFile";

/// What a copy moved; a failure whose node could not be made shows here.
struct Copied {
    std::int64_t size = 0;
    std::int64_t read = 0;
    std::int64_t written = 0;

    bool isWhole() const { return read == size && written == size; }
};

Brelt::ErrorChain copyWhole(Brelt::PStream& file, Brelt::PStream& stream, Copied& copied) {
    copied.size = stream.Size();
    return Brelt::copyStream(&file, &stream, copied.size, &copied.read, &copied.written,
                             copyBuffer);
}

/// Moves the whole stream into the open file and closes it.
Brelt::ErrorChain fillAndClose(Brelt::PFileStream& file, Brelt::PStream& stream) {
    Brelt::ErrorChain error = stream.Seek(0);
    if (!error) {
        Copied copied;
        error = copyWhole(file, stream, copied);
        if (!error && !copied.isWhole()) {
            error.push(savingFunction, -1,
                       "IO size mismatch: size=%lli, bytes read=%lli, bytes written=%lli",
                       static_cast<long long>(copied.size), static_cast<long long>(copied.read),
                       static_cast<long long>(copied.written));
            error = Brelt::requireFailure(error);
        }
    }
    const Brelt::ErrorChain closing = file.Close();
    return error ? error : closing;
}

}  // namespace

Brelt::ErrorChain DownloaderImpl::saveFile(const char* name, Brelt::PStream* stream) {
    const Brelt::CharString path = getFilePath(name, 0);
    Brelt::ErrorChain error = Brelt::createFilePath(path.ptr());
    if (error) {
        error.push(savingFunction, -1, "Could not create directory path to \"%s\"", name);
        return error;
    }
    Brelt::PFileStream file;
    error = file.Create(path.ptr(), newOrEmptied);
    if (file.IsOpen() == 0) {
        error.push(savingFunction, -1, "Could not create file \"%s\"", name);
        return Brelt::requireFailure(error);
    }
    error = fillAndClose(file, *stream);
    if (error) {
        error.push(savingFunction, -1, "Error saving stream for \"%s\"", name);
    }
    return error;
}

std::int32_t DownloaderImpl::writeLocalIdFile(Brelt::PStream* stamp) {
    Brelt::PFileStream file;
    const Brelt::ErrorChain creating = file.Create(getStampPath(0).ptr(), newOrEmptied);
    if (creating || file.IsOpen() == 0) {
        sink->logError("Creating local stamp file failed: %s", creating.toCharString().cstr());
        return -1;
    }
    stamp->Seek(0);
    Copied copied;
    const Brelt::ErrorChain copying = copyWhole(file, *stamp, copied);
    const Brelt::ErrorChain closing = file.Close();
    return copying || closing || !copied.isWhole() ? -1 : 0;
}
