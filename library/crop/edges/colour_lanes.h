#pragma once

#include <cstdint>
#include <cstring>

#include <opencv2/core/hal/intrin.hpp>

namespace korv::crop {

/// Stores the first three levels as a colour pixel, and a byte more than that.
inline void storePixel(const cv::v_uint16x8 &levels, std::uint8_t *out)
{
    const cv::v_int16x8 lanes = cv::v_reinterpret_as_s16(levels);
    const std::uint32_t pixel = cv::v_reinterpret_as_u32(cv::v_pack_u(lanes, lanes)).get0();
    std::memcpy(out, &pixel, sizeof pixel);
}

} // namespace korv::crop
