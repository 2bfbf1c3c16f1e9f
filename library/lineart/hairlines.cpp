#include "library/lineart/hairlines.h"

#include "library/lineart/soft_lines.h"

#include <algorithm>
#include <array>

#include <opencv2/core.hpp>

namespace korv {

namespace {

constexpr double kReach = 0.01; ///< inches from the middle of a hairline to the paper beside it
constexpr double kNoise = 3; ///< deviations of the noise that are no line

/// The lighter of what is around every pixel in the direction where both sides are lightest: more than
/// the pixel only in the middle of a line. `first` to `last` are rows of `page`.
cv::Mat paperBeside(const cv::Mat &page, int first, int last, int reach)
{
    const std::array<cv::Point, 4> directions = {cv::Point(1, 0), cv::Point(0, 1), cv::Point(1, 1),
                                                 cv::Point(1, -1)};
    const int width = page.cols - 2 * reach;
    cv::Mat beside(last - first, width, CV_8UC1, cv::Scalar(0));
    cv::Mat darker;
    for (const cv::Point &direction : directions) {
        const cv::Point step = direction * reach;
        const auto moved = [&](cv::Point by) {
            return page(cv::Rect(reach + by.x, first + by.y, width, last - first));
        };
        cv::min(moved(step), moved(-step), darker);
        cv::max(beside, darker, beside);
    }
    return beside;
}

} // namespace

void deepenHairlines(EvenedPage &page)
{
    const int reach = std::max(1, cvRound(kReach * page.dpi));
    if (page.sharp.cols <= 2 * reach || page.sharp.rows <= 2 * reach)
        return;
    constexpr int kRowsAtOnce = 64; // what is worked on stays in the cache
    cv::Mat result = page.sharp.clone();
    for (int first = reach; first < page.sharp.rows - reach; first += kRowsAtOnce) {
        const int last = std::min(first + kRowsAtOnce, page.sharp.rows - reach);
        const cv::Rect place(reach, first, page.sharp.cols - 2 * reach, last - first);
        cv::Mat depth = paperBeside(page.sharp, first, last, reach);
        cv::subtract(depth, page.sharp(place), depth); // 0 where it would be negative
        cv::subtract(depth, cv::Scalar(cvRound(kNoise * page.noise)), depth);
        // once more as much below the paper beside it as it is already
        cv::subtract(page.sharp(place), depth, result(place));
    }
    setOffSoftLines(page, result);
    page.sharp = result;
}

} // namespace korv
