#pragma once

// Values of the one key that the library reads, the user's proxy settings, as a test wants them: in
// the stand-in, or in a key of the real registry that takes the place of the user's own for this
// process alone.

#include <cstdint>
#include <string>

namespace TestSupport {

/// `name` is UTF-8; texts among the bytes are UTF-16 with or without a terminator.
void setRegistryValue(const char* name, std::uint32_t type, const void* bytes, std::uint32_t size);

void removeRegistryValue(const char* name);

/// On Windows all values go; elsewhere they come from the environment again.
void resetRegistry();

}  // namespace TestSupport
