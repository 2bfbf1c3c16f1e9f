// The search for the sheet in small drawn pictures, and the cut of what it finds.
#include "library/crop/crop.h"
#include "tests/fuzz/check.h"
#include "tests/fuzz/drawing.h"

#include <cmath>

namespace {

using Point = korv::Quadrilateral::Point;

double side(const Point &a, const Point &b, const Point &c)
{
    return (b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x);
}

/// Finite, not far outside the picture, and once round clockwise without a dent.
void checkSheet(const korv::Quadrilateral &sheet, const korv::Image &image)
{
    const double reach = std::max(image.width(), image.height());
    for (std::size_t i = 0; i < 4; ++i) {
        const Point &corner = sheet.corners[i];
        FUZZ_CHECK(std::isfinite(corner.x) && std::isfinite(corner.y));
        FUZZ_CHECK(corner.x > -reach && corner.x < image.width() + reach);
        FUZZ_CHECK(corner.y > -reach && corner.y < image.height() + reach);
        FUZZ_CHECK(side(corner, sheet.corners[(i + 1) % 4], sheet.corners[(i + 2) % 4]) > 0);
    }
}

void checkCut(const korv::Image &image, const korv::Quadrilateral &sheet, korv::HelperThread &core)
{
    const korv::Image cut = korv::cutSheet(image, sheet, core);
    FUZZ_CHECK(korv::isSupportedSize(cut.width(), cut.height()));
    FUZZ_CHECK(cut.format() == image.format());
    FUZZ_CHECK(cut.resolution() == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    fuzz::Input input(bytes, size);
    const bool onlyCut = input.between(0, 7) == 0;
    const korv::Image image = fuzz::drawnImage(input);
    korv::HelperThread core;
    if (onlyCut) {
        // corners that no search would choose
        const korv::Quadrilateral sheet = fuzz::convexQuadrilateral(input, image);
        checkCut(image, sheet, core);
        return 0;
    }
    const std::optional<korv::Quadrilateral> sheet = korv::findSheet(image, core);
    if (!sheet)
        return 0;
    checkSheet(*sheet, image);
    checkCut(image, *sheet, core);
    return 0;
}
