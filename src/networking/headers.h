#pragma once

// The header lines of a pool: kept as name and value, given to libcurl as its own list.
// Used by the set-up of a pool.

#include <curl/curl.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Norvel::Networking {

/// Whether two names of headers, or two words in them, are the same: case doesn't matter.
bool sameWord(std::string_view a, std::string_view b);

struct HeaderLine {
    std::string name;
    std::string value;
};

/// The content of a `Headers`.
struct HeaderList {
    std::vector<HeaderLine> lines;

    /// False for a name that isn't a token and for a value with a control character in it.
    bool set(std::string_view name, std::string_view value, bool replace);
    bool has(std::string_view name) const;
};

struct CurlListCleanup {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using CurlList = std::unique_ptr<curl_slist, CurlListCleanup>;

/// These lines, and none of those that libcurl sends unasked. Raises `std::bad_alloc`.
CurlList makeCurlList(const HeaderList& headers);

}  // namespace Norvel::Networking
