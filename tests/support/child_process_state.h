#pragma once

// The two kinds of children on Windows: its own programs, and those of Linux beside Wine. For
// child_process_windows.cpp and linux_program.cpp.

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/child_process.h"

namespace TestSupport {

/// One child; killed with this object.
struct ChildProcess::State {
    State() = default;
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    virtual ~State() = default;

    virtual void signal(int number) = 0;
    virtual std::optional<int> waitFor(std::chrono::milliseconds time) = 0;
};

/// Both raise `std::runtime_error` if the program doesn't start.
std::unique_ptr<ChildProcess::State> startWindowsProgram(
    const std::vector<std::string>& command, const std::filesystem::path& output,
    const std::vector<std::string>& environment);
std::unique_ptr<ChildProcess::State> startLinuxProgram(const std::vector<std::string>& command,
                                                       const std::filesystem::path& output);

}  // namespace TestSupport
