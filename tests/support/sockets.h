#pragma once

// The few socket calls under the scripted server: TCP on loopback, never blocking for good.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace TestSupport {

enum class Interest {
    Read,
    Write,
    /// Nothing but the peer's going away.
    Departure,
};

/// A socket that doesn't block; closed with its owner.
class Socket {
public:
    static constexpr std::intptr_t none = -1;

    explicit Socket(std::intptr_t handle = none) : handle_(handle) {}
    Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, none)) {}
    Socket& operator=(Socket&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Socket() { close(); }

    /// Listens on 127.0.0.1 at a port that the system picks. Raises `std::system_error`.
    static Socket listenOnLoopback();
    /// Connects to a port of 127.0.0.1; not open if nothing listens there.
    static Socket connectToLoopback(int port);

    bool isOpen() const { return handle_ != none; }
    int localPort() const;

    /// Waits so long until it is fit for `interest`, or broken; false if that doesn't come.
    bool isReady(Interest interest, std::chrono::milliseconds time) const;
    /// The next waiting connection, or a closed socket if there is none.
    Socket accept() const;

    /// The count of bytes moved; 0 when the peer has ended its side (receive only); nothing if it
    /// would have to wait; -1 when the connection is broken.
    std::optional<std::int64_t> receive(char* buffer, std::size_t size) const;
    std::optional<std::int64_t> send(const char* bytes, std::size_t size) const;

    /// Ends the connection in order, or with a reset that throws away what is under way.
    void close();
    void reset();

private:
    std::intptr_t handle_ = none;
};

}  // namespace TestSupport
