#include "library/clean/paper_regions.h"

#include "library/base/median.h"
#include "library/clean/light_fill.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <numeric>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace korv::clean {

namespace {

constexpr double kLogScale = 8192; ///< of a natural logarithm, in 16 bits
constexpr int kDarkest = 4; ///< of 255; differences between darker levels are noise

// sharpness of an edge: the change across 3 pixels as a share of that across 9
constexpr int kNear = 3;
constexpr int kFar = 9;
constexpr double kSharpShare = 0.6;
constexpr double kLeastStep = 0.05; ///< of an edge, in the logarithm

// colour of the light: logarithms of blue and red over green, compared with the paper's
constexpr double kBrightShare = 0.4; ///< of the page: what the paper's colour is taken from
constexpr double kFullLightShare = 0.1; ///< brighter than all but this share: in full light
constexpr double kColourReach = 0.14; ///< print that is further off is coloured
constexpr double kShadeReach = 0.15; ///< a shadow may be off by so much more for each e-fold

constexpr int kGapWidth = 7; ///< a gap in an outline that is narrower does not open it

constexpr double kSmallestRegion = 0.0005; ///< of the picture
constexpr std::size_t kMaxRegions = 40;
constexpr int kCell = 8; ///< side of the squares in which the light between regions is estimated
constexpr double kAsBright = 0.93; ///< of the light there

// a shadow with a hard edge
constexpr double kLeastShadow = 0.06; ///< of the picture
constexpr double kRectangle = 0.9; ///< share of its bounding rectangle that a panel fills
constexpr double kEven = 0.03; ///< share of its pixels at sharp edges

cv::Mat square(int side)
{
    return cv::getStructuringElement(cv::MORPH_RECT, cv::Size(side, side));
}

cv::Mat logarithms(const cv::Mat &gray)
{
    static const cv::Mat table = [] {
        cv::Mat made(1, 256, CV_16UC1);
        for (int level = 0; level < 256; ++level)
            made.at<std::uint16_t>(level) = static_cast<std::uint16_t>(
                std::lround(kLogScale * std::log(std::max(level, kDarkest))));
        return made;
    }();
    cv::Mat result;
    cv::LUT(gray, table, result);
    return result;
}

cv::Mat rangeWithin(const cv::Mat &logs, int side)
{
    cv::Mat high;
    cv::Mat low;
    cv::dilate(logs, high, square(side));
    cv::erode(logs, low, square(side));
    return high - low;
}

/// Levels, darkest first.
using Histogram = std::array<std::size_t, 256>;

Histogram histogramOf(const cv::Mat &gray)
{
    Histogram counts{};
    for (int y = 0; y < gray.rows; ++y) {
        const auto *row = gray.ptr<std::uint8_t>(y);
        for (int x = 0; x < gray.cols; ++x)
            ++counts[row[x]];
    }
    return counts;
}

/// The lowest level with at most `share` of the pixels above it.
int brightLevel(const Histogram &counts, double share)
{
    const auto total = std::accumulate(counts.begin(), counts.end(), std::size_t{0});
    std::size_t above = 0;
    int level = 255;
    while (level > 0) {
        above += counts[static_cast<std::size_t>(level)];
        if (static_cast<double>(above) > share * static_cast<double>(total))
            break;
        --level;
    }
    return level;
}

/// A colour by the logarithms of blue and red over green.
struct Tint
{
    float blue = 0;
    float red = 0;
};

class Tints
{
public:
    Tints()
    {
        for (std::size_t level = 0; level < m_log.size(); ++level)
            m_log[level] = static_cast<float>(std::log(static_cast<double>(level) + 1));
    }

    /// Of R, G, B.
    Tint of(const std::uint8_t *pixel) const
    {
        return {m_log[pixel[2]] - m_log[pixel[1]], m_log[pixel[0]] - m_log[pixel[1]]};
    }

    float log(std::uint8_t level) const { return m_log[level]; }

private:
    std::array<float, 256> m_log{};
};

Tint paperTint(const cv::Mat &page, const cv::Mat &gray, int bright, const Tints &tints)
{
    std::vector<float> blue;
    std::vector<float> red;
    for (int y = 0; y < page.rows; y += 2) {
        for (int x = 0; x < page.cols; x += 2) {
            if (gray.at<std::uint8_t>(y, x) < bright)
                continue;
            const Tint tint = tints.of(page.ptr<std::uint8_t>(y, x));
            blue.push_back(tint.blue);
            red.push_back(tint.red);
        }
    }
    return blue.empty() ? Tint{} : Tint{medianOf(blue), medianOf(red)};
}

/// Takes out of `possible` what is not of the paper's colour.
void excludeColours(const cv::Mat &page, const cv::Mat &gray, cv::Mat &possible)
{
    static const Tints tints;
    const Histogram counts = histogramOf(gray);
    const Tint paper = paperTint(page, gray, brightLevel(counts, kBrightShare), tints);
    const int lit = brightLevel(counts, kFullLightShare);
    std::array<float, 256> reach{};
    for (std::size_t level = 0; level < reach.size(); ++level) {
        const double shade = std::max(
            0.0, std::log(std::max(1.0, double(lit)) / std::max<double>(1, double(level))));
        reach[level] = static_cast<float>(kColourReach + kShadeReach * shade);
    }
    for (int y = 0; y < page.rows; ++y) {
        const auto *levels = gray.ptr<std::uint8_t>(y);
        const auto *pixels = page.ptr<std::uint8_t>(y);
        auto *out = possible.ptr<std::uint8_t>(y);
        for (int x = 0; x < page.cols; ++x) {
            const Tint tint = tints.of(pixels + 3 * static_cast<std::ptrdiff_t>(x));
            const float off =
                std::max(std::abs(tint.blue - paper.blue), std::abs(tint.red - paper.red));
            if (off > reach[levels[x]])
                out[x] = 0;
        }
    }
}

/// A connected part of the picture that no sharp edge crosses.
struct Region
{
    int label = 0;
    std::size_t pixels = 0;
    double levels = 0; ///< sum over the pixels
    std::size_t roughPixels = 0;
    cv::Point first{std::numeric_limits<int>::max(), std::numeric_limits<int>::max()};
    cv::Point last{-1, -1}; ///< of the box around it, inclusive

    double mean() const { return pixels == 0 ? 0 : levels / static_cast<double>(pixels); }
    /// What makes a region the first one to be taken for paper.
    double weight() const { return static_cast<double>(pixels) * std::pow(mean(), 3); }
};

/// Chooses regions one after the other; each is judged in the light of those before.
class RegionChoice
{
public:
    RegionChoice(const cv::Mat &gray, const cv::Mat &labels, int count, const cv::Mat &rough)
        : m_gray(gray)
        , m_labels(labels)
        , m_regions(static_cast<std::size_t>(count))
        , m_chosen(static_cast<std::size_t>(count), 0)
    {
        for (int y = 0; y < gray.rows; ++y)
            countRow(y, rough.ptr<std::uint8_t>(y));
        const cv::Size cells((gray.cols + kCell - 1) / kCell, (gray.rows + kCell - 1) / kCell);
        m_paper = cv::Mat(cells, CV_32FC1, cv::Scalar(0));
        m_levels = m_paper.clone();
    }

    /// For each label whether it is paper.
    std::vector<std::uint8_t> choose()
    {
        for (const Region &region : candidates()) {
            if (isPaper(region))
                take(region);
        }
        return m_chosen;
    }

private:
    /// Adds a row to the regions, run by run: most runs are long.
    void countRow(int y, const std::uint8_t *roughness)
    {
        const auto *level = m_gray.ptr<std::uint8_t>(y);
        const auto *label = m_labels.ptr<int>(y);
        for (int x = 0; x < m_gray.cols;) {
            const int first = x;
            const int here = label[first];
            int levels = 0;
            std::size_t roughPixels = 0;
            for (; x < m_gray.cols && label[x] == here; ++x) {
                levels += level[x];
                roughPixels += roughness[x] != 0 ? 1U : 0U;
            }
            Region &region = m_regions[static_cast<std::size_t>(here)];
            region.label = here;
            region.pixels += static_cast<std::size_t>(x - first);
            region.levels += levels;
            region.roughPixels += roughPixels;
            region.first = {std::min(region.first.x, first), std::min(region.first.y, y)};
            region.last = {std::max(region.last.x, x - 1), y};
        }
    }

    std::vector<Region> candidates() const
    {
        const double least = kSmallestRegion * static_cast<double>(m_gray.total());
        std::vector<Region> result;
        std::copy_if(
            m_regions.begin() + 1, m_regions.end(), std::back_inserter(result),
            [&](const Region &region) { return static_cast<double>(region.pixels) >= least; });
        std::sort(result.begin(), result.end(), [](const Region &a, const Region &b) {
            return a.weight() != b.weight() ? a.weight() > b.weight() : a.label < b.label;
        });
        result.resize(std::min(result.size(), kMaxRegions));
        return result;
    }

    /// Calls `visit(cell, level)` for every pixel of a region.
    template <typename Visit> void eachPixel(const Region &region, const Visit &visit) const
    {
        for (int y = region.first.y; y <= region.last.y; ++y) {
            const auto *label = m_labels.ptr<int>(y);
            const auto *level = m_gray.ptr<std::uint8_t>(y);
            for (int x = region.first.x; x <= region.last.x; ++x) {
                if (label[x] == region.label)
                    visit(cv::Point(x / kCell, y / kCell), level[x]);
            }
        }
    }

    void take(const Region &region)
    {
        m_chosen[static_cast<std::size_t>(region.label)] = 1;
        eachPixel(region, [&](cv::Point cell, std::uint8_t level) {
            m_paper.at<float>(cell) += 1;
            m_levels.at<float>(cell) += level;
        });
        const cv::Mat known = cv::min(m_paper * (4.0F / (kCell * kCell)), 1.0F);
        const cv::Mat values = m_levels.mul(known / cv::max(m_paper, 1.0F));
        m_light = filledSurface(values, known);
    }

    bool isPaper(const Region &region) const
    {
        if (m_light.empty())
            return true;
        double expected = 0;
        eachPixel(region,
                  [&](cv::Point cell, std::uint8_t) { expected += m_light.at<float>(cell); });
        if (region.levels >= kAsBright * expected)
            return true;
        const auto pixels = static_cast<double>(region.pixels);
        return pixels >= kLeastShadow * static_cast<double>(m_gray.total())
            && static_cast<double>(region.roughPixels) <= kEven * pixels
            && comesFromOutside(region);
    }

    /// As the shadow of a hand or a camera does: a region at the border, and no rectangle.
    bool comesFromOutside(const Region &region) const
    {
        std::vector<std::vector<cv::Point>> outlines;
        cv::findContours(m_labels == region.label, outlines, cv::RETR_EXTERNAL,
                         cv::CHAIN_APPROX_SIMPLE);
        std::vector<cv::Point> points;
        for (const auto &outline : outlines)
            points.insert(points.end(), outline.begin(), outline.end());
        std::vector<cv::Point> hull;
        cv::convexHull(points, hull);
        const cv::Rect box = cv::boundingRect(hull);
        const cv::Rect inner(kGapWidth, kGapWidth, m_gray.cols - 2 * kGapWidth,
                             m_gray.rows - 2 * kGapWidth);
        const double around = cv::minAreaRect(hull).size.area();
        return (box & inner) != box && cv::contourArea(hull) < kRectangle * around;
    }

    const cv::Mat &m_gray;
    const cv::Mat &m_labels;
    std::vector<Region> m_regions; ///< by label; label 0 is no region
    std::vector<std::uint8_t> m_chosen;
    cv::Mat m_paper; ///< pixels of paper in each cell
    cv::Mat m_levels; ///< the sum of their levels
    cv::Mat m_light; ///< brightness of paper in each cell
};

} // namespace

cv::Mat paperRegions(const cv::Mat &page)
{
    cv::Mat gray = page;
    if (page.channels() == 3)
        cv::cvtColor(page, gray, cv::COLOR_RGB2GRAY);
    const cv::Mat logs = logarithms(gray);
    const cv::Mat near = rangeWithin(logs, kNear);
    const cv::Mat far = rangeWithin(logs, kFar);
    const cv::Mat rough = near > kLeastStep * kLogScale;
    cv::Mat share;
    far.convertTo(share, CV_16U, kSharpShare);
    cv::Mat possible = cv::Mat(~(rough & (near > share))) & 1;
    if (page.channels() == 3)
        excludeColours(page, gray, possible);
    cv::Mat cores;
    cv::erode(possible, cores, square(kGapWidth));
    cv::Mat labels;
    const int count = cv::connectedComponents(cores, labels, 4, CV_32S);
    const std::vector<std::uint8_t> chosen = RegionChoice(gray, labels, count, rough).choose();
    cv::Mat paper(labels.size(), CV_8UC1);
    for (int y = 0; y < labels.rows; ++y) {
        const auto *label = labels.ptr<int>(y);
        std::transform(label, label + labels.cols, paper.ptr<std::uint8_t>(y),
                       [isPaper = chosen.data()](int here) { return isPaper[here]; });
    }
    cv::dilate(paper, paper, square(kGapWidth));
    return paper & possible;
}

} // namespace korv::clean
