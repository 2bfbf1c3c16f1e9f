#include "cli/serve/pagegeometry.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace cli {
namespace {

constexpr double kMillimetresPerInch = 25.4;
constexpr double kUnitsPerInch = 300;
constexpr double kRegionTolerance = 2; // millimetres
constexpr double kFitTolerance = 1; // millimetres
// Sheets cut out of a frame that is seen at an angle have their proportions within this share.
constexpr double kShapeTolerance = 0.03;
constexpr std::array<int, 7> kResolutions{75, 100, 150, 200, 300, 400, 600};
constexpr std::size_t kMinResolutions = 5; // up to 300 dpi, which programs ask for unasked
constexpr int kMinA3Resolution = 150;

struct Paper
{
    double longSide; ///< millimetres
    double shortSide;
};

constexpr Paper kA4{297, 210};
constexpr Paper kLetter{279.4, 215.9};
constexpr std::array<Paper, 5> kPapers{{{420, 297}, kA4, {210, 148}, kLetter, {85.6, 53.98}}};
// The platen is larger than its largest paper, so that the whole platen names no paper.
constexpr Paper kLargePlaten{432, 303};
constexpr Paper kSmallPlaten{303, 222};

double millimetres(int units)
{
    return units / kUnitsPerInch * kMillimetresPerInch;
}

int units(double length)
{
    return static_cast<int>(std::lround(length / kMillimetresPerInch * kUnitsPerInch));
}

int pixels(double length, int resolution)
{
    return std::max(1, static_cast<int>(std::lround(length / kMillimetresPerInch * resolution)));
}

bool isClose(double a, double b, double tolerance)
{
    return std::abs(a - b) <= tolerance;
}

bool hasShape(double ratio, const Paper &paper)
{
    const double wanted = paper.longSide / paper.shortSide;
    return isClose(ratio, wanted, wanted * kShapeTolerance);
}

/// The paper that the region names; null when it names none.
const Paper *paperOf(const ScanRegion &region)
{
    if (region.x != 0 || region.y != 0)
        return nullptr;
    const double longSide = millimetres(std::max(region.width, region.height));
    const double shortSide = millimetres(std::min(region.width, region.height));
    for (const Paper &paper : kPapers) {
        if (isClose(longSide, paper.longSide, kRegionTolerance)
            && isClose(shortSide, paper.shortSide, kRegionTolerance))
            return &paper;
    }
    return nullptr;
}

/// The sides of a page in millimetres.
Paper sidesOf(const PageShape &page, const ScanRegion &region)
{
    const double longSide = std::max(page.width, page.height);
    const double shortSide = std::min(page.width, page.height);
    const double ratio = longSide / shortSide;
    const Paper *const named = paperOf(region);
    if (!named) {
        if (page.isSheet && hasShape(ratio, kLetter))
            return kLetter;
        if (page.isSheet && hasShape(ratio, kA4))
            return kA4;
        return {kA4.longSide, kA4.longSide / ratio};
    }
    if (page.isSheet && hasShape(ratio, *named))
        return *named;
    const double scale = std::min(named->longSide / longSide, named->shortSide / shortSide);
    return {longSide * scale, shortSide * scale};
}

/// The part of a length of `size` pixels that begins at `offset` and has `length`; at least one.
void cutTo(int size, int &offset, int &length)
{
    offset = std::min(offset, size - 1);
    length = std::clamp(length, 1, size - offset);
}

} // namespace

ScannerLimits limitsOf(const CameraFacts &camera)
{
    const int longSide = std::max(camera.width, camera.height);
    const int shortSide = std::min(camera.width, camera.height);
    ScannerLimits limits;
    for (const int resolution : kResolutions) {
        limits.resolutions.push_back(resolution);
        const bool isFineEnough = longSide <= pixels(kA4.longSide, resolution)
            || shortSide <= pixels(kA4.shortSide, resolution);
        if (isFineEnough && limits.resolutions.size() >= kMinResolutions)
            break;
    }
    const bool takesA3 = longSide >= pixels(kPapers[0].longSide, kMinA3Resolution);
    const Paper &platen = takesA3 ? kLargePlaten : kSmallPlaten;
    limits.maxWidth = units(platen.shortSide);
    limits.maxHeight = units(platen.longSide);
    return limits;
}

PagePlan planPage(const PageShape &page, const ScanSettings &settings)
{
    const ScanRegion &region = settings.region;
    const Paper sides = sidesOf(page, region);
    const bool isAcross = page.width > page.height;
    double width = isAcross ? sides.longSide : sides.shortSide;
    double height = isAcross ? sides.shortSide : sides.longSide;
    const auto fits = [&region](double across, double down) {
        return across <= millimetres(region.width) + kFitTolerance
            && down <= millimetres(region.height) + kFitTolerance;
    };
    PagePlan plan;
    plan.rotate = !fits(width, height) && fits(height, width);
    if (plan.rotate)
        std::swap(width, height);
    const int resolution = settings.resolution;
    plan.width = pixels(width, resolution);
    plan.height = pixels(height, resolution);
    const auto scaled = [resolution](int length) {
        return static_cast<int>(std::lround(length * resolution / kUnitsPerInch));
    };
    plan.window = {scaled(region.x), scaled(region.y), scaled(region.width), scaled(region.height)};
    cutTo(plan.width, plan.window.x, plan.window.width);
    cutTo(plan.height, plan.window.y, plan.window.height);
    return plan;
}

} // namespace cli
