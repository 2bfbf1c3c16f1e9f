// In: the decoded photograph and the corners of a sheet in it. Out: the sheet as if seen from
// straight above.
//
// Its aspect comes from sheet_aspect. Of its two sides, the one that the camera saw shortened
// grows; the other keeps its pixels, so that nothing that the frame shows is lost and no more is
// made up than must be. The limits of size are those of every picture here (kMaxSide, kMaxPixels).

#include "library/crop/crop.h"
#include "library/crop/lines/crop_geometry.h"
#include "library/crop/perspective_warp.h"
#include "library/crop/sheet_aspect.h"
#include "library/image/opencv_threads.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace korv {

namespace {

using crop::length;

/// Size of the flat sheet: of its own aspect, and as fine as the frame shows it.
cv::Size sizeOf(const Quadrilateral &sheet, const Image &image)
{
    const crop::Corners corners = crop::cornersOf(sheet);
    double width = (length(corners[1] - corners[0]) + length(corners[2] - corners[3])) / 2;
    double height = (length(corners[2] - corners[1]) + length(corners[3] - corners[0])) / 2;
    const double aspect = sheetAspect(sheet, image.width(), image.height());
    // the side that the camera saw shortened grows; the other stays, so nothing is lost
    width = std::max(width, height * aspect);
    height = std::max(height, width / aspect);
    const double limit = std::min({1.0, kMaxSide / width, kMaxSide / height,
                                   std::sqrt(static_cast<double>(kMaxPixels) / (width * height))});
    const auto pixels = [limit](double side) {
        return std::max(1, static_cast<int>(std::lround(side * limit)));
    };
    return {pixels(width), pixels(height)};
}

} // namespace

Image cutSheet(const Image &image, const Quadrilateral &sheet, HelperThread &core)
{
    keepOpenCvInThisThread();
    const cv::Size size = sizeOf(sheet, image);
    std::array<cv::Point2f, 4> from;
    std::transform(sheet.corners.begin(), sheet.corners.end(), from.begin(),
                   [](const Quadrilateral::Point &point) {
                       return cv::Point2f(static_cast<float>(point.x), static_cast<float>(point.y));
                   });
    // the sheet's edges become the outer borders of the first and last pixels
    const auto right = static_cast<float>(size.width - 0.5);
    const auto bottom = static_cast<float>(size.height - 0.5);
    const std::array<cv::Point2f, 4> to = {
        cv::Point2f(-0.5F, -0.5F), {right, -0.5F}, {right, bottom}, {-0.5F, bottom}};
    Image result = Image::unset(size.width, size.height, image.format());
    const cv::Mat map = cv::getPerspectiveTransform(to.data(), from.data());
    crop::Homography toSource;
    std::copy(map.begin<double>(), map.end<double>(), toSource.begin());
    crop::warpPerspective(image, toSource, result, core);
    return result;
}

} // namespace korv
