#pragma once

#include "cli/turns/smallpicture.h"

#include <array>
#include <vector>

namespace cli {

/// The edge of a picture, all the way round: what an arm has to come over.
class EdgeRing
{
public:
    EdgeRing() = default;
    explicit EdgeRing(const SmallColourPicture &picture);

    /// Whether something has come over the edge that was not there `before`: a piece as long as an
    /// arm is wide looks different. Neither a lamp that has changed nor a camera that balances its
    /// white differently counts.
    bool isEnteredSince(const EdgeRing &before) const;

private:
    /// Brightness and two differences of colours, in hundredths of a natural logarithm.
    using Look = std::array<float, 3>;

    void add(const SmallColourPicture &picture, int left, int top, int width, int height);

    int m_arm = 0; ///< the least width of an arm, in places
    std::vector<Look> m_places; ///< clockwise
};

} // namespace cli
