// Children on Linux, watched through a descriptor of their own.

#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <system_error>

#include "support/child_process.h"

namespace TestSupport {

namespace {

/// setpriv, of util-linux, ties the child's life to ours; a shell opens its standard files.
int spawn(const std::vector<std::string>& command, const std::string& output) {
    std::vector<std::string> words{
        "setpriv", "--pdeathsig", "KILL",
        "--",      "env",         "--default-signal=PIPE",
        "sh",      "-c",          R"(PATH=$PATH:/usr/sbin:/sbin; exec "$@" </dev/null >"$0" 2>&1)",
        output};
    words.insert(words.end(), command.begin(), command.end());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    int pid = -1;
    const int failure = ::posix_spawnp(&pid, "setpriv", nullptr, nullptr, pointers.data(), environ);
    if (failure != 0) {
        throw std::system_error(failure, std::generic_category(), "start " + command.front());
    }
    return pid;
}

class Program final : public ChildProcess::State {
public:
    // By number: this call of glibc 2.36 can't be linked from C++.
    explicit Program(int pid)
        : pid_(pid), descriptor_(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))) {}
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() override {
        if (!exitCode_) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        ::close(descriptor_);
    }

    void signal(int number) override {
        if (!exitCode_) {
            ::kill(pid_, number);
        }
    }

    std::optional<int> waitFor(std::chrono::milliseconds time) override {
        pollfd end{descriptor_, POLLIN, 0};
        int status = 0;
        // The descriptor tells the end a moment before a killed program can be reaped: hence no
        // WNOHANG.
        if (!exitCode_ && ::poll(&end, 1, static_cast<int>(time.count())) == 1 &&
            ::waitpid(pid_, &status, 0) == pid_) {
            exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        return exitCode_;
    }

private:
    int pid_;
    int descriptor_;
    std::optional<int> exitCode_;
};

}  // namespace

std::unique_ptr<ChildProcess::State> ChildProcess::start(const std::vector<std::string>& command,
                                                         const std::filesystem::path& output) {
    return std::make_unique<Program>(spawn(command, output.string()));
}

std::string peerPath(const std::filesystem::path& path) {
    return path.string();
}

}  // namespace TestSupport
