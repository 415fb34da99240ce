#pragma once

// A variable of the environment for as long as a test needs it. No other thread runs meanwhile that
// reads the environment.

#include <cstdlib>
#include <optional>
#include <string>

namespace TestSupport {

class EnvironmentValue {
public:
    /// An empty optional takes the variable away.
    EnvironmentValue(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* before = std::getenv(name)) {
            before_ = before;
        }
        set(value);
    }
    EnvironmentValue(const EnvironmentValue&) = delete;
    EnvironmentValue& operator=(const EnvironmentValue&) = delete;
    ~EnvironmentValue() { set(before_); }

private:
    void set(const std::optional<std::string>& value) {
        value ? setenv(name_, value->c_str(), 1) : unsetenv(name_);
    }

    const char* name_;
    std::optional<std::string> before_;
};

}  // namespace TestSupport
