// The operating system's part of the programs, for POSIX. See platform.h.

#include "platform.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace KivHost {

const char* const libraryFileName = "libkivdownloader.so";

namespace {

std::atomic<int> notedSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may touch no other");

void noteSignal(int number) {
    notedSignal = number;
}

/// A descriptor that closes itself; `close` tells of errors where they matter.
class Descriptor {
public:
    Descriptor(const std::filesystem::path& path, int flags)
        : number_(::open(path.c_str(), flags | O_CLOEXEC, 0666)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }
    bool close() {
        const int number = std::exchange(number_, -1);
        return number < 0 || ::close(number) == 0;
    }

private:
    int number_;
};

bool writeAll(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor, content.data(), content.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        content.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
    return true;
}

std::error_code writeDurably(const std::filesystem::path& file, std::string_view content) {
    Descriptor descriptor(file, O_WRONLY | O_CREAT | O_TRUNC);
    const bool written = descriptor.isOpen() && writeAll(descriptor.number(), content) &&
                         ::fsync(descriptor.number()) == 0 && descriptor.close();
    return {written ? 0 : errno, std::generic_category()};
}

EVP_MD_CTX* context(void* state) {
    return static_cast<EVP_MD_CTX*>(state);
}

}  // namespace

std::vector<std::string> commandLineArguments(int argc, char** argv) {
    return {argv + std::min(argc, 1), argv + argc};
}

std::filesystem::path programDirectory() {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
}

bool errorOutputIsTerminal() {
    return ::isatty(STDERR_FILENO) == 1;
}

std::int32_t terminalColumns() {
    winsize size{};
    const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

void noteStopRequests() {
    struct sigaction action {};
    action.sa_handler = noteSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

std::int32_t stopRequested() {
    return notedSignal;
}

void* loadLibrary(const std::filesystem::path& file, std::string& reason) {
    void* library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): it belongs to the calling thread here
        const char* text = ::dlerror();
        reason = text == nullptr ? "unknown reason" : text;
    }
    return library;
}

void* libraryFunction(void* library, const char* name) {
    return ::dlsym(library, name);
}

void replaceFile(const std::filesystem::path& file, std::string_view content) {
    std::filesystem::path temporary = file;
    temporary += temporarySuffix;
    std::error_code cause = writeDurably(temporary, content);
    if (cause) {
        ::unlink(temporary.c_str());
        throw std::filesystem::filesystem_error("cannot write", temporary, cause);
    }
    std::filesystem::rename(temporary, file, cause);
    if (cause) {
        ::unlink(temporary.c_str());
        throw std::filesystem::filesystem_error("cannot replace", file, cause);
    }
    // Puts the new name on the disk; where a file system can't do that, the content is safe anyway.
    const Descriptor directory(file.parent_path(), O_RDONLY | O_DIRECTORY);
    ::fsync(directory.number());
}

Sha256::Sha256() : state_(::EVP_MD_CTX_new()) {
    if (state_ == nullptr || ::EVP_DigestInit_ex(context(state_), ::EVP_sha256(), nullptr) != 1) {
        ::EVP_MD_CTX_free(context(state_));
        throw std::runtime_error("SHA-256 isn't available");
    }
}

Sha256::~Sha256() {
    ::EVP_MD_CTX_free(context(state_));
}

void Sha256::update(const void* bytes, std::size_t count) {
    if (::EVP_DigestUpdate(context(state_), bytes, count) != 1) {
        throw std::runtime_error("SHA-256 failed");
    }
}

std::array<unsigned char, 32> Sha256::finish() {
    std::array<unsigned char, 32> digest{};
    if (::EVP_DigestFinal_ex(context(state_), digest.data(), nullptr) != 1) {
        throw std::runtime_error("SHA-256 failed");
    }
    return digest;
}

}  // namespace KivHost
