#pragma once

// The one fact about file names that differs by system, for code that judges names from outside.
// Any room may use it; it brings in nothing of the system.

namespace Brelt {

/// True where the system takes some names elsewhere than they say: device names, names with a
/// colon, names that end in a dot or a blank, and names that differ in case alone.
#ifdef _WIN32
inline constexpr bool windowsTakesNamesElsewhere = true;
#else
inline constexpr bool windowsTakesNamesElsewhere = false;
#endif

}  // namespace Brelt
