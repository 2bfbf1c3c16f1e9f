#include "library/compact/coloured_ink.h"

#include "library/image/mat_view.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <opencv2/imgproc.hpp>

namespace korv::compact {

namespace {

/// Ink is coloured where it takes less than this share of the light in one channel that it takes in
/// another. Black and gray take the same of all, on the gray edges of a stroke as in its middle. Red
/// over black is black.
constexpr int kColouredPercent = 60;

/// Of 255. Half of what the ink of seals takes in the middle of a stroke; between black strokes, the
/// page's mask makes coloured ones thinner than they are.
constexpr int kSurelyTaken = 100;

/// Pixels that are taken together, for cameras are noisy in their colours.
constexpr int kNoiseReach = 3;

/// The paper in `area` of a page, which has the size `page`.
cv::Mat paperIn(const cv::Mat &paper, const cv::Rect &area, const cv::Size &page)
{
    const double across = static_cast<double>(paper.cols) / page.width;
    const double down = static_cast<double>(paper.rows) / page.height;
    const cv::Rect part = cv::Rect(cvFloor(area.x * across), cvFloor(area.y * down),
                                   cvCeil(area.width * across) + 1, cvCeil(area.height * down) + 1)
        & cv::Rect(cv::Point(), paper.size());
    cv::Mat result;
    cv::resize(paper(part), result, area.size(), 0, 0, cv::INTER_LINEAR);
    return result;
}

/// How much of the paper's light the ink on it takes, 255 for all: in any light, black ink takes the
/// same of every channel.
cv::Mat lightTaken(const cv::Mat &page, const cv::Mat &paper)
{
    cv::Mat left;
    cv::divide(page, cv::max(paper, 1), left, 255);
    return ~left;
}

bool isColoured(const std::uint8_t *taken)
{
    const auto [least, most] = std::minmax({taken[0], taken[1], taken[2]});
    return 100 * least < kColouredPercent * most;
}

/// Sets what is coloured of the ink in a row.
void chooseInRow(const std::uint8_t *taken, int width, const std::uint8_t *ink,
                 std::uint8_t *coloured)
{
    for (int x = 0; x < width; ++x)
        coloured[x] = ink[x] == 0 && isColoured(taken + std::ptrdiff_t{3} * x) ? 0 : 255;
}

/// Adds what is surely coloured, ink or not.
void addToRow(const std::uint8_t *taken, int width, std::uint8_t *coloured)
{
    for (int x = 0; x < width; ++x, taken += 3) {
        if (std::max({taken[0], taken[1], taken[2]}) >= kSurelyTaken && isColoured(taken))
            coloured[x] = 0;
    }
}

} // namespace

std::optional<Ink> takeColoured(const cv::Mat &page, const cv::Mat &paper, const cv::Rect &area,
                                Ink &ink, HelperThread &core)
{
    cv::Mat taken = lightTaken(page(area), paperIn(paper, area, page.size()));
    cv::blur(taken, taken, cv::Size(kNoiseReach, kNoiseReach));
    cv::Mat mask = matView(ink.mask)(area);
    cv::Mat inside = ink.core(area);
    Ink coloured;
    coloured.mask = Image::unset(area.width, area.height, PixelFormat::Gray8);
    coloured.mask.setBilevel(true);
    coloured.core = cv::Mat(area.size(), CV_8UC1);
    cv::Mat colouredMask = matView(coloured.mask);
    core.shareRange(0, area.height, [&](int first, int end) {
        for (int y = first; y < end; ++y) {
            const auto *row = taken.ptr<std::uint8_t>(y);
            chooseInRow(row, area.width, mask.ptr<std::uint8_t>(y),
                        colouredMask.ptr<std::uint8_t>(y));
            addToRow(row, area.width, colouredMask.ptr<std::uint8_t>(y));
            chooseInRow(row, area.width, inside.ptr<std::uint8_t>(y),
                        coloured.core.ptr<std::uint8_t>(y));
        }
    });
    const cv::Mat others = inside | ~coloured.core;
    if (isBlank(coloured.core) || isBlank(others))
        return std::nullopt;
    mask |= ~colouredMask;
    others.copyTo(inside);
    return coloured;
}

} // namespace korv::compact
