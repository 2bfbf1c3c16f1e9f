#pragma once

#include "library/imaging/crop_geometry.h"
#include "library/imaging/edge_map.h"

#include <vector>

namespace korv::crop {

/// The lines for which most edges vote (Hough), strongest first; as fine as the votes' cells.
std::vector<Line> likelyLines(const std::vector<Edge> &edges, cv::Size size);

} // namespace korv::crop
