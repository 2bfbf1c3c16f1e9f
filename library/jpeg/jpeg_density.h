#pragma once

#include "library/image/resolution.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace korv::jpeg {

/// Dots per inch as the JFIF header states them (JFIF 1.02: whole numbers of 16 bits).
inline std::uint16_t jfifDensity(double dpi)
{
    return static_cast<std::uint16_t>(std::clamp(std::lround(dpi), 1L, 65535L));
}

/// States a resolution in the JFIF header of libjpeg's `state`; one that is not known is not stated.
template <typename CompressState>
void stateDensity(CompressState &state, const Resolution &resolution)
{
    if (!resolution.isKnown())
        return;
    state.density_unit = 1;
    state.X_density = jfifDensity(resolution.x);
    state.Y_density = jfifDensity(resolution.y);
}

} // namespace korv::jpeg
