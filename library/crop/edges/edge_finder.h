#pragma once

#include "library/crop/edges/edge_map.h"
#include "library/crop/edges/search_picture.h"

#include <vector>

namespace korv::crop {

/// Finds edges in the search picture. Its luma can be had closed (writing does not count) or plain
/// (the shadow that sets off paper from a desk of its own colour is as thin as writing).
class EdgeFinder
{
public:
    EdgeFinder(const SearchPicture &picture, HelperThread &core)
        : m_picture(picture)
        , m_core(core)
    {
    }

    std::vector<Edge> closed() const;
    std::vector<Edge> plain() const;

private:
    const SearchPicture &m_picture;
    HelperThread &m_core;
};

} // namespace korv::crop
