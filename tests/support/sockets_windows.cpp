// The sockets of the tests on Windows.

#include <winsock2.h>

#include <array>
#include <cstdint>
#include <system_error>
#include <utility>

#include "support/sockets.h"

namespace TestSupport {

namespace {

static_assert(static_cast<std::intptr_t>(INVALID_SOCKET) == Socket::none);

SOCKET systemHandle(const Socket& socket) {
    return static_cast<SOCKET>(socket.handle());
}

[[noreturn]] void raiseSystemError(const char* what) {
    throw std::system_error(::WSAGetLastError(), std::system_category(), what);
}

/// The sockets of Windows need a start in each process, once; it lasts until the process ends.
void startSockets() {
    static const int failure = [] {
        WSADATA details;
        return ::WSAStartup(MAKEWORD(2, 2), &details);
    }();
    if (failure != 0) {
        throw std::system_error(failure, std::system_category(), "start of the sockets");
    }
}

Socket makeSocket() {
    startSockets();
    // Not to be inherited by programs that the test starts.
    return Socket(
        static_cast<std::intptr_t>(::WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0,
                                                WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT)));
}

void stopBlocking(const Socket& socket) {
    unsigned long on = 1;
    ::ioctlsocket(systemHandle(socket), static_cast<long>(FIONBIO), &on);
}

sockaddr_in loopbackAddress(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    address.sin_port = ::htons(static_cast<std::uint16_t>(port));
    return address;
}

std::optional<std::int64_t> moved(int count) {
    if (count == SOCKET_ERROR && ::WSAGetLastError() == WSAEWOULDBLOCK) {
        return std::nullopt;
    }
    return count;
}

short pollFlags(Interest interest) {
    switch (interest) {
        case Interest::Read:
            return POLLRDNORM;
        case Interest::Write:
            return POLLWRNORM;
        case Interest::Departure:
            break;
    }
    // The end of a connection is told without being asked for.
    return 0;
}

}  // namespace

Socket::Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, none)) {}

Socket& Socket::operator=(Socket&& other) noexcept {
    if (this != &other) {
        close();
        handle_ = std::exchange(other.handle_, none);
    }
    return *this;
}

Socket Socket::listenOnLoopback() {
    Socket socket = makeSocket();
    const sockaddr_in address = loopbackAddress(0);
    if (!socket.isOpen() ||
        ::bind(systemHandle(socket), reinterpret_cast<const sockaddr*>(&address),
               sizeof(address)) != 0 ||
        ::listen(systemHandle(socket), SOMAXCONN) != 0) {
        raiseSystemError("listen on loopback");
    }
    stopBlocking(socket);
    return socket;
}

Socket Socket::connectToLoopback(int port) {
    Socket socket = makeSocket();
    const sockaddr_in address = loopbackAddress(port);
    if (::connect(systemHandle(socket), reinterpret_cast<const sockaddr*>(&address),
                  sizeof(address)) != 0) {
        return {};
    }
    stopBlocking(socket);
    return socket;
}

int Socket::localPort() const {
    sockaddr_in address{};
    int size = sizeof(address);
    ::getsockname(systemHandle(*this), reinterpret_cast<sockaddr*>(&address), &size);
    return ::ntohs(address.sin_port);
}

Socket Socket::accept() const {
    Socket socket(static_cast<std::intptr_t>(::accept(systemHandle(*this), nullptr, nullptr)));
    if (socket.isOpen()) {
        stopBlocking(socket);
        const int on = 1;
        ::setsockopt(systemHandle(socket), IPPROTO_TCP, TCP_NODELAY,
                     reinterpret_cast<const char*>(&on), sizeof(on));
    }
    return socket;
}

std::optional<std::int64_t> Socket::receive(char* buffer, std::size_t size) const {
    return moved(::recv(systemHandle(*this), buffer, static_cast<int>(size), 0));
}

std::optional<std::int64_t> Socket::send(const char* bytes, std::size_t size) const {
    return moved(::send(systemHandle(*this), bytes, static_cast<int>(size), 0));
}

void Socket::close() {
    if (isOpen()) {
        ::closesocket(static_cast<SOCKET>(std::exchange(handle_, none)));
    }
}

void Socket::reset() {
    if (isOpen()) {
        const linger atOnce{1, 0};
        ::setsockopt(systemHandle(*this), SOL_SOCKET, SO_LINGER,
                     reinterpret_cast<const char*>(&atOnce), sizeof(atOnce));
        close();
    }
}

WakeSignal::WakeSignal() {
    // Pipes can't be waited for beside sockets here: a connection of our own takes their place.
    const Socket listener = Socket::listenOnLoopback();
    Socket writer = Socket::connectToLoopback(listener.localPort());
    if (!writer.isOpen() || waitForSocket(listener, Interest::Read, {}) != WaitResult::Ready) {
        raiseSystemError("connection of a wake signal");
    }
    Socket reader = listener.accept();
    reader_ = reader.release();
    writer_ = writer.release();
}

WakeSignal::~WakeSignal() {
    raise();
    ::closesocket(static_cast<SOCKET>(reader_));
}

void WakeSignal::raise() {
    // The closed end shows on the other one from now on, to any number of waits.
    const std::intptr_t writer = writer_.exchange(Socket::none);
    if (writer != Socket::none) {
        ::closesocket(static_cast<SOCKET>(writer));
    }
}

WaitResult waitForSocket(const Socket& socket, Interest interest,
                         std::initializer_list<const WakeSignal*> signals,
                         std::optional<std::chrono::milliseconds> timeout) {
    std::array<WSAPOLLFD, 4> waits{};
    unsigned long count = 0;
    waits[count++] = {systemHandle(socket), pollFlags(interest), 0};
    for (const WakeSignal* signal : signals) {
        waits[count++] = {static_cast<SOCKET>(signal->handle()), POLLRDNORM, 0};
    }
    const int limit = timeout ? static_cast<int>(timeout->count()) : -1;
    const int found = ::WSAPoll(waits.data(), count, limit);
    for (unsigned long i = 1; i < count; ++i) {
        if (waits[i].revents != 0) {
            return WaitResult::Woken;
        }
    }
    return found == 0 ? WaitResult::TimedOut : WaitResult::Ready;
}

}  // namespace TestSupport
