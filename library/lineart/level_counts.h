#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace korv {

/// How often each of the levels 0 to 255 occurs.
using LevelCounts = std::array<std::int64_t, 256>;

/// Counts what `levelAt(y, x)` says, at every third pixel of every third row: enough of a photograph
/// for its quantiles, in a ninth of the time.
template <typename LevelAt> LevelCounts countLevels(int rows, int columns, LevelAt levelAt)
{
    constexpr int kStep = 3;
    LevelCounts counts{};
    for (int y = 0; y < rows; y += kStep) {
        for (int x = 0; x < columns; x += kStep)
            ++counts[static_cast<std::size_t>(levelAt(y, x))];
    }
    return counts;
}

/// The level that has the share of all counts below it, interpolated between whole levels.
/// Precondition: something was counted.
inline double quantile(const LevelCounts &counts, double share)
{
    std::int64_t total = 0;
    for (const std::int64_t count : counts)
        total += count;
    const double wanted = share * static_cast<double>(total);
    double below = 0;
    std::size_t level = 0;
    while (level + 1 < counts.size() && below + static_cast<double>(counts[level]) < wanted)
        below += static_cast<double>(counts[level++]);
    const auto here = static_cast<double>(std::max<std::int64_t>(1, counts[level]));
    return static_cast<double>(level) + (wanted - below) / here - 0.5;
}

} // namespace korv
