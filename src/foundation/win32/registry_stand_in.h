#pragma once

// The registry where there is none: one key, Internet Settings of the current user, whose values
// come from the environment. Only on POSIX; tests put values of their own into it.
//
// The values are read from `http_proxy`, `https_proxy`, `ftp_proxy`, `all_proxy` and `no_proxy`
// when they are asked for, lower case first, then upper case, but never `HTTP_PROXY`, which a web
// server fills from a request's header. An empty variable counts as unset.
//
// - "ProxyEnable": 1 when any of them is set, otherwise 0.
// - "ProxyServer": the list form, such as "http=proxy:8080;https=proxy:8080", without "http://" and
//   without one slash at the end. `all_proxy` fills what isn't set. Another scheme stays in the
//   value.
// - "ProxyOverride": `no_proxy` as patterns with ";" between them. A domain covers its sub-domains
// too.

#include <cstdint>

namespace Brelt {

/// Gives a value of the key the type and the bytes told, in place of what the environment says.
/// `name` is UTF-8, in any case; texts are UTF-16 with or without a terminator. Any thread.
void setStandInRegistryValue(const char* name, std::uint32_t type, const void* data,
                             std::uint32_t size);

/// Makes a value missing, whatever the environment says. Any thread.
void removeStandInRegistryValue(const char* name);

/// Goes back to the environment for all values. Any thread.
void resetStandInRegistry();

/// How many keys are open. Any thread.
std::int32_t openStandInRegistryKeys();

}  // namespace Brelt
