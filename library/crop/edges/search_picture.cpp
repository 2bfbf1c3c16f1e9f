// In: the decoded photograph. Out: the small picture that the whole search works on. Luma and the
// two colour differences are brought to 640 pixels on the long side, smoothed, and luma is closed
// over what is dark and as thin as writing; `writing` says where such things were.
//
// Sizes are in pixels of that picture. On A4 filling the frame a pixel is 0.46 mm: kWriting closes
// strokes, and the gaps between the letters of a line, up to 3.2 mm; kInkAround sees 4.2 mm, about
// a line of text. kInk is in levels of 255. No standard gives these values. The weights were fitted
// with them, so a change asks for a new fit (docs/crop.md), and so do those of the other steps.

#include "library/crop/edges/search_picture.h"

#include "library/crop/edges/shrinker.h"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace korv::crop {

namespace {

constexpr int kLikeLuma = 12; ///< levels between places that count as of one colour
constexpr int kLikeColour = 7;
constexpr int kLongSide = 640;
constexpr int kWriting = 7; ///< wider than strokes and the gaps between them, at this size
constexpr int kInk = 14; ///< levels that writing is darker than what is around it
constexpr int kInkAround = 9;
constexpr int kSpeck = 3;
constexpr int kStrip = 16; ///< rows that are worked on at once
constexpr int kNoColour = 128;

double searchScale(const Image &image)
{
    return std::min(1.0, double{kLongSide} / std::max(image.width(), image.height()));
}

/// The picture made smaller, in luma and colour differences. Strip by strip, so that what lies
/// between stays in the processor's nearest cache.
Planes smallPlanes(const Image &image, double scale, HelperThread &core)
{
    const cv::Size size = searchSize(image);
    Planes planes;
    for (cv::Mat &plane : planes)
        plane.create(size, CV_8UC1);
    core.shareRange(0, size.height, [&](int first, int end) {
        Shrinker shrinker(image, size, scale);
        cv::Mat differences;
        for (int y = first; y < end; y += kStrip) {
            const cv::Range rows(y, std::min(y + kStrip, end));
            Planes target{planes[0].rowRange(rows), planes[1].rowRange(rows),
                          planes[2].rowRange(rows)};
            const cv::Mat strip = shrinker.rows(y, rows.size());
            if (strip.channels() == 1) {
                strip.copyTo(target[0]);
                target[1] = kNoColour;
                target[2] = kNoColour;
            } else {
                cv::cvtColor(strip, differences, cv::COLOR_RGB2YCrCb);
                cv::split(differences, target.data());
            }
        }
    });
    return planes;
}

} // namespace

cv::Point2d SearchPicture::toFrame(cv::Point2d point) const
{
    return {(point.x + 0.5) / scale - 0.5, (point.y + 0.5) / scale - 0.5};
}

cv::Point2d SearchPicture::fromFrame(cv::Point2d point) const
{
    return {(point.x + 0.5) * scale - 0.5, (point.y + 0.5) * scale - 0.5};
}

std::array<cv::Point2d, 4> SearchPicture::toFrame(std::array<cv::Point2d, 4> points) const
{
    for (cv::Point2d &point : points)
        point = toFrame(point);
    return points;
}

std::array<cv::Point2d, 4> SearchPicture::fromFrame(std::array<cv::Point2d, 4> points) const
{
    for (cv::Point2d &point : points)
        point = fromFrame(point);
    return points;
}

bool isAlike(const Planes &planes, cv::Point a, cv::Point b)
{
    const auto differ = [&](std::size_t plane) {
        return std::abs(planes[plane].at<std::uint8_t>(a) - planes[plane].at<std::uint8_t>(b));
    };
    return differ(0) <= kLikeLuma && differ(1) <= kLikeColour && differ(2) <= kLikeColour;
}

cv::Size searchSize(const Image &image)
{
    const auto small = [scale = searchScale(image)](int full) {
        return std::max(1, static_cast<int>(std::lround(full * scale)));
    };
    return {small(image.width()), small(image.height())};
}

SearchPicture makeSearchPicture(const Image &image, HelperThread &core)
{
    SearchPicture result;
    result.scale = searchScale(image);
    const Planes planes = smallPlanes(image, result.scale, core);
    const cv::Size blur(3, 3);
    const auto prepareChroma = [&] {
        for (std::size_t i = 1; i < 3; ++i) {
            cv::medianBlur(planes[i], result.closed[i], kSpeck);
            cv::GaussianBlur(result.closed[i], result.closed[i], blur, 0);
        }
    };
    const auto prepareLuma = [&] {
        const cv::Size writing(kWriting, kWriting);
        cv::morphologyEx(planes[0], result.closed[0], cv::MORPH_CLOSE,
                         cv::getStructuringElement(cv::MORPH_RECT, writing));
        cv::Mat ink;
        cv::subtract(result.closed[0], planes[0], ink);
        cv::compare(ink, kInk, ink, cv::CMP_GT);
        const cv::Size around(kInkAround, kInkAround);
        cv::boxFilter(ink, result.writing, -1, around, cv::Point(-1, -1), true,
                      cv::BORDER_REPLICATE);
        cv::GaussianBlur(result.closed[0], result.closed[0], blur, 0);
    };
    core.runBoth(prepareChroma, prepareLuma);
    result.plainLuma = planes[0];
    return result;
}

} // namespace korv::crop
