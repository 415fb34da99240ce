#pragma once

// What a stage's progress looks like in one line of a terminal. For kivsync.

#include <cstdint>
#include <string>
#include <string_view>

namespace KivHost {

/// The stage's text, then a bar and the percentage where `permille` is above 0; exactly
/// `columns - 1` characters wide, filled up with blanks, so that it covers what stood there before.
/// `text` is ASCII. A terminal too narrow for the bar gets the percentage alone.
std::string progressLine(std::string_view text, std::int32_t permille, std::int32_t columns);

/// How many whole tenths of a stage are done: 0 to 10, whatever the library reports.
std::int32_t tenthsOf(std::int32_t permille);

}  // namespace KivHost
