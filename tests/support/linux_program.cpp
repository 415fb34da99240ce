// Programs of Linux as children of a test that runs under Wine: linux_side.py, which the script
// around the tests has started, watches them and talks over a connection. Its words stand there.

#include <array>
#include <cstdlib>
#include <stdexcept>

#include "support/child_process_state.h"
#include "support/patience.h"
#include "support/sockets.h"

namespace TestSupport {

namespace {

class LinuxProgram final : public ChildProcess::State {
public:
    LinuxProgram(const std::vector<std::string>& command, const std::filesystem::path& output)
        : connection_(Socket::connectToLoopback(helperPort())) {
        for (const std::string& word : command) {
            say("word " + word);
        }
        say("output " + peerPath(output));
        say("start");
        const std::string answer = hear(patience).value_or("failed: no answer");
        if (answer != "started") {
            throw std::runtime_error(answer);
        }
    }

    void signal(int number) override { say("signal " + std::to_string(number)); }

    std::optional<int> waitFor(std::chrono::milliseconds time) override {
        if (!exitCode_) {
            if (const std::optional<std::string> line = hear(time)) {
                exitCode_ = std::stoi(line->substr(line->find(' ')));
            }
        }
        return exitCode_;
    }

private:
    static int helperPort() {
        const char* port = std::getenv("KIV_LINUX_SIDE");
        if (port == nullptr) {
            throw std::runtime_error("KIV_LINUX_SIDE isn't set; run scripts/test-windows.sh");
        }
        return std::stoi(port);
    }

    void say(std::string line) {
        line += '\n';
        connection_.send(line.data(), line.size());
    }

    std::optional<std::string> hear(std::chrono::milliseconds time) {
        while (received_.find('\n') == std::string::npos) {
            if (waitForSocket(connection_, Interest::Read, {}, time) != WaitResult::Ready) {
                return std::nullopt;
            }
            std::array<char, 512> piece;
            const std::optional<std::int64_t> count =
                connection_.receive(piece.data(), piece.size());
            if (count && *count <= 0) {
                throw std::runtime_error("the helper on Linux is gone");
            }
            received_.append(piece.data(), static_cast<std::size_t>(count.value_or(0)));
        }
        const std::size_t end = received_.find('\n');
        std::string line = received_.substr(0, end);
        received_.erase(0, end + 1);
        return line;
    }

    Socket connection_;
    std::string received_;
    std::optional<int> exitCode_;
};

}  // namespace

std::unique_ptr<ChildProcess::State> startLinuxProgram(const std::vector<std::string>& command,
                                                       const std::filesystem::path& output) {
    return std::make_unique<LinuxProgram>(command, output);
}

}  // namespace TestSupport
