// The operating system's words for a code.

#include "foundation/error_chain.h"

#include "foundation/text_tools.h"
#include "foundation/win32/win32.h"

namespace Brelt {

namespace {

/// The system allocates the text; it goes back also when the builder runs out of memory.
struct SystemText {
    SystemText() = default;
    SystemText(const SystemText&) = delete;
    SystemText& operator=(const SystemText&) = delete;
    ~SystemText() { LocalFree(text); }

    WideChar* text = nullptr;
};

}  // namespace

CharString getOsErrorText(std::uint32_t code) {
    constexpr DWORD englishUnitedStates = 1033;
    if (code == 0) {
        return {};
    }
    char array[128];
    StringBuilder builder(array, sizeof(array), 0);
    builder.appendFormat("(%lu) ", static_cast<unsigned long>(code));
    SystemText system;
    FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM,
        nullptr, code, englishUnitedStates, reinterpret_cast<WideChar*>(&system.text), 0, nullptr);
    TextConverter converter(system.text);
    builder.appendText(converter.getNarrow());
    return builder.toCharString();
}

}  // namespace Brelt
