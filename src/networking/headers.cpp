// Keeping header lines, and turning them into libcurl's form.

#include "networking/headers.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <new>

#include "networking/norvel_networking.h"

namespace Norvel::Networking {

namespace {

bool isTokenCharacter(char c) {
    const bool alphanumeric =
        (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    return alphanumeric || std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

bool isControlCharacter(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t') || byte == 0x7F;
}

char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

std::string_view boundedText(const char* text, int length) {
    return {text, length < 0 ? std::strlen(text) : static_cast<std::size_t>(length)};
}

void append(CurlList& list, const std::string& line) {
    curl_slist* longer = curl_slist_append(list.get(), line.c_str());
    if (longer == nullptr) {
        throw std::bad_alloc();
    }
    static_cast<void>(list.release());
    list.reset(longer);
}

}  // namespace

bool sameWord(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char left, char right) { return lowered(left) == lowered(right); });
}

bool HeaderList::set(std::string_view name, std::string_view value, bool replace) {
    if (name.empty() || !std::all_of(name.begin(), name.end(), isTokenCharacter) ||
        std::any_of(value.begin(), value.end(), isControlCharacter)) {
        return false;
    }
    if (replace) {
        std::erase_if(lines, [name](const HeaderLine& line) { return sameWord(line.name, name); });
    }
    lines.push_back({std::string(name), std::string(value)});
    return true;
}

bool HeaderList::has(std::string_view name) const {
    return std::any_of(lines.begin(), lines.end(),
                       [name](const HeaderLine& line) { return sameWord(line.name, name); });
}

CurlList makeCurlList(const HeaderList& headers) {
    CurlList list;
    for (const HeaderLine& line : headers.lines) {
        // A line without a value would take the header away instead of sending it.
        append(list, line.value.empty() ? line.name + ";" : line.name + ": " + line.value);
    }
    for (const char* unasked : {"Accept", "Proxy-Connection"}) {
        if (!headers.has(unasked)) {
            append(list, std::string(unasked) + ":");
        }
    }
    return list;
}

Headers::Headers() : list_(nullptr) {}

Headers::~Headers() {
    delete list_;
}

void Headers::internalSet(const char* name, int nameLength, const char* value, int valueLength,
                          bool replace, int* result) {
    bool set = false;
    try {
        if (list_ == nullptr) {
            list_ = new HeaderList;
        }
        set = list_->set(boundedText(name, nameLength), boundedText(value, valueLength), replace);
    } catch (const std::exception&) {
        set = false;
    }
    if (result != nullptr) {
        *result = set ? 0 : -1;
    }
}

}  // namespace Norvel::Networking
