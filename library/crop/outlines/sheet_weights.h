#pragma once

#include "library/crop/outlines/quad_features.h"
#include "library/crop/outlines/surroundings.h"

#include <array>
#include <cstddef>

namespace korv::crop {

/// A network of one hidden layer of rectified linear units (ReLU), with a linear path from the inputs
/// straight to the output.
template <std::size_t kInputs, std::size_t kReluCount> struct Weights
{
    double constant;
    std::array<float, kInputs> linear;
    std::array<float, kReluCount> biases;
    std::array<float, kReluCount> outputWeights;
    std::array<std::array<float, kInputs>, kReluCount> hiddenWeights;

    double operator()(const std::array<double, kInputs> &inputs) const
    {
        double sum = constant;
        for (std::size_t i = 0; i < kInputs; ++i)
            sum += static_cast<double>(linear[i]) * inputs[i];
        for (std::size_t k = 0; k < kReluCount; ++k) {
            double unit = static_cast<double>(biases[k]);
            for (std::size_t i = 0; i < kInputs; ++i)
                unit += static_cast<double>(hiddenWeights[k][i]) * inputs[i];
            if (unit > 0)
                sum += unit * static_cast<double>(outputWeights[k]);
        }
        return sum;
    }
};

constexpr std::size_t kConfidenceInputs = kFeatureCount + 6 + Surroundings::kCount;

/// Fitted by tools/crop/fit.py, which prints their definitions.
extern const Weights<kFeatureCount, 16> kRankWeights;
extern const Weights<kConfidenceInputs, 40> kConfidenceWeights;

} // namespace korv::crop
