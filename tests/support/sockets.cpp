#include "support/sockets.h"

#include <algorithm>

#include "socket_calls.h"  // of this system

namespace TestSupport {

namespace {

static_assert(static_cast<Calls::Handle>(Socket::none) == static_cast<Calls::Handle>(-1));

Calls::Handle systemHandle(std::intptr_t handle) {
    return static_cast<Calls::Handle>(handle);
}

sockaddr_in loopbackAddress(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

void setOption(std::intptr_t handle, int level, int name, const void* value, std::size_t size) {
    ::setsockopt(systemHandle(handle), level, name, static_cast<const char*>(value),
                 static_cast<Calls::Length>(size));
}

/// Of more than one call takes everywhere, a part.
Calls::Length limited(std::size_t size) {
    return static_cast<Calls::Length>(std::min(size, std::size_t{1} << 30));
}

std::optional<std::int64_t> moved(std::int64_t count) {
    return count < 0 && Calls::wouldBlock() ? std::nullopt : std::optional(count);
}

short pollFlags(Interest interest) {
    switch (interest) {
        case Interest::Read:
            return Calls::readable;
        case Interest::Write:
            return Calls::writable;
        case Interest::Departure:
            break;
    }
    return Calls::departed;
}

}  // namespace

Socket Socket::listenOnLoopback() {
    Calls::start();
    Socket socket(static_cast<std::intptr_t>(Calls::makeStream()));
    const sockaddr_in address = loopbackAddress(0);
    if (!socket.isOpen() ||
        ::bind(systemHandle(socket.handle_), reinterpret_cast<const sockaddr*>(&address),
               sizeof(address)) != 0 ||
        ::listen(systemHandle(socket.handle_), SOMAXCONN) != 0) {
        throw Calls::lastError("listen on loopback");
    }
    Calls::stopBlocking(systemHandle(socket.handle_));
    return socket;
}

Socket Socket::connectToLoopback(int port) {
    Calls::start();
    Socket socket(static_cast<std::intptr_t>(Calls::makeStream()));
    const sockaddr_in address = loopbackAddress(port);
    if (::connect(systemHandle(socket.handle_), reinterpret_cast<const sockaddr*>(&address),
                  sizeof(address)) != 0) {
        return Socket();
    }
    Calls::stopBlocking(systemHandle(socket.handle_));
    return socket;
}

int Socket::localPort() const {
    sockaddr_in address{};
    Calls::Length size = sizeof(address);
    ::getsockname(systemHandle(handle_), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

Socket Socket::accept() const {
    Socket socket(static_cast<std::intptr_t>(Calls::accept(systemHandle(handle_))));
    if (socket.isOpen()) {
        const int on = 1;
        Calls::stopBlocking(systemHandle(socket.handle_));
        setOption(socket.handle_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    }
    return socket;
}

bool Socket::isReady(Interest interest, std::chrono::milliseconds time) const {
    Calls::PollEntry entry{systemHandle(handle_), pollFlags(interest), 0};
    return Calls::poll(entry, static_cast<int>(time.count())) > 0;
}

std::optional<std::int64_t> Socket::receive(char* buffer, std::size_t size) const {
    return moved(::recv(systemHandle(handle_), buffer, limited(size), 0));
}

std::optional<std::int64_t> Socket::send(const char* bytes, std::size_t size) const {
    return moved(::send(systemHandle(handle_), bytes, limited(size), Calls::sendFlags));
}

void Socket::close() {
    if (isOpen()) {
        Calls::close(systemHandle(std::exchange(handle_, none)));
    }
}

void Socket::reset() {
    if (isOpen()) {
        const linger atOnce{1, 0};
        setOption(handle_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
        close();
    }
}

}  // namespace TestSupport
