#pragma once

#include "library/device/simulated/drawing/hand.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace korv {

/// A sheet on its way over the desk, moved from where it lies in its own picture.
struct MovingSheet
{
    int page = 0;
    double x = 0; ///< in parts of the picture's width, as y is
    double y = 0;
};

/// What there is to see on the desk at one moment.
struct DeskMoment
{
    int page = 0; ///< the sheet on top of those that lie
    std::optional<MovingSheet> moving;
    std::optional<HandPose> hand; ///< also while it is still outside the picture
    double zoom = 1; ///< of the lens while it looks for the focus
    double blur = 0; ///< standard deviation in parts of the picture's width
    std::optional<double> stillFor; ///< seconds since everything has come to rest; nothing: not yet
};

/// Who does what when: pages that rest, a hand that comes, takes the sheet on top away, lays another
/// on it, or only touches it, and a lens that looks for the focus afterwards. Chance decides, and a
/// seed decides chance.
class HandScript
{
public:
    /// `speed` 2: everything takes half of its time. The hand comes `turns` times at most, for ever
    /// when that is 0.
    HandScript(std::uint64_t seed, double speed, int turns);

    /// What is to be seen at `seconds`, 0 or more, after the start.
    DeskMoment at(double seconds);

private:
    enum class Deed { TakeAway, LayOn, Touch };

    /// From the moment when a page has come to rest until the next one has. Lengths in seconds.
    struct Turn
    {
        Deed deed = Deed::TakeAway;
        int page = 0; ///< before it
        double begin = 0;
        double rest = 0;
        double enter = 0;
        double hold = 0;
        double leave = 0;
        double settle = 0;
        double refocusAt = 0; ///< in the rest; 0: the lens stays as it is
        HandPose grip; ///< the hand on the sheet
        double side = 0; ///< of the way in: how far below the grip it begins

        double length() const { return rest + enter + hold + leave + settle; }
        int pageAfter() const { return deed == Deed::Touch ? page : page + 1; }
    };

    Turn nextTurn(const Turn *before, std::uint64_t number) const;
    const Turn &turnAt(double seconds);
    static void moveHand(const Turn &turn, double since, DeskMoment &moment);

    const std::uint64_t m_seed;
    const double m_speed;
    const std::size_t m_turnLimit;
    std::vector<Turn> m_turns;
};

} // namespace korv
