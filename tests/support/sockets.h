#pragma once

// The few socket calls under the scripted server: TCP on loopback, never blocking for good.
// The scripted server uses it; what differs between systems stands in socket_calls.h.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <utility>

namespace TestSupport {

/// A socket that doesn't block; closed with its owner.
class Socket {
public:
    static constexpr std::intptr_t none = -1;

    Socket() = default;
    explicit Socket(std::intptr_t handle) : handle_(handle) {}
    Socket(Socket&& other) noexcept;
    Socket& operator=(Socket&& other) noexcept;
    ~Socket() { close(); }

    /// Listens on 127.0.0.1 at a port that the system picks. Raises `std::system_error`.
    static Socket listenOnLoopback();

    /// Connects to a port of 127.0.0.1; not open if nothing listens there.
    static Socket connectToLoopback(int port);

    bool isOpen() const { return handle_ != none; }
    std::intptr_t handle() const { return handle_; }
    /// Gives the handle to the caller, who closes it from now on.
    std::intptr_t release() { return std::exchange(handle_, none); }
    int localPort() const;

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

/// A flag that is raised once, for good, and that waits on sockets see.
class WakeSignal {
public:
    WakeSignal();
    WakeSignal(const WakeSignal&) = delete;
    WakeSignal& operator=(const WakeSignal&) = delete;
    ~WakeSignal() { raise(); }

    void raise();
    std::intptr_t handle() const { return reader_.handle(); }

private:
    /// The two ends of a connection of our own: pipes can't be waited for beside sockets
    /// everywhere.
    Socket reader_;
    std::atomic<std::intptr_t> writer_{Socket::none};
};

enum class Interest {
    Read,
    Write,
    /// Nothing but the peer's going away.
    Departure,
};

enum class WaitResult { Ready, Woken, TimedOut };

/// Waits until the socket is fit for `interest` (or broken), a signal is raised, or time is over.
/// A raised signal goes first.
WaitResult waitForSocket(const Socket& socket, Interest interest,
                         std::initializer_list<const WakeSignal*> signals,
                         std::optional<std::chrono::milliseconds> timeout = std::nullopt);

}  // namespace TestSupport
