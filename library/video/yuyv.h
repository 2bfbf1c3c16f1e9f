#pragma once

#include "library/base/result.h"

#include <cstdint>

namespace korv {

/// Turns YUYV 4:2:2 (ITU-R BT.601, 16..235 luma) into R, G, B bytes. `source` holds width x height
/// x 2 bytes, `destination` takes width x height x 3; they may not overlap. -EINVAL: null, a side
/// of 0 or over kMaxSide, odd width. Throws std::bad_alloc, cv::Exception.
Result<void> yuyvToRgb(const std::uint8_t *source, std::uint8_t *destination, unsigned width,
                       unsigned height);

} // namespace korv
