#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <jpeglib.h>

namespace korv::jpeg {

/// States dots per inch in the JFIF header (JFIF 1.02: whole numbers of 16 bits); 0 is not known.
inline void stateDensity(jpeg_compress_struct &state, double dpi)
{
    if (dpi <= 0)
        return;
    const auto density = static_cast<UINT16>(std::clamp(std::lround(dpi), 1L, 65535L));
    state.density_unit = 1;
    state.X_density = density;
    state.Y_density = density;
}

} // namespace korv::jpeg
