#include "library/imaging/search_picture.h"

#include "library/imaging/mat_view.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>

namespace korv::crop {

namespace {

constexpr int kLongSide = 640;
constexpr int kWriting = 9; ///< wider than strokes and the gaps between them, at this size
constexpr int kChromaWriting = 5;

void split(const cv::Mat &small, Planes &planes)
{
    if (small.channels() == 1) {
        planes[0] = small;
        planes[1] = cv::Mat(small.size(), CV_8UC1, cv::Scalar(128));
        planes[2] = planes[1];
        return;
    }
    cv::Mat converted;
    cv::cvtColor(small, converted, cv::COLOR_RGB2YCrCb);
    cv::split(converted, planes.data());
}

} // namespace

cv::Point2d SearchPicture::toFrame(cv::Point2d point) const
{
    return {(point.x + 0.5) / scale - 0.5, (point.y + 0.5) / scale - 0.5};
}

SearchPicture makeSearchPicture(const Image &image)
{
    SearchPicture result;
    result.scale = std::min(1.0, double{kLongSide} / std::max(image.width(), image.height()));
    cv::Mat small;
    cv::resize(matView(image), small, cv::Size(), result.scale, result.scale, cv::INTER_AREA);
    split(small, result.plain);
    const auto square = [](int side) {
        return cv::getStructuringElement(cv::MORPH_RECT, cv::Size(side, side));
    };
    cv::morphologyEx(result.plain[0], result.closed[0], cv::MORPH_CLOSE, square(kWriting));
    for (std::size_t i = 1; i < 3; ++i)
        cv::medianBlur(result.plain[i], result.closed[i], kChromaWriting);
    for (std::size_t i = 0; i < 3; ++i) {
        cv::GaussianBlur(result.closed[i], result.closed[i], cv::Size(3, 3), 0);
        cv::GaussianBlur(result.plain[i], result.plain[i], cv::Size(3, 3), 0);
    }
    return result;
}

} // namespace korv::crop
