#pragma once

#include "library/imaging/edge_map.h"
#include "library/imaging/search_picture.h"

#include <vector>

namespace korv::crop {

/// Finds edges in the search picture. Its luma can be had closed (writing does not count) or plain
/// (the shadow that sets off paper from a desk of its own colour is as thin as writing).
class EdgeFinder
{
public:
    explicit EdgeFinder(const SearchPicture &picture)
        : m_picture(picture)
    {
    }

    std::vector<Edge> closed() const;
    std::vector<Edge> plain() const;

private:
    const SearchPicture &m_picture;
};

} // namespace korv::crop
