#include "cli/turns/turndetector.h"

#include <utility>

namespace cli {
namespace {

using std::chrono::milliseconds;

/// A block that changes by less on average shows noise or a lens that breathes.
constexpr float kMovement = 6;
/// Less than a hand: the hand of a clock, a light that blinks.
constexpr int kMinMovingBlocks = 4;
constexpr int kMinDifferentBlocks = 3;

constexpr milliseconds kStillTime{300};
/// A lens that is still looking for its focus does not find it.
constexpr milliseconds kFocusTime{2500};
/// What came over the edge and has been still for so long lies there.
constexpr milliseconds kLyingTime{4000};
/// From then on few pictures are looked at.
constexpr milliseconds kIdleAfter{1000};
constexpr milliseconds kIdleLook{200};

} // namespace

bool TurnDetector::wantsToLook(Clock::time_point when) const
{
    const bool isIdle = m_isDecided && m_lookedAt - m_movedAt >= kIdleAfter;
    return !isIdle || when - m_lookedAt >= kIdleLook;
}

void TurnDetector::startOver(LightMap map, Clock::time_point when, CloserLook &closer)
{
    *this = TurnDetector();
    m_freeEdge = EdgeRing(closer.colours()); // the best guess
    m_stillFrom = map;
    m_now = std::move(map);
    m_lookedAt = when;
    m_movedAt = when;
}

bool TurnDetector::hasMoved(const LightMap &map, Clock::time_point when)
{
    const auto differs = [&](const LightMap &before) {
        return LightChange(before, map).changedBlocks(kMovement) >= kMinMovingBlocks;
    };
    if (!differs(m_now) && !differs(m_stillFrom))
        return false;
    m_stillFrom = map;
    m_movedAt = when;
    m_isDecided = false;
    m_focus.reset();
    m_life.reset();
    return true;
}

Sight TurnDetector::look(const SmallPicture &picture, Clock::time_point when, CloserLook &closer)
{
    LightMap map(picture);
    if (!map.isLike(m_now)) {
        startOver(std::move(map), when, closer);
        return Sight::Moving;
    }
    const bool moved = hasMoved(map, when);
    m_now = std::move(map);
    m_lookedAt = when;
    if (moved)
        return Sight::Moving;
    return m_isDecided ? Sight::Waiting : judge(when, closer);
}

bool TurnDetector::isHandInside(const EdgeRing &edge, Clock::duration still)
{
    if (!edge.isEnteredSince(m_freeEdge))
        return false;
    m_life.add(m_now);
    return still < kLyingTime || m_life.isAlive();
}

Sight TurnDetector::judge(Clock::time_point when, CloserLook &closer)
{
    const Clock::duration still = when - m_movedAt;
    if (still < kStillTime)
        return Sight::Moving;
    const EdgeRing edge(closer.colours());
    if (isHandInside(edge, still))
        return Sight::Settling;
    m_focus.add(closer.sharpness());
    if (!m_focus.hasSettled() && still < kFocusTime)
        return Sight::Settling;
    // not before: out of focus, one page of text looks like another
    if (!m_page || differentBlocks(*m_page, m_now) >= kMinDifferentBlocks)
        return Sight::Turned;
    m_isDecided = true;
    m_freeEdge = edge;
    return Sight::Waiting;
}

void TurnDetector::taken(CloserLook &closer)
{
    m_page = m_now;
    m_freeEdge = EdgeRing(closer.colours());
    m_isDecided = true;
}

} // namespace cli
