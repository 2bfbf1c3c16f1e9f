// In: an outline that would be cut out, and the luma of the search picture. Out: whether it is an empty
// cutting mat, which is a desk and no sheet, however clear its four sides are.
//
// Seen straight from above, a mat's grid has the same distance between lines in both directions. Squared
// paper has that, too, but its lines are darker than the paper. Paper seen between close dark lines or
// between characters is a light line as well. What is light and narrow on the whole tells by the
// skewness of the luma: it is positive where most of it is ground and some is lighter. Of the pictures
// in docs/crop.md, mats have 1.3 or more, squared paper -2.1 or less.
//
// Distances are in pixels of the search picture.

#include "library/crop/outlines/cutting_mat.h"

#include "library/base/median.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace korv::crop {

namespace {

constexpr int kNarrowLine = 7; ///< wider than a line of the grid
constexpr int kLighterLine = 2; ///< levels above what is around it
constexpr double kRimOfMat =
    0.08; ///< of its size, at all sides: often blank, and without its corners
constexpr float kScans = 48; ///< rows, or columns, that are enough to see lines across them
constexpr double kLineLength = 0.6; ///< share of the mat's height or width at which a line is seen
constexpr std::size_t kLeastLines = 6; ///< in either direction
constexpr double kLeastGap = 6; ///< between them; nearer ones are not told from their ground
constexpr double kMostOnLines = 0.4; ///< share of the mat
constexpr double kEvenGap = 0.25; ///< of the usual gap, that one may be off a multiple of it
constexpr double kEvenGaps = 0.9; ///< share of the gaps
constexpr double kSquareGaps = 0.15; ///< logarithm of the ratio of both directions
constexpr int kGroundAround = 21; ///< whose mean is the ground's
constexpr double kLeastSkewness = 0.5;

/// Of the outline without its rim, in pixels of the search picture.
cv::Size2f sizeOf(const Corners &corners)
{
    const auto side = [&](std::size_t i) { return length(corners[(i + 1) % 4] - corners[i]); };
    const double share = (1 - 2 * kRimOfMat) / 2;
    return {static_cast<float>(share * (side(0) + side(2))),
            static_cast<float>(share * (side(1) + side(3)))};
}

/// The outline as seen straight from above, without its rim.
cv::Mat seenFromAbove(const Corners &corners, const cv::Mat &luma, const cv::Size2f &size)
{
    const auto rim = static_cast<float>(kRimOfMat / (1 - 2 * kRimOfMat));
    const cv::Point2f first(-rim * size.width, -rim * size.height);
    const cv::Point2f last = cv::Point2f(size.width, size.height) - first;
    const std::array<cv::Point2f, 4> flat{{first, {last.x, first.y}, last, {first.x, last.y}}};
    const std::array<cv::Point2f, 4> seen{corners[0], corners[1], corners[2], corners[3]};
    cv::Mat result;
    cv::warpPerspective(luma, result, cv::getPerspectiveTransform(flat.data(), seen.data()), size,
                        cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_REPLICATE);
    return result;
}

/// The light lines that run all the way down.
struct Ruling
{
    std::vector<double> gaps; ///< from the middle of a line to that of the next
    double usualGap = 0;
    double share = 0; ///< of the width that lies on lines

    bool isEven() const
    {
        const auto isMultiple = [this](double gap) {
            const double multiple = gap / usualGap;
            return multiple >= 1 - kEvenGap
                && std::abs(multiple - std::round(multiple)) <= kEvenGap;
        };
        if (gaps.size() + 1 < kLeastLines || usualGap < kLeastGap || share > kMostOnLines)
            return false;
        const auto even = std::count_if(gaps.begin(), gaps.end(), isMultiple);
        return static_cast<double>(even) >= kEvenGaps * static_cast<double>(gaps.size());
    }
};

Ruling rulingOf(const cv::Mat &mat)
{
    cv::Mat lines;
    cv::morphologyEx(mat, lines, cv::MORPH_TOPHAT,
                     cv::getStructuringElement(cv::MORPH_RECT, {kNarrowLine, 1}));
    cv::threshold(lines, lines, kLighterLine - 1, 1, cv::THRESH_BINARY);
    cv::Mat sums;
    cv::reduce(lines, sums, 0, cv::REDUCE_SUM, CV_32S);
    const int *sum = sums.ptr<int>();
    const double enough = kLineLength * mat.rows;
    Ruling result;
    double last = -1; // line's middle
    for (int x = 0; x < mat.cols; ++x) {
        const int first = x;
        while (x < mat.cols && sum[x] >= enough)
            ++x;
        if (x == first)
            continue;
        const double middle = (first + x - 1) / 2.0;
        if (last >= 0)
            result.gaps.push_back(middle - last);
        last = middle;
        result.share += 1.0 * (x - first) / mat.cols;
    }
    if (!result.gaps.empty()) {
        std::vector<double> gaps = result.gaps;
        result.usualGap = medianOf(gaps);
    }
    return result;
}

/// Of the differences from what is around: above 0 where the lighter ones are few and large.
double skewnessOf(const cv::Mat &mat)
{
    cv::Mat level;
    mat.convertTo(level, CV_32F);
    cv::Mat around;
    cv::blur(level, around, {kGroundAround, kGroundAround});
    const cv::Mat difference = level - around;
    const cv::Mat square = difference.mul(difference);
    const double variance = cv::mean(square)[0];
    return variance > 0 ? cv::mean(square.mul(difference))[0] / std::pow(variance, 1.5) : 0;
}

} // namespace

bool isCuttingMat(const Corners &corners, const cv::Mat &luma)
{
    const cv::Size2f size = sizeOf(corners);
    if (std::min(size.width, size.height) < kLeastLines * kLeastGap)
        return false;
    const cv::Size2f rows(size.width, std::min(size.height, kScans));
    const Ruling across = rulingOf(seenFromAbove(corners, luma, rows));
    if (!across.isEven())
        return false;
    const cv::Size2f columns(std::min(size.width, kScans), size.height);
    const Ruling down = rulingOf(seenFromAbove(corners, luma, columns).t());
    return down.isEven() && std::abs(std::log(across.usualGap / down.usualGap)) <= kSquareGaps
        && skewnessOf(seenFromAbove(corners, luma, size)) >= kLeastSkewness;
}

} // namespace korv::crop
