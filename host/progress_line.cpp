// What a stage's progress looks like in one line of a terminal. See progress_line.h.

#include "progress_line.h"

#include <algorithm>

namespace KivHost {

namespace {

constexpr std::size_t widestBar = 40;
constexpr std::size_t narrowestBar = 10;

std::string barOf(std::int32_t permille, std::size_t width) {
    const std::size_t filled = width * static_cast<std::size_t>(permille) / 1000;
    return "[" + std::string(filled, '#') + std::string(width - filled, '.') + "]";
}

std::string percentageOf(std::int32_t permille) {
    const std::string digits = std::to_string(permille / 10);
    return std::string(digits.size() < 3 ? 3 - digits.size() : 0, ' ') + digits + " %";
}

}  // namespace

std::string progressLine(std::string_view text, std::int32_t permille, std::int32_t columns) {
    const std::size_t width = static_cast<std::size_t>(std::max(columns, 2)) - 1;
    std::string line(text);
    if (permille > 0) {
        const std::int32_t shown = std::min(permille, 1000);
        const std::string percentage = percentageOf(shown);
        // Two brackets, and a blank before and behind them.
        const std::size_t taken = line.size() + percentage.size() + 4;
        if (width >= taken + narrowestBar) {
            line += " " + barOf(shown, std::min(width - taken, widestBar));
        }
        line += " " + percentage;
    }
    line.resize(width, ' ');
    return line;
}

std::int32_t tenthsOf(std::int32_t permille) {
    return std::clamp(permille, 0, 1000) / 100;
}

}  // namespace KivHost
