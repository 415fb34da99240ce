// Children on Windows. A job object ties their life to ours.

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "foundation/text_tools.h"
#include "support/child_process_state.h"

namespace TestSupport {

namespace {

constexpr int interrupt = 2;

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

std::wstring upperCase(std::wstring name) {
    ::CharUpperW(name.data());
    return name;
}

/// Our own environment with the changes, as one text for the system: each entry ends in a NUL.
std::wstring environmentBlock(const std::vector<std::string>& changes) {
    std::map<std::wstring, std::wstring> entries;
    wchar_t* const own = ::GetEnvironmentStringsW();
    for (const wchar_t* entry = own; *entry != 0; entry += std::wcslen(entry) + 1) {
        // Some names begin with "=".
        const std::wstring text = entry;
        entries[upperCase(text.substr(0, text.find(L'=', 1)))] = text;
    }
    ::FreeEnvironmentStringsW(own);
    for (const std::string& change : changes) {
        const std::wstring text = wide(change);
        const std::wstring name = upperCase(text.substr(0, text.find(L'=')));
        entries.erase(name);
        if (text.find(L'=') != std::wstring::npos) {
            entries[name] = text;
        }
    }
    std::wstring block;
    for (const auto& [name, text] : entries) {
        block.append(text).push_back(L'\0');
    }
    return block;
}

/// A file for the child's standard handles.
HANDLE openForChild(const std::filesystem::path& file, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return ::CreateFileW(file.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                         disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

class WindowsProgram final : public ChildProcess::State {
public:
    WindowsProgram(const std::vector<std::string>& command, const std::filesystem::path& output,
                   const std::vector<std::string>& environment)
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
        std::wstring block = environmentBlock(environment);
        const std::wstring program = std::filesystem::absolute(command.at(0)).make_preferred();
        constexpr DWORD flags =
            CREATE_UNICODE_ENVIRONMENT | CREATE_NEW_PROCESS_GROUP | CREATE_SUSPENDED;
        if (::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, flags,
                             block.data(), nullptr, &start, &process_) == FALSE) {
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

    /// An interrupt is what Ctrl-Break does; all other signals end it at once.
    void signal(int number) override {
        if (number == interrupt) {
            ::GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, process_.dwProcessId);
        } else {
            ::TerminateProcess(process_.hProcess, static_cast<UINT>(128 + number));
        }
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

}  // namespace

std::unique_ptr<ChildProcess::State> startWindowsProgram(
    const std::vector<std::string>& command, const std::filesystem::path& output,
    const std::vector<std::string>& environment) {
    return std::make_unique<WindowsProgram>(command, output, environment);
}

ChildProcess::ChildProcess(std::vector<std::string> command, std::filesystem::path output,
                           const std::vector<std::string>& environment)
    : command_(std::move(command)), output_(std::move(output)) {
    state_ = command_.at(0).ends_with(".exe") ? startWindowsProgram(command_, output_, environment)
                                              : startLinuxProgram(command_, output_);
}

ChildProcess::~ChildProcess() = default;

void ChildProcess::signal(int number) const {
    state_->signal(number);
}

std::optional<int> ChildProcess::waitFor(std::chrono::milliseconds time) {
    return state_->waitFor(time);
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
