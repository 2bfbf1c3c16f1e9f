#include "library/device/simulated/hands/hand_script.h"

#include "library/device/simulated/hands/scatter.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace korv {
namespace {

constexpr double kOutside = 1.3; ///< how far from its grip a hand starts, in parts of the width
constexpr double kRefocusTime = 0.5; ///< seconds of a lens that hunts without a cause

/// 0 to 1 with a soft start and end.
double eased(double part)
{
    const double inside = std::clamp(part, 0.0, 1.0);
    return inside * inside * (3 - 2 * inside);
}

/// A lens that goes too far, comes back and stops; `part` runs from 0 to 1.
void hunt(double part, DeskMoment &moment)
{
    const double swing = std::sin(2 * M_PI * part) * (1 - part);
    moment.zoom = 1 + 0.008 * swing;
    moment.blur = 0.0016 * std::abs(swing);
}

/// The hand and what it holds, `way` from its grip towards where it came from.
HandPose movedOut(const HandPose &grip, double way)
{
    HandPose pose = grip;
    pose.x += pose.armX * way;
    pose.y += pose.armY * way;
    return pose;
}

} // namespace

HandScript::HandScript(std::uint64_t seed, double speed, int turns)
    : m_seed(seed)
    , m_speed(speed)
    , m_turnLimit(turns > 0 ? static_cast<std::size_t>(turns)
                            : std::numeric_limits<std::size_t>::max())
{
    m_turns.push_back(nextTurn(nullptr, 0));
}

HandScript::Turn HandScript::nextTurn(const Turn *before, std::uint64_t number) const
{
    Scatter chance(m_seed, number);
    Turn turn;
    if (before) {
        turn.page = before->pageAfter();
        turn.begin = before->begin + before->length();
    }
    const int deed = chance.below(20);
    turn.deed = deed < 3 ? Deed::Touch : deed < 7 ? Deed::LayOn : Deed::TakeAway;
    turn.rest = chance.between(1.3, 2.4) / m_speed;
    turn.enter = chance.between(0.35, 0.6) / m_speed;
    // now and then somebody thinks, the hand on the sheet
    turn.hold =
        (chance.happens(0.2) ? chance.between(1.0, 2.2) : chance.between(0.1, 0.4)) / m_speed;
    turn.leave = chance.between(0.5, 0.9) / m_speed;
    turn.settle = chance.between(0.3, 0.7) / m_speed;
    if (chance.happens(0.2))
        turn.refocusAt = chance.between(0.85, 1.0) / m_speed;
    turn.grip.x = chance.between(0.52, 0.66);
    turn.grip.y = chance.between(0.36, 0.54);
    const double angle = chance.between(0.05, 1.0); // from the right, a little or much from below
    turn.grip.armX = std::cos(angle);
    turn.grip.armY = std::sin(angle);
    turn.grip.look = chance.below(HandPose::kLooks);
    return turn;
}

const HandScript::Turn &HandScript::turnAt(double seconds)
{
    while (m_turns.size() <= m_turnLimit
           && m_turns.back().begin + m_turns.back().length() <= seconds) {
        const Turn before = m_turns.back();
        m_turns.push_back(nextTurn(&before, m_turns.size()));
    }
    const auto after =
        std::upper_bound(m_turns.begin() + 1, m_turns.end(), seconds,
                         [](double at, const Turn &turn) { return at < turn.begin; });
    return *(after - 1);
}

void HandScript::moveHand(const Turn &turn, double since, DeskMoment &moment)
{
    double way = 0;
    const double held = since - turn.enter;
    const bool isLeaving = held > turn.hold;
    if (since < turn.enter)
        way = kOutside * (1 - eased(since / turn.enter));
    else if (isLeaving)
        way = kOutside * eased((held - turn.hold) / turn.leave);
    moment.hand = movedOut(turn.grip, way);
    // a hand that rests is never quite still: a third of a millimetre
    moment.hand->x += 0.0007 * std::sin(2 * M_PI * 1.3 * since);
    moment.hand->y += 0.0007 * std::sin(2 * M_PI * 0.9 * since + 1);
    const double x = moment.hand->x - turn.grip.x;
    const double y = moment.hand->y - turn.grip.y;
    if (turn.deed == Deed::TakeAway && isLeaving)
        moment.moving = MovingSheet{turn.page, x, y};
    if (turn.deed == Deed::LayOn && !isLeaving)
        moment.moving = MovingSheet{turn.page + 1, x, y};
    if (isLeaving)
        moment.page = turn.pageAfter();
}

DeskMoment HandScript::at(double seconds)
{
    const Turn &turn = turnAt(seconds);
    const double since = seconds - turn.begin;
    DeskMoment moment;
    moment.page = turn.page;
    const bool isLast = m_turns.size() > m_turnLimit && &turn == &m_turns.back();
    if (since < turn.rest || isLast) {
        const double refocus = (since - turn.refocusAt) / kRefocusTime;
        if (turn.refocusAt > 0 && refocus > 0 && refocus < 1)
            hunt(refocus, moment);
        else
            moment.stillFor = since;
        return moment;
    }
    const double handled = since - turn.rest;
    const double busy = turn.enter + turn.hold + turn.leave;
    if (handled < busy) {
        moveHand(turn, handled, moment);
    } else {
        moment.page = turn.pageAfter();
        hunt((handled - busy) / turn.settle, moment);
    }
    return moment;
}

} // namespace korv
