#pragma once

#include "cli/turns/edgering.h"
#include "cli/turns/lightmap.h"
#include "cli/turns/stillness.h"

#include <chrono>
#include <optional>

namespace cli {

/// What a look at the desk shows.
enum class Sight {
    Moving, ///< something moves, or has just moved
    Settling, ///< all is still, but a hand is in the picture, or the lens looks for the focus
    Waiting, ///< all is still, and the page there is the one taken last
    Turned, ///< another page than the last one lies there to be taken
};

/// A closer look at a picture, for which there is no need as long as nothing happens.
class CloserLook
{
public:
    virtual ~CloserLook() = default;

    /// Its sharpness, see sharpnessOf(), taken from a picture large enough to show it.
    virtual double sharpness() = 0;
    /// The same small picture in colour.
    virtual SmallColourPicture colours() = 0;
};

/// Watches a desk in small gray pictures and says when a page has been turned: something moved, all
/// is still again, no hand is in the picture, the page differs from the last one taken, and it is as
/// sharp as it gets. The first page needs no movement.
///
/// Neither noise nor light that drifts or flickers is taken for movement, and a page that was only
/// touched is no new one. A blank page behind another blank one in the very same place cannot be
/// told from it. A hand is known by the arm: what has come over the edge of the picture since the
/// last page and is never quite still.
class TurnDetector
{
public:
    using Clock = std::chrono::steady_clock;

    /// Whether a picture taken at `when` is worth a look: while nothing happens, few are.
    bool wantsToLook(Clock::time_point when) const;

    /// Looks at a picture. All have one size; one of another size starts the watch over and
    /// forgets the last page. Turned comes for each picture until taken() is called or something moves.
    Sight look(const SmallPicture &picture, Clock::time_point when, CloserLook &closer);

    /// The picture looked at last has become a page.
    void taken(CloserLook &closer);

private:
    void startOver(LightMap map, Clock::time_point when, CloserLook &closer);
    bool hasMoved(const LightMap &map, Clock::time_point when);
    Sight judge(Clock::time_point when, CloserLook &closer);
    bool isHandInside(const EdgeRing &edge, Clock::duration still);

    LightMap m_now;
    Clock::time_point m_lookedAt;
    Clock::time_point m_movedAt;
    LightMap m_stillFrom; ///< when it became still, to see what moves too slowly for two pictures
    bool m_isDecided = false; ///< nothing is left to find out until something moves
    std::optional<LightMap> m_page; ///< the last page taken
    EdgeRing m_freeEdge; ///< without a hand; at first, of the first picture
    FocusWatch m_focus;
    LifeWatch m_life;
};

} // namespace cli
