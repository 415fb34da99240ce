#pragma once

// One start of the networking layer, as the host holds it. For the table's entries alone.

#include "foundation/error_chain.h"
#include "networking/norvel_networking.h"

/// Starts the layer when it is made and takes the start back when it ends. A failed start is no
/// failure of the making: it sits in `error` until the host asks.
struct NetworkInitializerRAIIImpl : Norvel::Networking::NetworkingContextInitializerRAII {
    /// Why the start failed; empty if it worked. Never changes.
    Brelt::ErrorChain error;

    /// Raises `std::bad_alloc` where a failure can't even be noted.
    NetworkInitializerRAIIImpl();
    NetworkInitializerRAIIImpl(const NetworkInitializerRAIIImpl&) = delete;
    NetworkInitializerRAIIImpl& operator=(const NetworkInitializerRAIIImpl&) = delete;
    ~NetworkInitializerRAIIImpl();
};
static_assert(sizeof(void*) != 8 || sizeof(NetworkInitializerRAIIImpl) == 24);
