#pragma once

// A start of the network layer, stopped with its object, for tests of starts and of https.

#include <cstdint>

#include "networking/norvel_networking.h"

namespace TestSupport {

inline constexpr std::uint32_t counted = 0x2;

struct Start : Norvel::Networking::NetworkingContextInitializerRAII {
    Start() : NetworkingContextInitializerRAII{0, 0x10000, nullptr} {
        worked = initializeDefault("$$temp", text);
    }
    Start(const Start&) = delete;
    Start& operator=(const Start&) = delete;
    ~Start() { stop(); }

    void stop() {
        flags |= 0x10000;
        deinitialize((flags & counted) != 0);
    }

    bool worked;
    Brelt::CharString text;
};

inline bool isStarted() {
    return Norvel::Networking::getNorvelNetworkingContext()->clientSsl != nullptr;
}

}  // namespace TestSupport
