#pragma once

#include <cstdint>

namespace korv {

/// Repeatable chance: the same seed gives the same numbers on every machine (SplitMix64).
class Scatter
{
public:
    Scatter(std::uint64_t seed, std::uint64_t stream)
        : m_state(seed * 0xD1342543DE82EF95U + stream * 0x2545F4914F6CDD1DU + 1)
    {
        next();
    }

    std::uint64_t next()
    {
        m_state += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = m_state;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31);
    }

    /// From `low` up to `high`.
    double between(double low, double high)
    {
        constexpr double kSteps = 1 << 24;
        return low + (high - low) * static_cast<double>(next() >> 40) / kSteps;
    }

    /// From 0 up to, but not including, `count`.
    int below(int count) { return static_cast<int>(next() % static_cast<std::uint64_t>(count)); }

    bool happens(double probability) { return between(0, 1) < probability; }

private:
    std::uint64_t m_state;
};

} // namespace korv
