#pragma once

// What differs between systems under sockets.cpp, as Windows has it.

#include <winsock2.h>

#include <cstddef>
#include <cstdint>
#include <system_error>

namespace TestSupport::Calls {

using Handle = SOCKET;
using Length = int;
using PollEntry = WSAPOLLFD;

constexpr int sendFlags = 0;
constexpr short readable = POLLRDNORM;
constexpr short writable = POLLWRNORM;
/// The end of a connection is told without being asked for.
constexpr short departed = 0;

inline std::system_error lastError(const char* what) {
    return {::WSAGetLastError(), std::system_category(), what};
}

/// Sockets need a start in each process, once; it lasts until the process ends.
inline void start() {
    static const int failure = [] {
        WSADATA details;
        return ::WSAStartup(MAKEWORD(2, 2), &details);
    }();
    if (failure != 0) {
        throw std::system_error(failure, std::system_category(), "start of the sockets");
    }
}

inline Handle makeStream() {
    return ::WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0,
                        WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
}

inline Handle accept(Handle listener) {
    return ::accept(listener, nullptr, nullptr);
}

inline void stopBlocking(Handle handle) {
    unsigned long on = 1;
    ::ioctlsocket(handle, static_cast<long>(FIONBIO), &on);
}

inline void close(Handle handle) {
    ::closesocket(handle);
}

inline bool wouldBlock() {
    return ::WSAGetLastError() == WSAEWOULDBLOCK;
}

inline int poll(PollEntry& entry, int milliseconds) {
    return ::WSAPoll(&entry, 1, milliseconds);
}

}  // namespace TestSupport::Calls
