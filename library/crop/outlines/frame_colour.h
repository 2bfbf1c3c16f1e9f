#pragma once

#include "library/image/image.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <opencv2/core.hpp>

namespace korv::crop {

/// Colour of the nearest pixel of the frame; gray has three equal channels.
inline cv::Vec3f frameColourAt(const Image &image, cv::Point2d point)
{
    const int x = std::clamp(static_cast<int>(point.x + 0.5), 0, image.width() - 1);
    const int y = std::clamp(static_cast<int>(point.y + 0.5), 0, image.height() - 1);
    const int channels = image.channels();
    const std::uint8_t *pixel = image.row(y) + std::ptrdiff_t{x} * channels;
    if (channels == 1) {
        const auto level = static_cast<float>(pixel[0]);
        return {level, level, level};
    }
    return {static_cast<float>(pixel[0]), static_cast<float>(pixel[1]),
            static_cast<float>(pixel[2])};
}

/// The mean of three places in a row, `along` apart, the middle one being `point`.
inline cv::Vec3f frameColourAlong(const Image &image, cv::Point2d point, cv::Point2d along)
{
    return (frameColourAt(image, point - along) + frameColourAt(image, point)
            + frameColourAt(image, point + along))
        * (1.0F / 3);
}

} // namespace korv::crop
