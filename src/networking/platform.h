#pragma once

// What differs by platform behind the library's back: one file for POSIX, one for Windows, chosen
// by the build. Used by the network thread's start and by the context.

#include <functional>
#include <string>
#include <thread>

namespace Norvel::Networking {

/// Starts a thread in which no signal of the host is ever handled, SIGPIPE among them. Raises
/// `std::system_error`.
std::thread startThread(std::function<void()> run);

/// From now on the library stays in memory, even if the host unloads it: a name's look-up that was
/// given up may still run on a thread of libcurl's.
void keepLibraryLoaded();

/// Where trusted certificates stand; both empty for the system's own.
struct CertificateSource {
    std::string file;
    std::string directory;
};

/// Reads what the user has set for this process. The empty text, or what can't be used.
std::string readCertificateSource(CertificateSource& source);

}  // namespace Norvel::Networking
