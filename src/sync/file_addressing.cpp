// The two addresses of a file, built from one name: the local path and the request target.

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "foundation/out_of_memory.h"
#include "foundation/paths.h"
#include "foundation/string_builder.h"
#include "interface/downloader_impl.h"

namespace {

Brelt::CharString joinNormalized(const char* base, const char* name) {
    Brelt::StringBuilder joined(256, 2.0F);
    joined.appendText(base);
    joined.appendText("/");
    joined.appendText(name);
    Brelt::CharString path = Brelt::requireWhole(Brelt::normalizePath(joined.text));
    char* text = path.detach();
    std::replace(text, text + std::strlen(text), '\\', '/');
    return path;
}

/// Normalisation leaves ".." in front only where it would lead out of a base that isn't rooted.
bool climbsOut(const char* path) {
    return std::strncmp(path, "../", 3) == 0 || std::strcmp(path, "..") == 0;
}

/// The unreserved characters of RFC 3986, and the separator.
bool staysUnencoded(unsigned char byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
           (byte >= '0' && byte <= '9') || (byte != 0 && std::strchr("-._~/", byte) != nullptr);
}

Brelt::CharString percentEncode(const Brelt::CharString& path) {
    constexpr const char* digits = "0123456789ABCDEF";
    if (path.length() > std::numeric_limits<std::int32_t>::max() / 3) {
        return "";
    }
    std::string encoded;
    for (const char* c = path.cstr(); *c != '\0'; ++c) {
        const auto byte = static_cast<unsigned char>(*c);
        if (staysUnencoded(byte)) {
            encoded += *c;
        } else {
            encoded += {'%', digits[byte >> 4], digits[byte & 0xF]};
        }
    }
    return Brelt::CharString(encoded.c_str());
}

}  // namespace

Brelt::CharString DownloaderImpl::getFilePath(const char* name, std::int32_t forRequest) {
    const Brelt::CharString& base = forRequest != 0 ? remotePath : params->targetDirectory;
    Brelt::CharString path = joinNormalized(base.ptr(), name);
    if (climbsOut(path.cstr())) {
        path.assign("");
    }
    return Brelt::requireWhole(forRequest != 0 ? percentEncode(path) : path);
}

Brelt::CharString DownloaderImpl::getStampPath(std::int32_t forRequest) {
    if (params->subPath.isEmpty()) {
        return getFilePath("id.txt", forRequest);
    }
    Brelt::StringBuilder name(256, 2.0F);
    name.appendText(params->subPath.cstr());
    name.appendText("/id.txt");
    return getFilePath(name.text, forRequest);
}
