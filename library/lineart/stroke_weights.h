#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace korv {

/// What StrokeNetwork has learned.
struct StrokeWeights
{
    static constexpr std::size_t kUnits = 16;
    static constexpr std::size_t kInputs = 39; ///< 37 levels, the depth of ink, the noise
    static constexpr std::size_t kOutputs = 4;

    /// Of levels in 1 / 2^kInputBits.
    static constexpr int kInputBits = 16;
    /// Of what the units give to the outputs.
    static constexpr int kUnitBits = 8;
    static constexpr int kOutputBits = 10;

    std::array<std::array<std::int16_t, kInputs>, kUnits> units;
    std::array<std::int32_t, kUnits> unitBiases; ///< in 1 / 2^kInputBits
    std::array<std::array<std::int16_t, kUnits>, kOutputs> outputs;
    std::array<std::int32_t, kOutputs> outputBiases; ///< in 1 / 2^(kUnitBits + kOutputBits)
};

/// tools/lineart/learn.py learns such weights and prints their definition.
extern const StrokeWeights kStrokeWeights;

} // namespace korv
