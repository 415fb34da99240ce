#pragma once

// A variable of the environment for as long as a test needs it. No other thread runs meanwhile that
// reads the environment.

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace TestSupport {

/// An empty optional takes the variable away. On Windows an empty text does so too.
void setEnvironment(const char* name, const std::optional<std::string>& value);

class EnvironmentValue {
public:
    EnvironmentValue(std::string name, const std::optional<std::string>& value)
        : name_(std::move(name)) {
        if (const char* before = std::getenv(name_.c_str())) {
            before_ = before;
        }
        setEnvironment(name_.c_str(), value);
    }
    EnvironmentValue(const EnvironmentValue&) = delete;
    EnvironmentValue& operator=(const EnvironmentValue&) = delete;
    ~EnvironmentValue() { setEnvironment(name_.c_str(), before_); }

private:
    std::string name_;
    std::optional<std::string> before_;
};

}  // namespace TestSupport
