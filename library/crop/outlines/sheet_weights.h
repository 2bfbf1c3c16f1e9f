#pragma once

#include "library/crop/outlines/quad_features.h"

#include <array>
#include <cstddef>

namespace korv::crop {

/// A linear function of the inputs, and a few more that are zero up to some point and then linear.
template <std::size_t kInputs, std::size_t kBent> struct Weights
{
    double constant;
    std::array<float, kInputs> linear;
    std::array<float, kBent> offsets;
    std::array<float, kBent> worth; ///< of each bent function
    std::array<std::array<float, kInputs>, kBent> inner;

    double operator()(const std::array<double, kInputs> &inputs) const
    {
        double sum = constant;
        for (std::size_t i = 0; i < kInputs; ++i)
            sum += static_cast<double>(linear[i]) * inputs[i];
        for (std::size_t k = 0; k < kBent; ++k) {
            double bent = static_cast<double>(offsets[k]);
            for (std::size_t i = 0; i < kInputs; ++i)
                bent += static_cast<double>(inner[k][i]) * inputs[i];
            if (bent > 0)
                sum += bent * static_cast<double>(worth[k]);
        }
        return sum;
    }
};

constexpr std::size_t kTrustInputs = kFeatureCount + 5;

/// Fitted by tools/crop/fit.py, which prints their definitions.
extern const Weights<kFeatureCount, 16> kRankWeights;
extern const Weights<kTrustInputs, 6> kTrustWeights;

} // namespace korv::crop
