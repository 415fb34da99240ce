#pragma once

// What differs between systems under sockets.cpp, as POSIX has it.

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <system_error>

namespace TestSupport::Calls {

using Handle = int;
using Length = socklen_t;
using PollEntry = pollfd;

constexpr int sendFlags = MSG_NOSIGNAL;
constexpr short readable = POLLIN;
constexpr short writable = POLLOUT;
constexpr short departed = POLLRDHUP;

inline void start() {}

/// Not inherited by programs that the test starts, as are those of `accept`.
inline Handle makeStream() {
    return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

inline Handle accept(Handle listener) {
    return ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
}

inline void stopBlocking(Handle handle) {
    ::fcntl(handle, F_SETFL, O_NONBLOCK);
}

inline void close(Handle handle) {
    ::close(handle);
}

inline bool wouldBlock() {
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

inline std::system_error lastError(const char* what) {
    return {errno, std::generic_category(), what};
}

inline int poll(PollEntry& entry, int milliseconds) {
    return ::poll(&entry, 1, milliseconds);
}

}  // namespace TestSupport::Calls
