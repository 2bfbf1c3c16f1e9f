#pragma once

#include "library/base/bytes.h"

#include <cstddef>

namespace korv {

/// How an uncompressed video picture lies in memory (the kernel's names: YUYV, UYVY, NV12, YU12,
/// RGB3, GREY).
enum class VideoLayout { Yuyv, Uyvy, Nv12, Yu12, Rgb24, Gray };

/// An uncompressed video picture; the bytes are borrowed.
struct VideoPicture
{
    ByteView bytes;
    VideoLayout layout = VideoLayout::Yuyv;
    int width = 0;
    int height = 0;
    std::size_t stride = 0; ///< bytes from a row of the first plane to the next
    bool fullRange = false; ///< luma 0..255 instead of 16..235 (ITU-R BT.601); not for RGB
};

/// The least bytes a row of the first plane takes.
std::size_t leastStride(VideoLayout layout, int width);

/// The bytes that a picture of this shape takes, whatever lies in `bytes`.
std::size_t videoPictureSize(const VideoPicture &picture);

} // namespace korv
