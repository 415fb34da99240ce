// The operating system's part of the programs, for Windows. See platform.h.

#include "platform.h"

#include <windows.h>
// After windows.h, which they need.
#include <bcrypt.h>
#include <shellapi.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace KivHost {

const char* const libraryFileName = "kivdownloader.dll";

namespace {

std::atomic<std::int32_t> notedSignal{0};

BOOL WINAPI noteEvent(DWORD event) {
    constexpr std::int32_t interrupt = 2;
    constexpr std::int32_t termination = 15;
    const bool fromKeyboard = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
    // The first is handled here; for the second the system's own handler ends the process.
    return notedSignal.exchange(fromKeyboard ? interrupt : termination) == 0 ? TRUE : FALSE;
}

std::string narrow(const wchar_t* text) {
    const int bytes = ::WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(std::max(bytes, 1)), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), bytes, nullptr, nullptr);
    result.pop_back();
    return result;
}

std::error_code lastError() {
    return {static_cast<int>(::GetLastError()), std::system_category()};
}

/// A file handle that closes itself.
class FileHandle {
public:
    explicit FileHandle(const std::filesystem::path& file)
        : handle_(::CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr)) {}
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle() { close(); }

    HANDLE get() const { return handle_; }
    bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    bool close() {
        const HANDLE handle = std::exchange(handle_, INVALID_HANDLE_VALUE);
        return handle == INVALID_HANDLE_VALUE || ::CloseHandle(handle) != FALSE;
    }

private:
    HANDLE handle_;
};

bool writeAll(HANDLE handle, std::string_view content) {
    constexpr std::size_t most = 1 << 30;
    while (!content.empty()) {
        const auto piece = static_cast<DWORD>(std::min(content.size(), most));
        DWORD written = 0;
        if (::WriteFile(handle, content.data(), piece, &written, nullptr) == FALSE) {
            return false;
        }
        content.remove_prefix(written);
    }
    return true;
}

std::error_code writeDurably(const std::filesystem::path& file, std::string_view content) {
    FileHandle handle(file);
    const bool written = handle.isOpen() && writeAll(handle.get(), content) &&
                         ::FlushFileBuffers(handle.get()) != FALSE && handle.close();
    return written ? std::error_code() : lastError();
}

struct HashState {
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    BCRYPT_HASH_HANDLE hash = nullptr;

    HashState() = default;
    HashState(const HashState&) = delete;
    HashState& operator=(const HashState&) = delete;
    ~HashState() {
        if (hash != nullptr) {
            ::BCryptDestroyHash(hash);
        }
        if (algorithm != nullptr) {
            ::BCryptCloseAlgorithmProvider(algorithm, 0);
        }
    }
};

HashState* hashState(void* state) {
    return static_cast<HashState*>(state);
}

void requireSuccess(NTSTATUS status) {
    if (status != 0) {
        throw std::runtime_error("SHA-256 isn't available");
    }
}

}  // namespace

std::vector<std::string> commandLineArguments(int, char**) {
    ::SetConsoleOutputCP(CP_UTF8);
    int count = 0;
    const std::unique_ptr<LPWSTR, decltype(&::LocalFree)> arguments(
        ::CommandLineToArgvW(::GetCommandLineW(), &count), ::LocalFree);
    std::vector<std::string> result;
    for (int index = 1; arguments != nullptr && index < count; ++index) {
        result.push_back(narrow(arguments.get()[index]));
    }
    return result;
}

std::filesystem::path programDirectory() {
    std::wstring name(32768, L'\0');
    const DWORD length = ::GetModuleFileNameW(nullptr, name.data(), 32768);
    name.resize(length);
    return std::filesystem::path(name).parent_path();
}

bool errorOutputIsTerminal() {
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != FALSE;
}

std::int32_t terminalColumns() {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    const HANDLE console = ::GetStdHandle(STD_ERROR_HANDLE);
    const bool known = ::GetConsoleScreenBufferInfo(console, &info) != FALSE;
    const std::int32_t columns = info.srWindow.Right - info.srWindow.Left + 1;
    return known && columns > 1 ? columns : 80;
}

void noteStopRequests() {
    ::SetConsoleCtrlHandler(noteEvent, TRUE);
}

std::int32_t stopRequested() {
    return notedSignal;
}

void* loadLibrary(const std::filesystem::path& file, std::string& reason) {
    // A library named by its place finds its neighbours beside itself.
    const DWORD flags = file.is_absolute() ? LOAD_WITH_ALTERED_SEARCH_PATH : 0;
    HMODULE library = ::LoadLibraryExW(file.c_str(), nullptr, flags);
    if (library == nullptr) {
        reason = lastError().message();
    }
    return library;
}

void* libraryFunction(void* library, const char* name) {
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(library), name));
}

void replaceFile(const std::filesystem::path& file, std::string_view content) {
    std::filesystem::path temporary = file;
    temporary += temporarySuffix;
    std::error_code cause = writeDurably(temporary, content);
    if (cause) {
        ::DeleteFileW(temporary.c_str());
        throw std::filesystem::filesystem_error("cannot write", temporary, cause);
    }
    constexpr DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    if (::MoveFileExW(temporary.c_str(), file.c_str(), flags) == FALSE) {
        cause = lastError();
        ::DeleteFileW(temporary.c_str());
        throw std::filesystem::filesystem_error("cannot replace", file, cause);
    }
}

Sha256::Sha256() {
    auto state = std::make_unique<HashState>();
    requireSuccess(
        ::BCryptOpenAlgorithmProvider(&state->algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0));
    requireSuccess(::BCryptCreateHash(state->algorithm, &state->hash, nullptr, 0, nullptr, 0, 0));
    state_ = state.release();
}

Sha256::~Sha256() {
    delete hashState(state_);
}

void Sha256::update(const void* bytes, std::size_t count) {
    // The call takes the bytes as writable and doesn't write to them.
    auto* input = static_cast<unsigned char*>(const_cast<void*>(bytes));
    requireSuccess(::BCryptHashData(hashState(state_)->hash, input, static_cast<ULONG>(count), 0));
}

std::array<unsigned char, 32> Sha256::finish() {
    std::array<unsigned char, 32> digest{};
    requireSuccess(::BCryptFinishHash(hashState(state_)->hash, digest.data(),
                                      static_cast<ULONG>(digest.size()), 0));
    return digest;
}

}  // namespace KivHost
