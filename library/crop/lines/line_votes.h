#pragma once

#include "library/crop/edges/edge_map.h"
#include "library/crop/lines/crop_geometry.h"

#include <vector>

namespace korv::crop {

/// The lines for which most edges vote (Hough), strongest first; as fine as the votes' cells.
std::vector<Line> likelyLines(const std::vector<Edge> &edges, cv::Size size);

} // namespace korv::crop
