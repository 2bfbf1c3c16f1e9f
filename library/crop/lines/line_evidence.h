#pragma once

#include "library/crop/lines/line_finder.h"

#include <vector>

#include <opencv2/core.hpp>

namespace korv::crop {

/// What a piece of a line says about being a sheet's side. `left` is where the normal points.
struct SideEvidence
{
    double support = 0; ///< share of it that lies on edges of its direction
    double startSupport = 0; ///< the same of its first part
    double endSupport = 0;
    double beforeSupport = 0; ///< of the piece that precedes it on the line
    double behindSupport = 0;
    cv::Vec3d left; ///< mean colour beside it
    cv::Vec3d right;
    double leftSpread = 0; ///< standard deviation, all planes
    double rightSpread = 0;
    double steadiness = 0; ///< 0 to 1: how far the step across is the same all along
    double step = 0; ///< length of the mean step across
};

/// Sums along a whole line, from which the evidence of any piece of it follows at once.
class LineEvidence
{
public:
    LineEvidence(const FoundLine &line, const EdgeMap &map, const Planes &planes);

    const Line &line() const { return m_line; }
    const Span &span() const { return m_span; }

    /// Share of the piece that lies on edges.
    double support(double from, double to) const;
    SideEvidence piece(double from, double to) const;

private:
    struct Sums
    {
        float edges = 0;
        cv::Vec3f left;
        cv::Vec3f right;
        float leftSquare = 0;
        float rightSquare = 0;
        float stepSquare = 0;
    };

    std::size_t indexOf(double along) const;

    Line m_line;
    Span m_span;
    std::vector<Sums> m_sums; ///< element i holds the sums of the first i samples
};

} // namespace korv::crop
