#include "library/imaging/crop.h"

#include "library/imaging/mat_view.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace korv {

namespace {

using Corners = std::array<cv::Point2f, 4>;
using Contour = std::vector<cv::Point>;

constexpr int kSearchSide = 640; ///< long side of the picture searched
constexpr double kSmallestShare = 0.08; ///< of the frame; smaller things are no documents
constexpr double kLargestShare = 0.97;
constexpr double kLeastFill = 0.96; ///< the found area must fill its quadrilateral
constexpr double kLeastStep = 6; ///< Lab distance across every side of the sheet

double distance(cv::Point2f a, cv::Point2f b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

/// A colour in which equal distances look equal, with text and grain rubbed out.
cv::Mat searchPicture(const Image &image, double scale)
{
    cv::Mat small;
    cv::resize(matView(image), small, cv::Size(), scale, scale, cv::INTER_AREA);
    if (small.channels() == 1)
        cv::cvtColor(small, small, cv::COLOR_GRAY2RGB);
    cv::cvtColor(small, small, cv::COLOR_RGB2Lab);
    cv::medianBlur(small, small, 5);
    return small;
}

/// Median colour of a strip along the frame's rim: the desk, unless the sheet covers the frame.
cv::Vec3f deskColour(const cv::Mat &lab)
{
    const int rim = std::max(2, std::min(lab.rows, lab.cols) / 40);
    std::array<std::vector<std::uint8_t>, 3> values;
    for (int y = 0; y < lab.rows; ++y) {
        const bool rimRow = y < rim || y >= lab.rows - rim;
        for (int x = 0; x < lab.cols; ++x) {
            if (!rimRow && x >= rim && x < lab.cols - rim)
                continue;
            const auto &pixel = lab.at<cv::Vec3b>(y, x);
            for (int i = 0; i < 3; ++i)
                values[static_cast<std::size_t>(i)].push_back(pixel[i]);
        }
    }
    cv::Vec3f median;
    for (int i = 0; i < 3; ++i) {
        auto &channel = values[static_cast<std::size_t>(i)];
        const auto middle = channel.begin() + static_cast<std::ptrdiff_t>(channel.size() / 2);
        std::nth_element(channel.begin(), middle, channel.end());
        median[i] = static_cast<float>(*middle);
    }
    return median;
}

cv::Mat distanceFrom(const cv::Mat &lab, const cv::Vec3f &colour)
{
    cv::Mat result(lab.size(), CV_8UC1);
    for (int y = 0; y < lab.rows; ++y) {
        for (int x = 0; x < lab.cols; ++x) {
            const auto &pixel = lab.at<cv::Vec3b>(y, x);
            float sum = 0;
            for (int i = 0; i < 3; ++i) {
                const float difference = static_cast<float>(pixel[i]) - colour[i];
                sum += difference * difference;
            }
            result.at<std::uint8_t>(y, x) = cv::saturate_cast<std::uint8_t>(std::sqrt(sum));
        }
    }
    return result;
}

/// Binary pictures in which the sheet may stand out as one white area.
std::vector<cv::Mat> candidateMasks(const cv::Mat &lab)
{
    std::vector<cv::Mat> masks;
    const cv::Mat contrast = distanceFrom(lab, deskColour(lab));
    cv::Mat mask;
    const double otsu = cv::threshold(contrast, mask, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU);
    masks.push_back(mask.clone());
    for (const double limit : {otsu * 0.5, otsu * 0.75, 12.0}) {
        cv::threshold(contrast, mask, limit, 255, cv::THRESH_BINARY);
        masks.push_back(mask.clone());
    }
    std::vector<cv::Mat> channels;
    cv::split(lab, channels);
    cv::threshold(channels[0], mask, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU);
    masks.push_back(mask.clone());
    const cv::Mat element = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(9, 9));
    const cv::Mat small = cv::getStructuringElement(cv::MORPH_RECT, cv::Size(5, 5));
    for (cv::Mat &each : masks) {
        cv::morphologyEx(each, each, cv::MORPH_CLOSE, element, cv::Point(-1, -1), 1,
                         cv::BORDER_REPLICATE);
        cv::morphologyEx(each, each, cv::MORPH_OPEN, small);
    }
    return masks;
}

bool intersect(const cv::Vec4f &a, const cv::Vec4f &b, cv::Point2f &point)
{
    const float cross = a[0] * b[1] - a[1] * b[0];
    if (std::abs(cross) < 0.2F) // under 12 degrees between two neighbouring sides
        return false;
    const float along = ((b[2] - a[2]) * b[1] - (b[3] - a[3]) * b[0]) / cross;
    point = {a[2] + along * a[0], a[3] + along * a[1]};
    return true;
}

/// Lines through the contour's points near each side, corners where the lines meet.
std::optional<Corners> fitSides(const Contour &contour, const Corners &rough)
{
    std::array<cv::Vec4f, 4> lines;
    for (std::size_t i = 0; i < 4; ++i) {
        const cv::Point2f from = rough[i];
        const cv::Point2f to = rough[(i + 1) % 4];
        const double length = distance(from, to);
        const cv::Point2f direction = (to - from) * (1 / length);
        std::vector<cv::Point2f> near;
        for (const cv::Point &each : contour) {
            const cv::Point2f offset = cv::Point2f(each) - from;
            const double along = offset.dot(direction);
            const double away = std::abs(offset.cross(direction));
            if (along > 0.06 * length && along < 0.94 * length && away < 6)
                near.push_back(each);
        }
        if (near.size() < 8 || static_cast<double>(near.size()) < 0.4 * length)
            return std::nullopt;
        cv::fitLine(near, lines[i], cv::DIST_HUBER, 0, 0.01, 0.01);
    }
    Corners fitted;
    for (std::size_t i = 0; i < 4; ++i) {
        if (!intersect(lines[(i + 3) % 4], lines[i], fitted[i]))
            return std::nullopt;
    }
    return fitted;
}

std::optional<Corners> roughCorners(const Contour &contour)
{
    Contour hull;
    cv::convexHull(contour, hull);
    const double perimeter = cv::arcLength(hull, true);
    for (const double tolerance : {0.02, 0.03, 0.05, 0.08}) {
        Contour polygon;
        cv::approxPolyDP(hull, polygon, tolerance * perimeter, true);
        if (polygon.size() != 4)
            continue;
        Corners corners;
        std::copy(polygon.begin(), polygon.end(), corners.begin());
        return corners;
    }
    return std::nullopt;
}

double quadArea(const Corners &corners)
{
    return std::abs(cv::contourArea(std::vector<cv::Point2f>(corners.begin(), corners.end())));
}

/// Smallest over the sides of the mean colour step across the side.
double weakestStep(const cv::Mat &lab, const Corners &corners)
{
    constexpr int kSamples = 40;
    constexpr float kReach = 5;
    const cv::Point2f centre = (corners[0] + corners[1] + corners[2] + corners[3]) * 0.25F;
    double weakest = 1e9;
    for (std::size_t i = 0; i < 4; ++i) {
        const cv::Point2f from = corners[i];
        const cv::Point2f to = corners[(i + 1) % 4];
        cv::Point2f normal(from.y - to.y, to.x - from.x);
        normal *= 1 / std::max(1.0, cv::norm(normal));
        if ((centre - from).dot(normal) < 0)
            normal = -normal;
        double sum = 0;
        int count = 0;
        for (int k = 1; k < kSamples; ++k) {
            const cv::Point2f on = from + (to - from) * (static_cast<float>(k) / kSamples);
            const cv::Point inside = on + normal * kReach;
            const cv::Point outside = on - normal * kReach;
            const cv::Rect frame(0, 0, lab.cols, lab.rows);
            if (!frame.contains(inside) || !frame.contains(outside))
                continue;
            sum += cv::norm(cv::Vec3f(lab.at<cv::Vec3b>(inside))
                            - cv::Vec3f(lab.at<cv::Vec3b>(outside)));
            ++count;
        }
        weakest = std::min(weakest, count < kSamples / 2 ? 0 : sum / count);
    }
    return weakest;
}

bool isInside(const cv::Mat &lab, const Corners &corners)
{
    return std::all_of(corners.begin(), corners.end(), [&](cv::Point2f corner) {
        return corner.x >= 1 && corner.y >= 1 && corner.x <= static_cast<float>(lab.cols - 2)
            && corner.y <= static_cast<float>(lab.rows - 2);
    });
}

struct Candidate
{
    Corners corners;
    double score = 0;
};

std::optional<Candidate> judge(const cv::Mat &lab, const Contour &contour)
{
    const double frame = static_cast<double>(lab.total());
    const double area = cv::contourArea(contour);
    if (area < kSmallestShare * frame || area > kLargestShare * frame)
        return std::nullopt;
    const std::optional<Corners> rough = roughCorners(contour);
    if (!rough)
        return std::nullopt;
    const std::optional<Corners> fitted = fitSides(contour, *rough);
    if (!fitted || !isInside(lab, *fitted)
        || !cv::isContourConvex(std::vector<cv::Point2f>(fitted->begin(), fitted->end())))
        return std::nullopt;
    const double quad = quadArea(*fitted);
    const double fill = std::min(area, quad) / std::max(area, quad);
    const double step = weakestStep(lab, *fitted);
    if (fill < kLeastFill || step < kLeastStep)
        return std::nullopt;
    return Candidate{*fitted, fill + 0.02 * std::min(step, 50.0) + 0.5 * quad / frame};
}

/// Clockwise, beginning at the corner nearest to the frame's top left.
Corners ordered(Corners corners)
{
    const cv::Point2f centre = (corners[0] + corners[1] + corners[2] + corners[3]) * 0.25F;
    const auto angle = [&](cv::Point2f p) { return std::atan2(p.y - centre.y, p.x - centre.x); };
    std::sort(corners.begin(), corners.end(),
              [&](cv::Point2f a, cv::Point2f b) { return angle(a) < angle(b); });
    const auto first =
        std::min_element(corners.begin(), corners.end(),
                         [](cv::Point2f a, cv::Point2f b) { return a.x + a.y < b.x + b.y; });
    std::rotate(corners.begin(), first, corners.end());
    return corners;
}

} // namespace

std::optional<Quadrilateral> findSheet(const Image &image)
{
    const int longSide = std::max(image.width(), image.height());
    if (std::min(image.width(), image.height()) < 64)
        return std::nullopt;
    const double scale = std::min(1.0, double{kSearchSide} / longSide);
    const cv::Mat lab = searchPicture(image, scale);
    std::optional<Candidate> best;
    for (const cv::Mat &mask : candidateMasks(lab)) {
        std::vector<Contour> contours;
        cv::findContours(mask, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
        for (const Contour &contour : contours) {
            const std::optional<Candidate> candidate = judge(lab, contour);
            if (candidate && (!best || candidate->score > best->score))
                best = candidate;
        }
    }
    if (!best)
        return std::nullopt;
    const Corners corners = ordered(best->corners);
    Quadrilateral sheet;
    for (std::size_t i = 0; i < 4; ++i) {
        // pixel centres of the small picture lie between those of the large one
        sheet.corners[i] = {(corners[i].x + 0.5) / scale - 0.5, (corners[i].y + 0.5) / scale - 0.5};
    }
    return sheet;
}

Image cutSheet(const Image &image, const Quadrilateral &sheet)
{
    Corners from;
    for (std::size_t i = 0; i < 4; ++i)
        from[i] = cv::Point2d(sheet.corners[i].x, sheet.corners[i].y);
    const double width = (distance(from[0], from[1]) + distance(from[3], from[2])) / 2;
    const double height = (distance(from[1], from[2]) + distance(from[0], from[3])) / 2;
    const auto side = [](double length) {
        return static_cast<int>(std::lround(std::clamp(length, 1.0, double{kMaxSide})));
    };
    Image result(side(width), side(height), image.format());
    const auto right = static_cast<float>(result.width() - 1);
    const auto bottom = static_cast<float>(result.height() - 1);
    const Corners to = {cv::Point2f(0, 0), {right, 0}, {right, bottom}, {0, bottom}};
    const cv::Mat transform = cv::getPerspectiveTransform(from.data(), to.data());
    cv::Mat out = matView(result);
    cv::warpPerspective(matView(image), out, transform, out.size(), cv::INTER_LINEAR,
                        cv::BORDER_REPLICATE);
    return result;
}

} // namespace korv
