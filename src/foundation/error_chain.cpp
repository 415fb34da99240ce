// The operating system's words for a code.

#include "foundation/error_chain.h"

#include "foundation/text_tools.h"
#include "foundation/win32/win32.h"

namespace Brelt {

CharString getOsErrorText(std::uint32_t code) {
    constexpr DWORD englishUnitedStates = 1033;
    if (code == 0) {
        return {};
    }
    char array[128];
    StringBuilder builder(array, sizeof(array), 0);
    builder.appendFormat("(%lu) ", static_cast<unsigned long>(code));
    WideChar* text = nullptr;
    FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM,
        nullptr, code, englishUnitedStates, reinterpret_cast<WideChar*>(&text), 0, nullptr);
    TextConverter converter(text);
    builder.appendText(converter.getNarrow());
    LocalFree(text);
    return builder.toCharString();
}

}  // namespace Brelt
