#pragma once

#include "library/imaging/edge_map.h"
#include "library/imaging/line_finder.h"
#include "library/imaging/sheet_judge.h"

#include <vector>

namespace korv::crop {

/// Looks for outlines in one photograph, which must outlive it.
class SheetSearch
{
public:
    explicit SheetSearch(const Image &image);
    SheetSearch(const SheetSearch &) = delete; // its parts refer to each other
    SheetSearch &operator=(const SheetSearch &) = delete;

    /// Nothing can be found in so small a picture; do not search.
    bool isTooSmall() const;

    /// Best first. Edges of the writing do not count.
    std::vector<Candidate> amongClosed();
    /// After the former: those edges are added. For paper that the desk hardly differs from.
    std::vector<Candidate> amongAll();

    Refined refined(const Candidate &candidate) const;
    Corners inFrame(const Corners &corners) const;

private:
    std::vector<Candidate> search(const std::vector<Edge> &edges);

    const Image &m_image;
    SearchPicture m_picture;
    EdgeFinder m_edges;
    ColourReach m_reach;
    EdgeMap m_map;
    LineFinder m_lines;
};

} // namespace korv::crop
