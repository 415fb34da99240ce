// What is the same for children on every system.

#include "support/child_process.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "support/patience.h"
#include "support/temp_directory.h"

namespace TestSupport {

namespace {

// Numbers of signals, which Windows has no names for.
constexpr int kill = 9;
constexpr int askToEnd = 15;

std::string joined(const std::vector<std::string>& command) {
    std::string text;
    for (const std::string& word : command) {
        text.append(text.empty() ? "" : " ").append(word);
    }
    return text;
}

}  // namespace

int ChildProcess::wait() {
    if (const std::optional<int> code = waitFor(patience)) {
        return *code;
    }
    signal(kill);
    throw std::runtime_error(joined(command_) + " doesn't end; it printed: " + output());
}

int ChildProcess::terminate() {
    signal(askToEnd);
    return wait();
}

std::string ChildProcess::output() const {
    // As text, whose lines end in two bytes on Windows.
    std::ifstream stream(output_);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string runCommand(std::vector<std::string> command) {
    const TempDirectory directory;
    const std::string text = joined(command);
    ChildProcess child(std::move(command), directory.path() / "output");
    if (const int code = child.wait(); code != 0) {
        throw std::runtime_error(text + " ended with " + std::to_string(code) + ": " +
                                 child.output());
    }
    return child.output();
}

}  // namespace TestSupport
