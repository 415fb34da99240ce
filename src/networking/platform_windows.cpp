// Windows has no signal masks; certificates come from its own store.

#include <windows.h>

#include <utility>

#include "networking/platform.h"

namespace Norvel::Networking {

std::thread startThread(std::function<void()> run) {
    return std::thread(std::move(run));
}

void keepLibraryLoaded() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&keepLibraryLoaded), &module);
}

std::string readCertificateSource(CertificateSource& source) {
    source = {};
    return {};
}

}  // namespace Norvel::Networking
