#pragma once

#include "library/image/image.h"
#include "library/threads/helper_thread.h"

#include <array>

#include <opencv2/core.hpp>

namespace korv::crop {

using Planes = std::array<cv::Mat, 3>; ///< CV_8UC1: luma, red and blue difference

/// A photograph made small enough to search, smoothed. Its luma exists twice, the colour differences
/// once.
struct SearchPicture
{
    double scale = 1; ///< its pixels for one of the frame
    Planes closed; ///< without dark things as thin as writing
    cv::Mat plainLuma; ///< with them; not smoothed, as it is seldom needed
    cv::Mat writing; ///< CV_8UC1: how much of the neighbourhood is dark and thin, 255 for all of it

    cv::Size size() const { return plainLuma.size(); }
    /// From this picture's pixels to the frame's; pixel centres are at whole numbers in both.
    cv::Point2d toFrame(cv::Point2d point) const;
    cv::Point2d fromFrame(cv::Point2d point) const;
    std::array<cv::Point2d, 4> toFrame(std::array<cv::Point2d, 4> points) const;
    std::array<cv::Point2d, 4> fromFrame(std::array<cv::Point2d, 4> points) const;
};

/// Whether two places are of one colour, but for noise.
bool isAlike(const Planes &planes, cv::Point a, cv::Point b);

/// Size of the search picture that would be made.
cv::Size searchSize(const Image &image);

SearchPicture makeSearchPicture(const Image &image, HelperThread &core);

} // namespace korv::crop
