// What is the same for children on every system.

#include "support/child_process.h"

#include <forward_list>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "support/environment_value.h"
#include "support/patience.h"
#include "support/temp_directory.h"

namespace TestSupport {

namespace {

// Windows has no name for the signal's number.
constexpr int kill = 9;

std::string joined(const std::vector<std::string>& command) {
    std::string text;
    for (const std::string& word : command) {
        text.append(text.empty() ? "" : " ").append(word);
    }
    return text;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> command, std::filesystem::path output,
                           const std::vector<std::string>& environment)
    : command_(std::move(command)), output_(std::move(output)) {
    // Goes from the front on, so that the last change is undone first.
    std::forward_list<EnvironmentValue> changes;
    for (const std::string& change : environment) {
        const std::size_t sign = change.find('=');
        changes.emplace_front(change.substr(0, sign), sign == std::string::npos
                                                          ? std::nullopt
                                                          : std::optional(change.substr(sign + 1)));
    }
    state_ = start(command_, output_);
}

int ChildProcess::wait() {
    if (const std::optional<int> code = waitFor(patience)) {
        return *code;
    }
    signal(kill);
    throw std::runtime_error(joined(command_) + " doesn't end; it printed: " + output());
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
