#pragma once

// A program that runs beside the test and never outlives it.

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace TestSupport {

/// A child with stdin from nothing, and both outputs in one file.
///
/// It is killed and reaped with this object; if the test process dies, or the thread that started
/// it, the system kills it. On Windows a command without ".exe" is a program of Linux, where Wine
/// and this test run; it is started by a helper there.
class ChildProcess {
public:
    /// The platform's own.
    struct State {
        State() = default;
        State(const State&) = delete;
        State& operator=(const State&) = delete;
        virtual ~State() = default;

        virtual void signal(int number) = 0;
        virtual std::optional<int> waitFor(std::chrono::milliseconds time) = 0;
    };

    /// Starts `command`, whose first word is a path, or a name that is looked up in the system's
    /// folders for programs and servers. `environment` holds lines of NAME=value that go over the
    /// test's own; one without "=" takes the variable away. (A program of Linux beside Wine gets
    /// none of that.) A program that isn't there ends with 127, or raises `std::runtime_error`.
    explicit ChildProcess(std::vector<std::string> command, std::filesystem::path output,
                          const std::vector<std::string>& environment = {});

    /// Nothing if it has ended.
    void signal(int number) const { state_->signal(number); }

    /// Waits for its end, at most so long: the exit code, or 128 and the signal's number; nothing
    /// if it still runs.
    std::optional<int> waitFor(std::chrono::milliseconds time) { return state_->waitFor(time); }

    /// Waits for its end; kills it and raises `std::runtime_error` after the test's patience.
    int wait();

    /// What it has printed so far.
    std::string output() const;

private:
    static std::unique_ptr<State> start(const std::vector<std::string>& command,
                                        const std::filesystem::path& output);

    std::vector<std::string> command_;
    std::filesystem::path output_;
    std::unique_ptr<State> state_;
};

/// The path as programs of the peers' system know it: another text only on Windows, for Linux.
std::string peerPath(const std::filesystem::path& path);

/// Runs a command to its end and gives its output; raises `std::runtime_error`, with the output, if
/// it fails.
std::string runCommand(std::vector<std::string> command);

}  // namespace TestSupport
