#pragma once

// A start of the network layer, stopped with its object.

#include "networking/norvel_networking.h"

namespace TestSupport {

struct Start : Norvel::Networking::NetworkingContextInitializerRAII {
    Start() : NetworkingContextInitializerRAII{0, 0x10000, nullptr} {
        worked = initializeDefault("$$temp", text);
    }
    Start(const Start&) = delete;
    Start& operator=(const Start&) = delete;
    ~Start() { stop(); }

    bool isCounted() const { return (flags & 0x2U) != 0; }
    void stop() {
        flags |= 0x10000;
        deinitialize(isCounted());
    }

    bool worked;
    Brelt::CharString text;
};

inline bool isStarted() {
    return Norvel::Networking::getNorvelNetworkingContext()->clientSsl != nullptr;
}

}  // namespace TestSupport
