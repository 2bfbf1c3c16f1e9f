#include "library/crop/outlines/surroundings.h"

#include <algorithm>
#include <cmath>

namespace korv::crop {

namespace {

constexpr int kProbes = 24; ///< along a side
constexpr int kSteps = 12; ///< outwards from each
constexpr double kInside = 6; ///< pixels from the side to the inner rim
constexpr double kOutside = 7; ///< pixels from the side to the first step, beyond its shadow
constexpr double kFar = 0.4; ///< of the outline's size: the last step
constexpr double kInk = 0.75; ///< of the light around it
constexpr double kInked = 0.02; ///< share of ink from which on a side counts as written beyond
constexpr int kStride = 5; ///< of the pixels of the frame that are looked at
constexpr double kLightestShare = 0.01; ///< of them that count as the lightest places
constexpr double kAsLight = 0.85; ///< of their lightness

bool isInk(const SearchPicture &picture, cv::Point at)
{
    return picture.plainLuma.at<std::uint8_t>(at) < kInk * picture.closed[0].at<std::uint8_t>(at);
}

/// Places beyond a side, and how many of them are like the paper or hold writing.
struct Beyond
{
    int places = 0;
    int alike = 0;
    int writing = 0;
    int ink = 0;

    double likeness() const { return 1.0 * alike / std::max(1, places); }
    double inkShare() const { return 1.0 * ink / std::max(1, places); }
    double writingShare() const { return writing / 255.0 / std::max(1, places); }
};

Beyond beyond(cv::Point2d from, cv::Point2d to, cv::Point2d outwards, double far,
              const SearchPicture &picture)
{
    Beyond result;
    const cv::Rect within(cv::Point(), picture.size());
    for (int i = 0; i < kProbes; ++i) {
        const cv::Point2d place = from + (to - from) * ((i + 0.5) / kProbes);
        const cv::Point rim = nearestPixel(place - outwards * kInside);
        if (!within.contains(rim))
            continue;
        for (int k = 0; k < kSteps; ++k) {
            const double away = kOutside + (far - kOutside) * k / (kSteps - 1);
            const cv::Point at = nearestPixel(place + outwards * away);
            if (!within.contains(at))
                break;
            ++result.places;
            result.alike += isAlike(picture.closed, rim, at) ? 1 : 0;
            result.writing += picture.writing.at<std::uint8_t>(at);
            result.ink += isInk(picture, at) ? 1 : 0;
        }
    }
    return result;
}

void addSides(const Corners &corners, const SearchPicture &picture, Surroundings &result)
{
    const double far = std::max(2 * kOutside, kFar * std::sqrt(area(corners)));
    const cv::Point2d centre = centreOf(corners);
    for (std::size_t i = 0; i < 4; ++i) {
        const cv::Point2d from = corners[i];
        const cv::Point2d to = corners[(i + 1) % 4];
        const Line line = lineThrough(from, to);
        const cv::Point2d outwards = line.normalAwayFrom(centre);
        const Beyond side = beyond(from, to, outwards, far, picture);
        result.meanLikeness += side.likeness() / 4;
        result.mostLikeness = std::max(result.mostLikeness, side.likeness());
        result.meanWriting += side.writingShare() / 4;
        result.mostWriting = std::max(result.mostWriting, side.writingShare());
        result.meanInk += side.inkShare() / 4;
        result.mostInk = std::max(result.mostInk, side.inkShare());
        result.inkedSides += side.inkShare() > kInked ? 0.25 : 0;
    }
}

/// The luma that kLightestShare of the counted pixels reach.
int lightest(const std::array<int, 256> &histogram, int count)
{
    int above = 0;
    for (int level = 255; level > 0; --level) {
        above += histogram[static_cast<std::size_t>(level)];
        if (above > kLightestShare * count)
            return level;
    }
    return 1;
}

void addFrame(const Corners &corners, const SearchPicture &picture, Surroundings &result)
{
    std::array<int, 256> everywhere{};
    std::array<int, 256> outside{};
    int count = 0;
    int countOutside = 0;
    double writing = 0;
    int ink = 0;
    for (int y = kStride / 2; y < picture.size().height; y += kStride) {
        for (int x = kStride / 2; x < picture.size().width; x += kStride) {
            const auto level = picture.closed[0].at<std::uint8_t>(y, x);
            ++everywhere[level];
            ++count;
            if (contains(corners, cv::Point2d(x, y)))
                continue;
            ++outside[level];
            ++countOutside;
            writing += picture.writing.at<std::uint8_t>(y, x) / 255.0;
            ink += isInk(picture, {x, y}) ? 1 : 0;
        }
    }
    const int light = lightest(everywhere, count);
    double sum = 0;
    int asLight = 0;
    for (std::size_t level = 0; level < outside.size(); ++level) {
        sum += static_cast<double>(level) * outside[level];
        asLight += static_cast<double>(level) >= kAsLight * light ? outside[level] : 0;
    }
    const double share = 1.0 / std::max(1, countOutside);
    result.writing = writing * share;
    result.ink = ink * share;
    result.lightness = std::min(1.5, sum * share / light);
    result.evenness = asLight * share;
}

} // namespace

Surroundings surroundingsOf(const Corners &corners, const SearchPicture &picture)
{
    Surroundings result;
    addSides(corners, picture, result);
    addFrame(corners, picture, result);
    return result;
}

} // namespace korv::crop
