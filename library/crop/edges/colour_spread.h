#pragma once

#include "library/crop/edges/search_picture.h"

#include <vector>

#include <opencv2/core.hpp>

namespace korv::crop {

/// How far each colour of a picture is scattered over it. A desk's colours lie all over the frame,
/// a sheet's only within it, and a picture's on the sheet within even less.
class ColourSpread
{
public:
    explicit ColourSpread(const Planes &planes);

    /// Standard deviation of the places of all pixels coloured like this one, in frame diagonals.
    float at(cv::Point pixel) const { return m_reach[binOf(pixel)]; }

private:
    std::size_t binOf(cv::Point pixel) const;

    const Planes &m_planes;
    std::vector<float> m_reach; ///< how far each bin's colour reaches
};

} // namespace korv::crop
