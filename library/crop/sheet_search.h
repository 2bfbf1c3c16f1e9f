#pragma once

#include "library/crop/edges/edge_finder.h"
#include "library/crop/lines/line_evidence.h"
#include "library/crop/lines/line_finder.h"
#include "library/crop/outlines/sheet_judge.h"

#include <optional>
#include <vector>

namespace korv::crop {

/// Looks for outlines in one photograph. That and the second core must outlive it.
class SheetSearch
{
public:
    /// Whether a picture is worth searching: nothing is found in a tiny one, or a very narrow one.
    static bool isLargeEnough(const Image &image);

    /// Precondition: isLargeEnough().
    SheetSearch(const Image &image, HelperThread &core);
    SheetSearch(const SheetSearch &) = delete; // its parts refer to each other
    SheetSearch &operator=(const SheetSearch &) = delete;

    /// Best first. Edges of the writing do not count.
    std::vector<Candidate> searchWithoutText();
    /// After the former: those edges are added. For paper that the desk hardly differs from.
    std::vector<Candidate> searchAll();

    Refined refined(const Candidate &candidate) const;
    /// The outline, or of a picture on a print that of the print. Sides on print get their margin.
    Refined withBorder(const Refined &outline) const;
    /// In the frame, with what the sides leave out of bent paper.
    Corners widened(const Refined &outline) const;
    /// In the frame, with the sides moved out that are no end of the sheet.
    Corners withoutFalseEnds(const Corners &corners) const;
    Surroundings around(const Candidate &candidate) const;
    /// Whether an outline, in the frame, is a figure's on a page; see crop::isOnAPage().
    bool isOnAPage(const Corners &corners) const;
    /// Whether an outline, in the frame, is an empty mat's; see crop::isCuttingMat().
    bool isCuttingMat(const Corners &corners) const;
    /// Whether an outline, in the frame, is cut off a page that leaves it; see crop::leavesFrame().
    bool leavesFrame(const Corners &corners) const;
    Corners inFrame(const Corners &corners) const { return m_picture.toFrame(corners); }

private:
    std::vector<Candidate> search(const std::vector<Edge> &edges);
    std::vector<LineEvidence> evidenceOfLines() const;

    const Image &m_image;
    HelperThread &m_core;
    SearchPicture m_picture;
    EdgeFinder m_edges;
    std::optional<ColourSpread> m_reach; ///< since the first search
    EdgeMap m_map;
    LineFinder m_lines;
    std::vector<LineEvidence> m_evidence; ///< of the lines of the last search
};

} // namespace korv::crop
