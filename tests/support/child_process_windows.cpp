// Children on Windows: its own programs, whose life a job object ties to ours, and those of Linux.

#include <windows.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "foundation/text_tools.h"
#include "support/child_process.h"
#include "support/patience.h"
#include "support/sockets.h"

namespace TestSupport {

namespace {

std::wstring wide(const std::string& text) {
    return Brelt::TextConverter(text.c_str()).getWide();
}

/// Closed with its owner; null where nothing is open.
class Handle {
public:
    explicit Handle(HANDLE handle = nullptr)
        : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() {
        if (handle_ != nullptr) {
            ::CloseHandle(handle_);
        }
    }
    HANDLE get() const { return handle_; }

private:
    HANDLE handle_;
};

/// As the run-time library of a program takes its command line apart: a quote, and each backslash
/// in front of one, has a backslash more.
std::string quoted(const std::string& word) {
    std::string text = "\"";
    std::size_t backslashes = 0;
    for (const char c : word) {
        if (c == '"') {
            text.append(backslashes + 1, '\\');
        }
        backslashes = c == '\\' ? backslashes + 1 : 0;
        text += c;
    }
    return text.append(backslashes, '\\') + "\"";
}

std::wstring commandLine(const std::vector<std::string>& command) {
    std::string line;
    for (const std::string& word : command) {
        line.append(line.empty() ? "" : " ").append(quoted(word));
    }
    return wide(line);
}

/// A file for the child's standard handles.
HANDLE openForChild(const std::filesystem::path& file, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return ::CreateFileW(file.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                         disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

class WindowsProgram final : public ChildProcess::State {
public:
    WindowsProgram(const std::vector<std::string>& command, const std::filesystem::path& output)
        : job_(::CreateJobObjectW(nullptr, nullptr)) {
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        ::SetInformationJobObject(job_.get(), JobObjectExtendedLimitInformation, &limits,
                                  sizeof(limits));
        const Handle in(openForChild("NUL", GENERIC_READ, OPEN_EXISTING));
        const Handle out(openForChild(output, FILE_APPEND_DATA, CREATE_ALWAYS));
        STARTUPINFOW start{};
        start.cb = sizeof(start);
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdInput = in.get();
        start.hStdOutput = out.get();
        start.hStdError = out.get();
        std::wstring line = commandLine(command);
        const std::wstring program = std::filesystem::absolute(command.at(0)).make_preferred();
        constexpr DWORD flags = CREATE_SUSPENDED;
        if (::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, flags, nullptr,
                             nullptr, &start, &process_) == FALSE) {
            throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(),
                                    "start " + command.at(0));
        }
        ::AssignProcessToJobObject(job_.get(), process_.hProcess);
        ::ResumeThread(process_.hThread);
    }
    ~WindowsProgram() override {
        ::TerminateProcess(process_.hProcess, 1);
        ::WaitForSingleObject(process_.hProcess, INFINITE);
        ::CloseHandle(process_.hThread);
        ::CloseHandle(process_.hProcess);
    }
    WindowsProgram(const WindowsProgram&) = delete;
    WindowsProgram& operator=(const WindowsProgram&) = delete;

    /// There are none here: each ends it at once.
    void signal(int number) override {
        ::TerminateProcess(process_.hProcess, static_cast<UINT>(128 + number));
    }

    std::optional<int> waitFor(std::chrono::milliseconds time) override {
        DWORD code = 0;
        if (::WaitForSingleObject(process_.hProcess, static_cast<DWORD>(time.count())) !=
                WAIT_OBJECT_0 ||
            ::GetExitCodeProcess(process_.hProcess, &code) == FALSE) {
            return std::nullopt;
        }
        return static_cast<int>(code);
    }

private:
    Handle job_;
    PROCESS_INFORMATION process_{};
};

/// A program of Linux beside Wine: linux_side.py, which the script around the tests has started,
/// watches it and talks over a connection. Its words stand there.
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
            if (!connection_.isReady(Interest::Read, time)) {
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

std::unique_ptr<ChildProcess::State> ChildProcess::start(const std::vector<std::string>& command,
                                                         const std::filesystem::path& output) {
    if (command.at(0).ends_with(".exe")) {
        return std::make_unique<WindowsProgram>(command, output);
    }
    return std::make_unique<LinuxProgram>(command, output);
}

std::string peerPath(const std::filesystem::path& path) {
    // Wine has a link for each drive.
    const char* folder = std::getenv("WINEPREFIX");
    const std::string text = std::filesystem::absolute(path).generic_string();
    if (folder == nullptr || text.size() < 2 || text[1] != ':') {
        throw std::runtime_error("Linux has no path for " + text);
    }
    const char drive = static_cast<char>(text[0] | 0x20);
    return std::string(folder) + "/dosdevices/" + drive + text.substr(1);
}

}  // namespace TestSupport
