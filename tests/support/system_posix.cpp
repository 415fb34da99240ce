// What tests ask of POSIX: facts, the environment, the registry, and libraries opened at run time.

#include <dlfcn.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

#include "foundation/win32/registry_stand_in.h"
#include "support/environment_value.h"
#include "support/loaded_module.h"
#include "support/registry_values.h"
#include "support/system_facts.h"

namespace TestSupport {

const std::uint32_t connectionRefused = ECONNREFUSED;
const std::uint32_t connectionReset = ECONNRESET;

bool runsUnderWine() {
    return false;
}

void setEnvironment(const char* name, const std::optional<std::string>& value) {
    value ? ::setenv(name, value->c_str(), 1) : ::unsetenv(name);
}

void setRegistryValue(const char* name, std::uint32_t type, const void* bytes, std::uint32_t size) {
    Brelt::setStandInRegistryValue(name, type, bytes, size);
}

void removeRegistryValue(const char* name) {
    Brelt::removeStandInRegistryValue(name);
}

void resetRegistry() {
    Brelt::resetStandInRegistry();
}

LoadedModule::LoadedModule(const std::string& file)
    : module_(::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (module_ == nullptr) {
        throw std::runtime_error(::dlerror());
    }
}

void* LoadedModule::function(const char* name) const {
    return ::dlsym(module_, name);
}

}  // namespace TestSupport
