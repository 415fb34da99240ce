#pragma once

// The process-wide side of the library: libcurl's own start, and the network layer that https
// needs. Used by the pools.

#include <string>

#include "networking/norvel_networking.h"
#include "networking/platform.h"

namespace Norvel::Networking {

/// What an https pool goes by.
struct ClientSSLConfiguration {
    CertificateSource certificates;
};

/// Starts libcurl once for the process; it is never stopped, since other threads may be using it.
/// False if it can't be started; the next call tries again.
bool startCurl();

/// Copies `configuration`, or tells why it can't be used; the empty text if it worked. The layer's
/// own configuration can be used only while the layer is started.
std::string copyConfiguration(const ClientSSLConfiguration* configuration,
                              ClientSSLConfiguration& copy);

}  // namespace Norvel::Networking
