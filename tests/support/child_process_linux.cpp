// Children on Linux: started through util-linux's setpriv, which ties their life to ours, and
// env, and watched through a descriptor of their own.

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "support/child_process.h"

namespace TestSupport {

namespace {

std::filesystem::path findProgram(const std::string& name) {
    if (name.find('/') != std::string::npos) {
        return name;
    }
    for (const char* folder : {"/usr/local/bin", "/usr/bin", "/usr/sbin", "/bin", "/sbin"}) {
        std::filesystem::path candidate = std::filesystem::path(folder) / name;
        if (::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
    }
    throw std::runtime_error("the program " + name +
                             " isn't installed; scripts/test.sh installs what the tests need");
}

std::vector<char*> pointersTo(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// What a child starts with: its three standard files, default signals, none blocked.
class SpawnSettings {
public:
    explicit SpawnSettings(const std::filesystem::path& output) {
        ::posix_spawn_file_actions_init(&files);
        ::posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output.c_str(),
                                           O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0666);
        ::posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
        ::posix_spawnattr_init(&attributes);
        sigset_t signals;
        ::sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes, &signals);
        ::sigaddset(&signals, SIGPIPE);
        ::posix_spawnattr_setsigdefault(&attributes, &signals);
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings() {
        ::posix_spawn_file_actions_destroy(&files);
        ::posix_spawnattr_destroy(&attributes);
    }

    posix_spawn_file_actions_t files{};
    posix_spawnattr_t attributes{};
};

int spawn(std::vector<std::string> command, const std::filesystem::path& output) {
    const SpawnSettings settings(output);
    int pid = -1;
    const int failure = ::posix_spawn(&pid, command.front().c_str(), &settings.files,
                                      &settings.attributes, pointersTo(command).data(), environ);
    if (failure != 0) {
        throw std::system_error(failure, std::generic_category(), "start " + command.front());
    }
    return pid;
}

int exitCodeOf(const siginfo_t& end) {
    return end.si_code == CLD_EXITED ? end.si_status : 128 + end.si_status;
}

}  // namespace

struct ChildProcess::State {
    int pid = -1;
    int descriptor = -1;
    std::optional<int> exitCode = std::nullopt;
};

ChildProcess::ChildProcess(std::vector<std::string> command, std::filesystem::path output,
                           const std::vector<std::string>& environment)
    : command_(std::move(command)), output_(std::move(output)), state_(new State) {
    std::vector<std::string> whole{findProgram("setpriv"), "--pdeathsig", "KILL", "--", "env"};
    const auto options = static_cast<std::ptrdiff_t>(whole.size());
    for (const std::string& change : environment) {
        // Options stand in front.
        const bool isOption = change.find('=') == std::string::npos;
        whole.insert(isOption ? whole.begin() + options : whole.end(),
                     isOption ? "--unset=" + change : change);
    }
    whole.push_back(findProgram(command_.at(0)));
    whole.insert(whole.end(), command_.begin() + 1, command_.end());
    state_->pid = spawn(std::move(whole), output_);
    // By number: this call of glibc 2.36 can't be linked from C++.
    state_->descriptor = static_cast<int>(::syscall(SYS_pidfd_open, state_->pid, 0));
}

ChildProcess::~ChildProcess() {
    if (!state_->exitCode) {
        signal(SIGKILL);
        ::waitpid(state_->pid, nullptr, 0);
    }
    ::close(state_->descriptor);
}

void ChildProcess::signal(int number) const {
    if (!state_->exitCode) {
        ::kill(state_->pid, number);
    }
}

std::optional<int> ChildProcess::waitFor(std::chrono::milliseconds time) {
    if (!state_->exitCode) {
        pollfd end{state_->descriptor, POLLIN, 0};
        ::poll(&end, 1, static_cast<int>(time.count()));
        siginfo_t information{};
        if (::waitid(P_PID, static_cast<id_t>(state_->pid), &information, WEXITED | WNOHANG) == 0 &&
            information.si_pid == state_->pid) {
            state_->exitCode = exitCodeOf(information);
        }
    }
    return state_->exitCode;
}

std::string peerPath(const std::filesystem::path& path) {
    return path.string();
}

}  // namespace TestSupport
