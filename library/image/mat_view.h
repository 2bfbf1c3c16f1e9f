#pragma once

#include "library/image/image.h"

#include <opencv2/core.hpp>

namespace korv {

/// The image's pixels as OpenCV sees them, without a copy. Valid as long as the image.
inline cv::Mat matView(Image &image)
{
    return cv::Mat(image.height(), image.width(),
                   image.format() == PixelFormat::Gray8 ? CV_8UC1 : CV_8UC3, image.pixels(),
                   image.stride());
}

/// For reading only: OpenCV has no matrix of constant pixels.
inline cv::Mat matView(const Image &image)
{
    return matView(const_cast<Image &>(image));
}

} // namespace korv
