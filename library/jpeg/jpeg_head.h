#pragma once

#include "library/base/bytes.h"
#include "library/image/resolution.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include <jpeglib.h>

namespace korv::jpeg {

/// Dots per inch as the JFIF header holds them (JFIF 1.02: whole numbers of 16 bits).
inline std::uint16_t jfifDensity(double dpi)
{
    return static_cast<std::uint16_t>(std::clamp(std::lround(dpi), 1L, 65535L));
}

/// States a resolution in the JFIF header; one that is not known is not stated.
inline void stateDensity(jpeg_compress_struct &state, const Resolution &resolution)
{
    if (!resolution.isKnown())
        return;
    state.density_unit = 1;
    state.X_density = jfifDensity(resolution.x);
    state.Y_density = jfifDensity(resolution.y);
}

/// Writes an APP1 marker with this payload, none when it is empty. Call it between the start of
/// the picture and its first row. libjpeg may leave it by longjmp.
inline void writeExif(jpeg_compress_struct &state, ByteView payload)
{
    if (!payload.empty())
        jpeg_write_marker(&state, JPEG_APP0 + 1, payload.data, static_cast<unsigned>(payload.size));
}

} // namespace korv::jpeg
