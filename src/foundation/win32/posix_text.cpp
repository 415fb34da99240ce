// Names and texts on their way into POSIX calls.

#include <algorithm>

#include "foundation/text_tools.h"
#include "foundation/win32/posix_support.h"

namespace Brelt::PosixSupport {

NarrowPath::NarrowPath(LPCWSTR name) : length_(wideToUtf8(name, nullptr, 0)) {
    bytes_[0] = '\0';
    if (length_ == 0) {
        SetLastError(ERROR_PATH_NOT_FOUND);
    } else if (length_ >= PATH_MAX) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        length_ = 0;
    } else {
        wideToUtf8(name, bytes_, PATH_MAX);
        std::replace(bytes_, bytes_ + length_, '\\', '/');
    }
}

bool NarrowPath::endsInSeparator() const {
    return length_ > 0 && bytes_[length_ - 1] == '/';
}

void NarrowPath::dropEndSeparators() {
    while (length_ > 1 && endsInSeparator()) {
        bytes_[--length_] = '\0';
    }
}

std::string narrowed(LPCWSTR text) {
    std::string result(static_cast<std::size_t>(wideToUtf8(text, nullptr, 0)), '\0');
    // The terminator goes over the string's own.
    wideToUtf8(text, result.data(), static_cast<std::int32_t>(result.size()) + 1);
    return result;
}

std::u16string widened(const std::string& text) {
    std::u16string result(static_cast<std::size_t>(utf8ToWide(text.c_str(), nullptr, 0)), u'\0');
    utf8ToWide(text.c_str(), result.data(), static_cast<std::int32_t>(result.size()) + 1);
    return result;
}

}  // namespace Brelt::PosixSupport
