// The server's end of one connection: reading requests, and sending in every manner.

#include <algorithm>
#include <array>
#include <cctype>

#include "support/scripted_server.h"

namespace TestSupport {

namespace {

constexpr std::string_view headEnd = "\r\n\r\n";
/// How long a wait goes on before it looks whether the server ends.
constexpr std::chrono::milliseconds slice{5};

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
        return std::tolower(x) == std::tolower(y);
    });
}

std::string_view takeUntil(std::string_view& text, std::string_view end) {
    const std::string_view piece = text.substr(0, text.find(end));
    text.remove_prefix(std::min(text.size(), piece.size() + end.size()));
    return piece;
}

/// What stands between the method and the version. It may hold blanks, as a client sends it that
/// doesn't encode them.
std::string targetOf(std::string_view head) {
    std::string_view line = takeUntil(head, "\r\n");
    takeUntil(line, " ");
    return std::string(line.substr(0, line.rfind(' ')));
}

}  // namespace

std::optional<std::string> Request::header(std::string_view name) const {
    std::string_view rest = head;
    takeUntil(rest, "\r\n");
    while (!rest.empty()) {
        std::string_view line = takeUntil(rest, "\r\n");
        if (equalIgnoringCase(takeUntil(line, ":"), name)) {
            line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
            return std::string(line);
        }
    }
    return std::nullopt;
}

bool Connection::waitFor(Interest interest) {
    while (!server_.stopping_) {
        if (socket_.isReady(interest, slice)) {
            return true;
        }
    }
    return false;
}

bool Connection::send(std::string_view bytes) {
    while (isOpen() && !bytes.empty()) {
        const std::optional<std::int64_t> sent = socket_.send(bytes.data(), bytes.size());
        if (sent && *sent >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(*sent));
        } else if (sent || !waitFor(Interest::Write)) {
            close();
        }
    }
    return isOpen();
}

bool Connection::staysFor(std::chrono::milliseconds time) {
    if (server_.stopping_ || socket_.isReady(Interest::Departure, time)) {
        close();
    }
    return isOpen();
}

bool Connection::drip(std::string_view bytes, std::size_t piece,
                      std::chrono::milliseconds interval) {
    while (send(bytes.substr(0, piece)) && bytes.size() > piece && staysFor(interval)) {
        bytes.remove_prefix(piece);
    }
    return isOpen();
}

void Connection::sendForever(std::string_view piece) {
    constexpr std::size_t atOnce = 4096;
    std::string block;
    while (block.size() < atOnce) {
        block += piece;
    }
    // A client that takes everything at once must not keep the server from its end.
    while (send(block) && staysFor(std::chrono::milliseconds(0))) {
    }
}

bool Connection::stall() {
    while (isOpen() && !server_.released_ && staysFor(slice)) {
    }
    return isOpen();
}

bool Connection::fill() {
    std::array<char, 8192> piece;
    while (isOpen()) {
        const std::optional<std::int64_t> count = socket_.receive(piece.data(), piece.size());
        if (count && *count > 0) {
            received_.append(piece.data(), static_cast<std::size_t>(*count));
            return true;
        }
        if (count || !waitFor(Interest::Read)) {
            close();
        }
    }
    return false;
}

bool Connection::readRequest(Request& request) {
    std::size_t end = 0;
    while ((end = received_.find(headEnd)) == std::string::npos) {
        if (!fill()) {
            return false;
        }
    }
    request.head = received_.substr(0, end + headEnd.size());
    received_.erase(0, request.head.size());
    request.target = targetOf(request.head);
    request.indexOnConnection = requests_++;
    return true;
}

void Connection::close() {
    if (isOpen()) {
        socket_.close();
        server_.connectionClosed();
    }
}

void Connection::reset() {
    if (isOpen()) {
        socket_.reset();
        server_.connectionClosed();
    }
}

}  // namespace TestSupport
