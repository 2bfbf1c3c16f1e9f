#include "library/compact/picture_areas.h"

#include "library/base/median.h"
#include "library/clean/paper_regions.h"
#include "library/clean/small_page.h"
#include "library/compact/cell_means.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include <opencv2/imgproc.hpp>

namespace korv::compact {

namespace {

constexpr int kSquare = 8; ///< cells: side of the squares that are judged as one, 2.4 mm at 330 dpi
constexpr int kMinKnown = 8; ///< cells of a square; with fewer it is full of letters

// a cell shows more than noise above this multiple of the noise's variance and this many levels
constexpr float kOverNoise = 4;
constexpr float kMinTexture = 3;

/// Share of a square's cells. The edge of a panel, a fold or a rule runs through fewer.
constexpr double kTextured = 0.3;

constexpr int kMinTogether = 4; ///< squares that touch; fewer are dirt

constexpr double kMinSide = 1.0 / 40; ///< of a picture's shorter side, in the page's longer one
constexpr double kTexturedShare = 0.03; ///< of a picture's squares; panels have less
/// Panels have even less where light and dark differ by this factor, more than light and shadow do.
constexpr double kContrastTexturedShare = 0.01;
constexpr double kContrast = 1.6;
constexpr double kExtremes = 0.1; ///< of a region: as light, and as dark, as this share of it

constexpr std::size_t kMaxAreas = 24;
constexpr double kMaxShare = 0.4; ///< of the page

float noiseOf(const cv::Mat &variances)
{
    std::vector<float> known;
    known.reserve(variances.total() / 4);
    for (int y = 0; y < variances.rows; y += 2) {
        const auto *row = variances.ptr<float>(y);
        std::copy_if(row, row + variances.cols, std::back_inserter(known),
                     [](float variance) { return variance >= 0; });
    }
    return known.empty() ? 0 : medianOf(known);
}

/// Squares of cells most of which show more than noise, as CV_8UC1 of 0 and 1.
cv::Mat texturedSquares(const cv::Mat &variances)
{
    const float limit = kOverNoise * noiseOf(variances) + kMinTexture * kMinTexture;
    cv::Mat result(variances.rows / kSquare, variances.cols / kSquare, CV_8UC1);
    for (int y = 0; y < result.rows; ++y) {
        for (int x = 0; x < result.cols; ++x) {
            const cv::Mat cells = variances(cv::Rect(x * kSquare, y * kSquare, kSquare, kSquare));
            const int known = cv::countNonZero(cells >= 0);
            const int textured = cv::countNonZero(cells > limit);
            result.at<std::uint8_t>(y, x) =
                known >= kMinKnown && textured > kTextured * known ? 1 : 0;
        }
    }
    return result;
}

/// Squares with ink of several colours in one place, as CV_8UC1 of 0 and 1.
cv::Mat mixedSquares(const cv::Mat &mixed, const cv::Size &squares)
{
    if (mixed.empty())
        return cv::Mat::zeros(squares, CV_8UC1);
    cv::Mat share;
    cv::resize(mixed, share, squares, 0, 0, cv::INTER_AREA);
    return (share > 0) & 1;
}

/// What is no paper.
struct PrintedRegions
{
    cv::Mat where; ///< 1 in a small picture of the page
    cv::Mat levels; ///< that picture, CV_8UC1, without the strokes of letters
};

PrintedRegions printedRegions(const cv::Mat &page, HelperThread &core)
{
    const cv::Mat small =
        clean::withoutStrokes(clean::shrunk(page, clean::smallCell(page.size()), core), core);
    PrintedRegions regions{1 - clean::paperRegions(small), small};
    if (small.channels() == 3)
        cv::cvtColor(small, regions.levels, cv::COLOR_RGB2GRAY);
    return regions;
}

/// How many times lighter the light parts of a region are than the dark ones.
double contrastOf(const cv::Mat &levels, const cv::Mat &region)
{
    std::vector<std::uint8_t> inside;
    for (int y = 0; y < region.rows; ++y) {
        for (int x = 0; x < region.cols; ++x) {
            if (region.at<std::uint8_t>(y, x) != 0)
                inside.push_back(levels.at<std::uint8_t>(y, x));
        }
    }
    const auto levelAt = [&inside](double share) {
        const auto place = static_cast<std::ptrdiff_t>(share * static_cast<double>(inside.size()));
        std::nth_element(inside.begin(), inside.begin() + place, inside.end());
        return std::max(1.0, static_cast<double>(inside[static_cast<std::size_t>(place)]));
    };
    return inside.empty() ? 1 : levelAt(1 - kExtremes) / levelAt(kExtremes);
}

cv::Rect scaled(const cv::Rect &rect, const cv::Size &from, const cv::Size &to)
{
    const int left = rect.x * to.width / from.width;
    const int top = rect.y * to.height / from.height;
    const int right = (rect.br().x * to.width + from.width - 1) / from.width;
    const int bottom = (rect.br().y * to.height + from.height - 1) / from.height;
    return {cv::Point(left, top), cv::Point(right, bottom)};
}

/// Regions that are no paper and have texture, in cells.
void addPrinted(const PrintedRegions &printed, const cv::Mat &textured, const cv::Size &grid,
                std::vector<cv::Rect> &areas)
{
    const cv::Mat &regions = printed.where;
    cv::Mat labels;
    cv::Mat stats;
    cv::Mat centres;
    const int count = cv::connectedComponentsWithStats(regions, labels, stats, centres, 8, CV_32S);
    const double minSide = kMinSide * std::max(regions.cols, regions.rows);
    for (int label = 1; label < count; ++label) {
        const cv::Rect box(
            stats.at<int>(label, cv::CC_STAT_LEFT), stats.at<int>(label, cv::CC_STAT_TOP),
            stats.at<int>(label, cv::CC_STAT_WIDTH), stats.at<int>(label, cv::CC_STAT_HEIGHT));
        if (std::min(box.width, box.height) < minSide)
            continue;
        cv::Mat region = labels(box) == label;
        const bool hasContrast = contrastOf(printed.levels(box), region) > kContrast;
        const cv::Rect squares = scaled(box, regions.size(), textured.size());
        cv::resize(region, region, squares.size(), 0, 0, cv::INTER_NEAREST);
        const int with = cv::countNonZero(region & textured(squares) * 255);
        const double share = hasContrast ? kContrastTexturedShare : kTexturedShare;
        if (with > share * cv::countNonZero(region))
            areas.push_back(scaled(box, regions.size(), grid));
    }
}

/// Squares of `chosen` that touch, in cells.
void addTogether(const cv::Mat &chosen, std::vector<cv::Rect> &areas)
{
    cv::Mat near;
    cv::dilate(chosen, near, cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3)));
    cv::Mat labels;
    cv::Mat stats;
    cv::Mat centres;
    const int count = cv::connectedComponentsWithStats(near, labels, stats, centres, 8, CV_32S);
    for (int label = 1; label < count; ++label) {
        const cv::Rect box(
            stats.at<int>(label, cv::CC_STAT_LEFT), stats.at<int>(label, cv::CC_STAT_TOP),
            stats.at<int>(label, cv::CC_STAT_WIDTH), stats.at<int>(label, cv::CC_STAT_HEIGHT));
        if (cv::countNonZero((labels(box) == label) & chosen(box) * 255) < kMinTogether)
            continue;
        areas.emplace_back(box.x * kSquare, box.y * kSquare, box.width * kSquare,
                           box.height * kSquare);
    }
}

/// Takes together what overlaps, until nothing does.
void merge(std::vector<cv::Rect> &areas)
{
    for (std::size_t i = 0; i < areas.size(); ++i) {
        const auto same =
            std::find_if(areas.begin() + static_cast<std::ptrdiff_t>(i) + 1, areas.end(),
                         [&](const cv::Rect &other) { return !(areas[i] & other).empty(); });
        if (same == areas.end())
            continue;
        areas[i] |= *same;
        areas.erase(same);
        i = static_cast<std::size_t>(-1); // the larger one may overlap those before it
    }
}

/// Moves areas of ink that overlap a picture into it.
void giveToPictures(PageAreas &areas)
{
    const auto isApart = [&areas](const cv::Rect &ink) {
        return std::none_of(areas.pictures.begin(), areas.pictures.end(),
                            [&ink](const cv::Rect &picture) { return !(ink & picture).empty(); });
    };
    for (;;) {
        const auto rest =
            std::stable_partition(areas.mixedInk.begin(), areas.mixedInk.end(), isApart);
        if (rest == areas.mixedInk.end())
            return;
        areas.pictures.insert(areas.pictures.end(), rest, areas.mixedInk.end());
        areas.mixedInk.erase(rest, areas.mixedInk.end());
        merge(areas.pictures); // they have grown, and may overlap others
    }
}

/// Cuts off what lies outside the grid, and takes together what overlaps.
void clip(std::vector<cv::Rect> &areas, const cv::Size &grid)
{
    for (cv::Rect &area : areas)
        area &= cv::Rect(cv::Point(), grid);
    merge(areas);
}

double shareOf(const std::vector<cv::Rect> &areas, const cv::Size &grid)
{
    double cells = 0;
    for (const cv::Rect &area : areas)
        cells += area.area();
    return cells / grid.area();
}

} // namespace

std::optional<PageAreas> pageAreas(const cv::Mat &page, const cv::Mat &variances,
                                   const cv::Mat &mixed, HelperThread &core)
{
    PageAreas areas;
    if (variances.rows < kSquare || variances.cols < kSquare)
        return areas;
    const cv::Size grid = variances.size();
    const cv::Mat textured = texturedSquares(variances);
    addPrinted(printedRegions(page, core), textured, grid, areas.pictures);
    addTogether(textured, areas.pictures);
    addTogether(mixedSquares(mixed, textured.size()), areas.mixedInk);
    clip(areas.pictures, grid);
    clip(areas.mixedInk, grid);
    giveToPictures(areas);
    const std::size_t count = areas.pictures.size() + areas.mixedInk.size();
    const double share = shareOf(areas.pictures, grid) + shareOf(areas.mixedInk, grid);
    if (count > kMaxAreas || share > kMaxShare)
        return std::nullopt;
    return areas;
}

} // namespace korv::compact
