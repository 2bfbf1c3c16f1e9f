#pragma once

#include "library/crop/lines/crop_geometry.h"

#include <opencv2/core.hpp>

namespace korv::crop {

/// Whether an outline is that of a cutting mat with nothing on it: all over it are lines, lighter than
/// the ground, as far from each other in one direction as in the other. Precondition: convex corners;
/// `luma` is the search picture's, with writing.
bool isCuttingMat(const Corners &corners, const cv::Mat &luma);

} // namespace korv::crop
