#include "library/video/video_picture.h"

#include <algorithm>

namespace korv {

std::size_t leastStride(VideoLayout layout, int width)
{
    const auto pixels = static_cast<std::size_t>(std::max(width, 0));
    switch (layout) {
    case VideoLayout::Yuyv:
    case VideoLayout::Uyvy:
        return (pixels + 1) / 2 * 4;
    case VideoLayout::Rgb24:
        return pixels * 3;
    case VideoLayout::Nv12:
    case VideoLayout::Yu12:
        return (pixels + 1) / 2 * 2;
    case VideoLayout::Gray:
        break;
    }
    return pixels;
}

std::size_t videoPictureSize(const VideoPicture &picture)
{
    const auto rows = static_cast<std::size_t>(std::max(picture.height, 0));
    const std::size_t least = leastStride(picture.layout, picture.width);
    if (rows == 0 || picture.stride < least)
        return 0;
    const bool planar = picture.layout == VideoLayout::Nv12 || picture.layout == VideoLayout::Yu12;
    // the padding behind the last row need not be there
    return planar ? picture.stride * rows + picture.stride * ((rows + 1) / 2)
                  : picture.stride * (rows - 1) + least;
}

} // namespace korv
