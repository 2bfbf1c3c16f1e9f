#pragma once

#include "library/crop/crop.h"

#include <array>
#include <cstdint>
#include <vector>

/// Drawn desks with sheets of known corners.
namespace desk {

using Colour = std::array<int, 3>; ///< R, G, B
using Corners = std::array<korv::Quadrilateral::Point, 4>; ///< clockwise as seen

enum class Surface { Plain, Grain, Checks };

struct Sheet
{
    Corners corners;
    Colour paper{236, 235, 228};
    bool written = true;
    bool printed = false; ///< a figure on the sheet before it, without a shadow
};

struct Disc
{
    double x = 0;
    double y = 0;
    double radius = 0;
    Colour colour{205, 160, 130};
};

struct Scene
{
    int width = 1200;
    int height = 900;
    Surface surface = Surface::Grain;
    Colour colour{120, 85, 55};
    std::vector<Sheet> sheets;
    std::vector<Disc> discs; ///< on top of the sheets
    double lightFall = 0; ///< brightness lost from the left to the right
    double shadow = 0; ///< brightness lost in a slanted strip
};

korv::Image draw(const Scene &scene);

} // namespace desk
