// The parsing step: the text of the list becomes the table of files that this run fetches.

#include <json/reader.h>
#include <json/value.h>

#include <cstring>
#include <exception>
#include <string>

#include "foundation/out_of_memory.h"
#include "foundation/paths.h"
#include "foundation/win32/name_rules.h"
#include "interface/downloader_impl.h"
#include "sync/entry_judgement.h"

namespace {

constexpr const char* parsingFunction = "DownloaderImpl::parseListFile";
constexpr std::int64_t largestList = 0x40000000;
constexpr std::size_t longestSyntaxMessage = 512;

using Brelt::ErrorChain;

ErrorChain makeFailure(const char* format, const char* argument) {
    return Brelt::requireFailure(ErrorChain::make(parsingFunction, -1, format, argument));
}

/// One object of the list as it is used; texts live in the parsed value.
struct Entry {
    const char* path;
    const char* rule;
    std::int64_t size;
    std::int64_t jpegSize;
};

const char* textOrNull(const Json::Value& value) {
    return value.isString() ? value.asCString() : nullptr;
}

std::int64_t integerOrZero(const Json::Value& value) {
    return value.isInt64() ? value.asInt64() : 0;
}

Entry readEntry(const Json::Value& object) {
    return {textOrNull(object["path"]), textOrNull(object["download"]),
            integerOrZero(object["size"]), integerOrZero(object["jpegSize"])};
}

/// Decides on each entry of the list and fills the table.
class ListWalk {
public:
    ListWalk(DownloaderImpl& downloader, Brelt::Table<DownloaderImpl::ListFile>& files)
        : downloader_(downloader),
          files_(files),
          directory_(downloader.getFilePath("", 0)),
          stampPath_(downloader.getStampPath(0)) {}

    ErrorChain walk(const Json::Value& root) {
        for (const Json::Value& item : root) {
            ErrorChain error =
                item.isObject()
                    ? take(readEntry(item))
                    : makeFailure("%s", "Parsing json file list failed (object expceted)");
            if (error) {
                return error;
            }
        }
        return {};
    }

private:
    ErrorChain take(const Entry& entry) {
        if (entry.path == nullptr || *entry.path == '\0') {
            return {};
        }
        const Brelt::CharString localPath = downloader_.getFilePath(entry.path, 0);
        if (!isWanted(entry.rule, localPath)) {
            return {};
        }
        const EntryVerdict verdict =
            judgeEntry(directory_.cstr(), stampPath_.cstr(), localPath.cstr(),
                       Brelt::windowsTakesNamesElsewhere);
        if (verdict == EntryVerdict::Stamp) {
            downloader_.sink->reportWarning(
                parsingFunction, -1, "Path \"%s\" is the local stamp. Entry ignored.", entry.path);
            return {};
        }
        if (verdict == EntryVerdict::Leaves ||
            (verdict == EntryVerdict::TakenElsewhere && Brelt::windowsTakesNamesElsewhere)) {
            return makeFailure("Path \"%s\" leaves the target directory", entry.path);
        }
        files_.setCount(files_.count + 1, false);
        return files_.data[files_.count - 1].init(Brelt::requireWhole(entry.path), entry.size,
                                                  entry.jpegSize);
    }

    static bool isWanted(const char* rule, const Brelt::CharString& localPath) {
        if (rule == nullptr || std::strcmp(rule, "always") == 0) {
            return true;
        }
        return std::strcmp(rule, "missing") == 0 && !Brelt::fileExists(localPath.cstr());
    }

    DownloaderImpl& downloader_;
    Brelt::Table<DownloaderImpl::ListFile>& files_;
    Brelt::CharString directory_;
    Brelt::CharString stampPath_;
};

ErrorChain parseText(const Brelt::Table<char>& text, Json::Value& root) {
    Json::Reader reader;
    if (reader.parse(text.data, text.data + text.count, root, false)) {
        return {};
    }
    const std::string messages = reader.getFormattedErrorMessages().substr(0, longestSyntaxMessage);
    return makeFailure("Parsing json file list failed: %s", messages.c_str());
}

/// The text is held whole, so that the parser reads memory. JsonCpp raises exceptions, for one on
/// deep nesting.
ErrorChain parseList(DownloaderImpl& downloader, Brelt::PStream& stream, std::int32_t size,
                     Brelt::Table<DownloaderImpl::ListFile>& files) {
    Brelt::Table<char> text(size);
    ErrorChain error = stream.ReadBuffer(text.data, size);
    if (error) {
        error.push(parsingFunction, -1, "Reading json file list failed");
        return error;
    }
    try {
        Json::Value root;
        error = parseText(text, root);
        return error ? error : ListWalk(downloader, files).walk(root);
    } catch (const std::exception& exception) {
        return makeFailure("Exception parsing json file list: %s", exception.what());
    }
}

}  // namespace

ErrorChain DownloaderImpl::ListFile::init(const Brelt::CharString& path, std::int64_t fullSize,
                                          std::int64_t jpegSize) {
    constexpr const char* extension = ".tx";
    localName = path;
    remoteName = path;
    size = fullSize;
    if (jpegSize <= 0) {
        return {};
    }
    size = jpegSize;
    const std::int32_t stem = path.length() - 3;
    if (stem < 0 || std::strcmp(path.cstr() + stem, extension) != 0) {
        return Brelt::requireFailure(ErrorChain::make(
            "DownloaderImpl::ListFile::init", -1,
            "Unexpected extension for lossy compressed map (expected \".tx\", got \"%s\"",
            path.cstr()));
    }
    Brelt::StringBuilder lossy(256, 2.0F);
    lossy.appendFormat("%.*s.jpeg.tx", stem, path.cstr());
    remoteName = Brelt::requireWhole(lossy.toCharString());
    return {};
}

std::int32_t DownloaderImpl::parseListFile(Brelt::PStream* stream, Brelt::Table<ListFile>& files) {
    stream->Seek(0);
    const std::int64_t size = stream->Size();
    if (size < 1 || size > largestList) {
        sink->logError("Incorrect size of json file list (%lli bytes)",
                       static_cast<long long>(size));
        return -1;
    }
    const ErrorChain error = parseList(*this, *stream, static_cast<std::int32_t>(size), files);
    if (error) {
        sink->reportError(error);
    }
    return error ? -1 : 0;
}
