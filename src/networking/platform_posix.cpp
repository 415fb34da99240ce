// Signal masks, and the variables by which OpenSSL's programs are told their certificates.

#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "networking/platform.h"

namespace Norvel::Networking {

namespace {

/// All signals blocked for the calling thread; a thread started meanwhile keeps that.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

std::string environmentText(const char* name) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing in the library changes the environment.
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

bool isReadableFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode) &&
           access(path.c_str(), R_OK) == 0;
}

bool isReadableDirectory(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           access(path.c_str(), R_OK | X_OK) == 0;
}

/// The variable may name several directories, with ":" between them.
bool anyReadableDirectory(const std::string& paths) {
    std::istringstream list(paths);
    for (std::string path; std::getline(list, path, ':');) {
        if (isReadableDirectory(path)) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::thread startThread(std::function<void()> run) {
    const SignalsBlocked blocked;
    return std::thread(std::move(run));
}

void keepLibraryLoaded() {
    // The library is linked so that it is never unloaded.
}

std::string readCertificateSource(CertificateSource& source) {
    source = {environmentText("SSL_CERT_FILE"), environmentText("SSL_CERT_DIR")};
    if (!source.file.empty() && !isReadableFile(source.file)) {
        return "SSL_CERT_FILE names \"" + source.file + "\", which can't be read";
    }
    if (!source.directory.empty() && !anyReadableDirectory(source.directory)) {
        return "SSL_CERT_DIR names \"" + source.directory + "\", which can't be read";
    }
    return {};
}

}  // namespace Norvel::Networking
