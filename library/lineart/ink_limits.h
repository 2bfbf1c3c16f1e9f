#pragma once

#include "library/lineart/evened_page.h"

#include <opencv2/core.hpp>

namespace korv {

/// Side of the squares of pixels that have one limit.
inline constexpr int kLimitCell = 4;

/// The level of `page.sharp` below which a pixel is ink: a share of the darkest stroke nearby, and 0
/// where nothing stands out of the paper and its noise. In a picture of the squares' size, of which the
/// last ones may not be whole. Throws std::bad_alloc, cv::Exception.
cv::Mat inkLimits(const EvenedPage &page);

/// How deep ink is at every place, in pictures (CV_8UC1) of the squares' size.
struct InkDepths
{
    /// By how much the darkest stroke nearby is darker than paper, but no less than what leaves room for
    /// shades between both; 0 where nothing stands out of the paper and its noise.
    cv::Mat depths;
    cv::Mat whites; ///< level of the paper, where the depth is not 0, as all that follows
    cv::Mat leastDepths; ///< what is darker than paper by less is no ink
    cv::Mat noise; ///< deviation of the paper, in 1 / kNoiseParts of a level
};

inline constexpr int kNoiseParts = 16;

/// Throws std::bad_alloc, cv::Exception.
InkDepths inkDepths(const EvenedPage &page);

} // namespace korv
