#pragma once

#include "library/crop/edges/edge_map.h"
#include "library/crop/edges/search_picture.h"
#include "library/crop/lines/crop_geometry.h"

#include <vector>

namespace korv::crop {

/// Part of a line within the frame, as distances along its direction from its foot.
struct Span
{
    double from = 0;
    double to = 0;
};

/// A straight line in the search picture that may hold a side of the sheet.
struct FoundLine
{
    Line line;
    double angle = 0; ///< of the normal, 0 to pi
    Span run; ///< where edges lie most densely on it
    double steadyLength = 0; ///< length of the run, more when the same step in colour goes along it
    double contrast = 0; ///< how marked that step is, little dependent on the length
};

/// The best lines through some edges: the best ones of every direction, so that a desk's grain does
/// not drown those across it. `map` holds at least these edges, `planes` the colours.
class LineFinder
{
public:
    LineFinder(const EdgeMap &map, const Planes &planes, HelperThread &core);

    /// Fits lines that are likely to the edges.
    void add(const std::vector<Line> &likely);
    std::vector<FoundLine> best() const;

private:
    void addLine(const Line &line, std::vector<FoundLine> &lines) const;

    const EdgeMap &m_map;
    const Planes &m_planes;
    HelperThread &m_core;
    std::vector<FoundLine> m_found;
};

/// The foot is the line's point nearest to the frame's origin.
inline cv::Point2d pointAt(const Line &line, double along)
{
    return line.normal * line.offset + line.direction() * along;
}

/// `margin` is kept from the frame's border. Empty (from >= to) when the line misses the frame.
Span spanWithin(const Line &line, cv::Size size, double margin);

} // namespace korv::crop
