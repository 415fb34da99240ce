#pragma once

// A shared library opened at run time, as a host opens it.

#include <string>

namespace TestSupport {

/// Stays loaded until the process ends. Raises `std::runtime_error` if it can't be loaded.
class LoadedModule {
public:
    /// `file` is an absolute path.
    explicit LoadedModule(const std::string& file);

    /// Null if there is no such function.
    void* function(const char* name) const;

private:
    void* module_;
};

}  // namespace TestSupport
