// The sockets of the tests on POSIX systems.

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "support/sockets.h"

namespace TestSupport {

namespace {

int descriptorOf(const Socket& socket) {
    return static_cast<int>(socket.handle());
}

[[noreturn]] void raiseSystemError(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

sockaddr_in loopbackAddress(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

std::optional<std::int64_t> moved(ssize_t count) {
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) {
        return std::nullopt;
    }
    return count;
}

short pollFlags(Interest interest) {
    switch (interest) {
        case Interest::Read:
            return POLLIN;
        case Interest::Write:
            return POLLOUT;
        case Interest::Departure:
            break;
    }
    return POLLRDHUP;
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
    Socket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_in address = loopbackAddress(0);
    if (!socket.isOpen() ||
        ::bind(descriptorOf(socket), reinterpret_cast<const sockaddr*>(&address),
               sizeof(address)) != 0 ||
        ::listen(descriptorOf(socket), SOMAXCONN) != 0) {
        raiseSystemError("listen on loopback");
    }
    return socket;
}

Socket Socket::connectToLoopback(int port) {
    Socket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = loopbackAddress(port);
    if (::connect(descriptorOf(socket), reinterpret_cast<const sockaddr*>(&address),
                  sizeof(address)) != 0) {
        return {};
    }
    ::fcntl(descriptorOf(socket), F_SETFL, O_NONBLOCK);
    return socket;
}

int Socket::localPort() const {
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    ::getsockname(descriptorOf(*this), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

Socket Socket::accept() const {
    Socket socket(::accept4(descriptorOf(*this), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket.isOpen()) {
        const int on = 1;
        ::setsockopt(descriptorOf(socket), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    }
    return socket;
}

std::optional<std::int64_t> Socket::receive(char* buffer, std::size_t size) const {
    return moved(::recv(descriptorOf(*this), buffer, size, 0));
}

std::optional<std::int64_t> Socket::send(const char* bytes, std::size_t size) const {
    return moved(::send(descriptorOf(*this), bytes, size, MSG_NOSIGNAL));
}

void Socket::close() {
    if (isOpen()) {
        ::close(static_cast<int>(std::exchange(handle_, none)));
    }
}

void Socket::reset() {
    if (isOpen()) {
        const linger atOnce{1, 0};
        ::setsockopt(descriptorOf(*this), SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
        close();
    }
}

WakeSignal::WakeSignal() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        raiseSystemError("pipe of a wake signal");
    }
    reader_ = ends[0];
    writer_ = ends[1];
}

WakeSignal::~WakeSignal() {
    raise();
    ::close(static_cast<int>(reader_));
}

void WakeSignal::raise() {
    // The closed end shows on the other one from now on, to any number of waits.
    const std::intptr_t writer = writer_.exchange(Socket::none);
    if (writer != Socket::none) {
        ::close(static_cast<int>(writer));
    }
}

WaitResult waitForSocket(const Socket& socket, Interest interest,
                         std::initializer_list<const WakeSignal*> signals,
                         std::optional<std::chrono::milliseconds> timeout) {
    std::array<pollfd, 4> waits{};
    nfds_t count = 0;
    waits[count++] = {descriptorOf(socket), pollFlags(interest), 0};
    for (const WakeSignal* signal : signals) {
        waits[count++] = {static_cast<int>(signal->handle()), 0, 0};
    }
    const int limit = timeout ? static_cast<int>(timeout->count()) : -1;
    int found = 0;
    do {
        found = ::poll(waits.data(), count, limit);
    } while (found < 0 && errno == EINTR);
    for (nfds_t i = 1; i < count; ++i) {
        if (waits[i].revents != 0) {
            return WaitResult::Woken;
        }
    }
    return found == 0 ? WaitResult::TimedOut : WaitResult::Ready;
}

}  // namespace TestSupport
