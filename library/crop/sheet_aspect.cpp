// In: the corners of a sheet as the camera sees them, and the frame's size. Out: width by height of
// the flat sheet, after Zhang and He, "Whiteboard scanning and image enhancement" (2007), with the
// focal length estimated from the right angles between its sides; the centre of the lens is the
// frame's.
//
// A sheet seen from straight above has right angles at every focal length, so the estimate is held
// near kUsualFocalLength; the two spreads weigh one against the other. Within 2 % the aspect is
// that of a common format: A and B series (ISO 216) and letter lie 9 % apart, and corners that are
// a pixel off move the aspect of a sheet that fills half of the frame by less than 1 %.

#include "library/crop/sheet_aspect.h"

#include "library/crop/lines/crop_geometry.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace korv {

namespace {

// 53 degrees across the longer side lie in the middle of what such cameras have
constexpr double kUsualFocalLength = 1.0; ///< in longer sides of the frame
constexpr double kFocalSpread = 0.16; ///< of the logarithm: 45 to 65 degrees are likely
constexpr double kAngleSpread = 0.006; ///< of the right angle, from corners a pixel off

constexpr double kSnapWithin = 0.02;
constexpr double kMaxAspect = 1000; ///< of anything that is a sheet

/// The images of the sheet's two directions, as third-row homogeneous columns of its homography.
struct Directions
{
    cv::Vec3d across;
    cv::Vec3d down;
};

Directions directionsOf(const Quadrilateral &sheet, int frameWidth, int frameHeight)
{
    const double unit = std::max(frameWidth, frameHeight);
    const std::array<cv::Point2f, 4> square = {cv::Point2f(0, 0), {1, 0}, {1, 1}, {0, 1}};
    std::array<cv::Point2f, 4> seen;
    for (std::size_t i = 0; i < 4; ++i) {
        seen[i] = cv::Point2d((sheet.corners[i].x - (frameWidth - 1) / 2.0) / unit,
                              (sheet.corners[i].y - (frameHeight - 1) / 2.0) / unit);
    }
    const cv::Mat homography = cv::getPerspectiveTransform(square.data(), seen.data());
    Directions result;
    for (int i = 0; i < 3; ++i) {
        result.across[i] = homography.at<double>(i, 0);
        result.down[i] = homography.at<double>(i, 1);
    }
    return result;
}

cv::Vec3d inSpace(const cv::Vec3d &direction, double focalLength)
{
    return {direction[0] / focalLength, direction[1] / focalLength, direction[2]};
}

/// Most likely focal length: the sheet's sides should be at right angles, and it should be usual.
double focalLengthOf(const Directions &directions)
{
    double best = kUsualFocalLength;
    double lowest = 1e300;
    for (double deviation = -2.5; deviation <= 2.5; deviation += 0.125) {
        const double focalLength = kUsualFocalLength * std::exp(deviation * kFocalSpread);
        const cv::Vec3d across = inSpace(directions.across, focalLength);
        const cv::Vec3d down = inSpace(directions.down, focalLength);
        const double cosine = across.dot(down) / (cv::norm(across) * cv::norm(down));
        const double cost = cosine * cosine / (kAngleSpread * kAngleSpread) + deviation * deviation;
        if (cost < lowest) {
            lowest = cost;
            best = focalLength;
        }
    }
    return best;
}

} // namespace

double snappedToFormat(double aspect)
{
    static const std::array<double, 3> kFormats = {
        std::sqrt(2.0), // ISO 216: A and B
        11.0 / 8.5, // letter
        85.60 / 53.98, // ISO/IEC 7810 ID-1
    };
    const bool lying = aspect > 1;
    const double ratio = lying ? aspect : 1 / aspect;
    const auto nearest =
        std::min_element(kFormats.begin(), kFormats.end(), [&](double a, double b) {
            return std::abs(ratio / a - 1) < std::abs(ratio / b - 1);
        });
    if (std::abs(ratio / *nearest - 1) > kSnapWithin)
        return aspect;
    return lying ? *nearest : 1 / *nearest;
}

double sheetAspect(const Quadrilateral &sheet, int frameWidth, int frameHeight)
{
    const Directions directions = directionsOf(sheet, frameWidth, frameHeight);
    const double focalLength = focalLengthOf(directions);
    const double aspect = cv::norm(inSpace(directions.across, focalLength))
        / cv::norm(inSpace(directions.down, focalLength));
    // corners on one line, or on one point
    if (!std::isfinite(aspect) || aspect < 1 / kMaxAspect || aspect > kMaxAspect)
        return 1;
    return snappedToFormat(aspect);
}

} // namespace korv
