#pragma once

// How long and how much the library puts up with, in one place. A pool copies the values in its
// `initialize`; tests shorten them before that.

#include <chrono>
#include <cstdint>

namespace Norvel::Networking {

struct Limits {
    /// From the name's look-up to the end of the TLS handshake, a proxy's CONNECT included.
    std::chrono::milliseconds connectTime{30'000};
    /// A transfer that moves less than 1 byte a second ends after this time: a dead server must not
    /// hold a host for ever.
    std::chrono::milliseconds stallTime{60'000};
    /// Longest time between two progress callbacks of a request: how soon an abort is seen.
    std::chrono::milliseconds progressInterval{1'000};
    /// All header lines of one request together, interim responses and trailers included: real
    /// servers stay below 16 KiB, and a server could go on for ever.
    std::int64_t headerBytes = std::int64_t{128} * 1024;
    std::int32_t headerLines = 1'000;
    /// Bytes that one read takes from a socket at most; libcurl allocates such a buffer for each
    /// request. With 16 KiB a large file takes twice the time; from 128 KiB on the C library maps
    /// and unmaps the buffer each time, and many files below 16 KiB take a third longer.
    std::int32_t receiveBuffer = 100 * 1024;
};

/// What pools made from now on go by. Not locked: changed only while no pool is being made.
Limits& currentLimits();

}  // namespace Norvel::Networking
