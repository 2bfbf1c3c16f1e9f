#pragma once

#include "library/imaging/search_picture.h"

#include <cstdint>
#include <vector>

namespace korv::crop {

/// Directions are counted modulo half a turn, so that both sides of a sheet's rim are the same.
constexpr int kDirections = 16;

/// A pixel in which a colour changes more than it does around.
struct Edge
{
    int x = 0;
    int y = 0;
    float angle = 0; ///< of the colour's change, across the edge; 0 to pi
    float weight = 0; ///< strength in multiples of the neighbourhood's, 1 to 3
};

/// The edges of one version of the picture.
std::vector<Edge> findEdges(const Planes &planes);

/// For every pixel the directions (as bits) of the edges within one pixel.
cv::Mat directionMap(cv::Size size, const std::vector<Edge> &first,
                     const std::vector<Edge> &second);

/// The bit of an edge whose colour changes along this angle.
std::uint16_t directionBit(double angle);

} // namespace korv::crop
