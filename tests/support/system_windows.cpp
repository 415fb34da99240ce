// What tests ask of Windows: facts, the environment, and libraries opened at run time.

#include <winsock2.h>
// After winsock2.h, in whose place it would bring an older one.
#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "support/environment_value.h"
#include "support/loaded_module.h"
#include "support/system_facts.h"

namespace TestSupport {

const std::uint32_t connectionRefused = WSAECONNREFUSED;
const std::uint32_t connectionReset = WSAECONNRESET;

bool runsUnderWine() {
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

void setEnvironment(const char* name, const std::optional<std::string>& value) {
    // Changes the copy of the run-time library and that of the system.
    ::_putenv_s(name, value.value_or("").c_str());
}

LoadedModule::LoadedModule(const std::string& file)
    // So that it finds its neighbour beside itself; the call wants a drive in front. The build's
    // path has one on Windows; under Wine it comes from the Linux side.
    : module_(::LoadLibraryExW(std::filesystem::absolute(file).make_preferred().c_str(), nullptr,
                               LOAD_WITH_ALTERED_SEARCH_PATH)) {
    if (module_ == nullptr) {
        throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), file);
    }
}

void* LoadedModule::function(const char* name) const {
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(module_), name));
}

}  // namespace TestSupport
