#include "library/compact/ink.h"

#include "library/compact/dark_ink.h"
#include "library/compact/smooth_edges.h"
#include "library/image/mat_view.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>

namespace korv::compact {

namespace {

/// Pixels: reaches from a stroke's middle to the paper beside it and to the stroke beside that.
constexpr int kReach = 15;

/// Ink is what lies below this share of the way from the darkest level in reach to the lightest. Half
/// way keeps the width of a blurred stroke; hairlines that join a stem need more (of 4020 characters,
/// tesseract read 3994 at 0.55, 4005 at 0.62 and 4011 by the mask of dark ink alone).
constexpr double kInkShare = 0.62;

constexpr int kHalo = 5; ///< width of what a lens blurs ink into, with the pixel that is ink

constexpr double kMaxInk = 0.35; ///< of the page

/// Share of the ink that is not on the edge of a stroke. Strokes that are 2.7 pixels wide have a
/// quarter; narrower ones look ragged.
constexpr double kMinCore = 0.25;

cv::Mat square(int side)
{
    return cv::getStructuringElement(cv::MORPH_RECT, cv::Size(side, side));
}

/// Rows whose pictures stay in the processor's cache from step to step.
constexpr int kBandRows = 128;

/// 255 where a pixel is too light to be ink, by what is around it.
cv::Mat paperOn(const cv::Mat &gray)
{
    cv::Mat paper(gray.size(), CV_8UC1);
    cv::Mat limit;
    cv::Mat lightest;
    for (int from = 0; from < gray.rows; from += kBandRows) {
        const int to = std::min(from + kBandRows, gray.rows);
        const cv::Mat band = gray.rowRange(from, to); // the filters look beyond it by themselves
        cv::erode(band, limit, square(kReach));
        cv::dilate(band, lightest, square(kReach));
        cv::addWeighted(limit, 1 - kInkShare, lightest, kInkShare, 0, limit);
        cv::compare(band, limit, paper.rowRange(from, to), cv::CMP_GT);
    }
    return paper;
}

/// Pixels that are 0.
double zeros(const cv::Mat &picture)
{
    return static_cast<double>(picture.total()) - cv::countNonZero(picture);
}

} // namespace

Ink inkOn(const Image &gray, HelperThread &core)
{
    Ink ink;
    cv::Mat paper;
    core.runBoth([&] { ink.mask = darkInk(gray); }, [&] { paper = paperOn(matView(gray)); });
    cv::Mat mask = matView(ink.mask);
    cv::bitwise_or(mask, paper, mask);
    paper.release();
    // before the edges become smooth: what is taken from them would darken the paper
    core.runBoth(
        [&] {
            cv::dilate(mask, ink.core, cv::getStructuringElement(cv::MORPH_CROSS, cv::Size(3, 3)));
        },
        [&] {
            cv::erode(mask, ink.near, square(kHalo));
            cv::bitwise_not(ink.near, ink.near);
        });
    smoothEdges(ink.mask, core);
    return ink;
}

bool isBlank(const cv::Mat &picture)
{
    return cv::countNonZero(picture) == static_cast<int>(picture.total());
}

bool isWriting(const Ink &ink)
{
    const double pixels = zeros(matView(ink.mask));
    return pixels <= kMaxInk * static_cast<double>(ink.core.total())
        && zeros(ink.core) >= kMinCore * pixels;
}

} // namespace korv::compact
