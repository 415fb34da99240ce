// What tests ask of Linux: facts, the environment, the registry, libraries opened at run time, and
// the state of the process.

#include <dlfcn.h>
#include <malloc.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <stdexcept>

#include "foundation/win32/registry_stand_in.h"
#include "support/environment_value.h"
#include "support/loaded_module.h"
#include "support/process_state.h"
#include "support/registry_values.h"
#include "support/system_facts.h"

namespace TestSupport {

namespace {

int entriesIn(const char* directory) {
    const std::filesystem::directory_iterator entries(directory);
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

}  // namespace

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

ProcessState ProcessState::now() {
    // The iterator's own descriptor is in both counts of a comparison.
    return {entriesIn("/proc/self/fd"), entriesIn("/proc/self/task")};
}

long long allocatedBytes() {
    const struct mallinfo2 information = ::mallinfo2();
    return static_cast<long long>(information.uordblks) +
           static_cast<long long>(information.hblkhd);
}

}  // namespace TestSupport
