#pragma once

// Path text and the directories that lead to a path. Any room may use it.

#include <cstdint>

#include "foundation/char_string.h"
#include "foundation/error_chain.h"

namespace Brelt {

/// Reduces a path to one shape: `\` for each run of separators (`/` or `\`), a leading pair kept;
/// `.` segments gone, `..` taking back the segment before it; no separator at the end.
///
/// This is arithmetic on the text: the file system isn't asked. Some texts keep their dots, among
/// them a `..` behind a first segment without a separator before it (`a\..` stays), a `..` with
/// nothing to take back, and a leading `.\`. So the result may still lead upwards: whoever takes a
/// path from outside judges it after this.
///
/// A null or empty `text` gives the empty text, never a null handle. Raises `std::bad_alloc`.
CharString normalizePath(const char* text);

/// True for a file and for a directory. `path` isn't null.
bool fileExists(const char* path);

/// 1 for a directory, else 0; also for a null `path`.
std::int32_t isDirectory(const char* path);

/// Makes the directory `path` and all that lead to it; see `createPathImpl`.
ErrorChain createPath(const char* path);

/// Makes the directories that lead to the file `path`, which itself isn't made.
ErrorChain createFilePath(const char* path);

/// Makes each missing directory on the way to `path`, and `path` itself with `includeLast`.
///
/// Both separators part the names; `.` and `..` go to the system as they are. A path of 260 bytes
/// or more is refused. A level that can't be made doesn't stop the walk: if a later one exists or
/// can be made, all is well; otherwise the first failure of the last run of them is told, with the
/// system's code and the path up to it. What isn't a directory but stands in the way ends the walk
/// with code 183. What was made stays. Safe against others that make the same path.
ErrorChain createPathImpl(const char* path, bool includeLast);

}  // namespace Brelt
