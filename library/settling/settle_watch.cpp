#include "library/settling/settle_watch.h"

#include <algorithm>
#include <cmath>

namespace korv {
namespace {

using std::chrono::milliseconds;

constexpr std::size_t kFewestFrames = 3;
constexpr milliseconds kStillness{250};
constexpr milliseconds kMemory{1000};

/// How far frames may differ and still count as alike, as parts of the whole. Over a quarter of a
/// second they leave a camera that approaches its goal exponentially, in half a second to a third,
/// one and three per cent short of it.
struct Tolerance
{
    double brightness;
    double sharpness;
};
constexpr Tolerance kStill{0.007, 0.02};
constexpr Tolerance kFlicker{0.06, 0.15};

/// What is darker or flatter than this is measured against it: nothing can be seen there anyway.
constexpr double kLeastBrightness = 16;
constexpr double kLeastSharpness = 4;

bool areAlike(const FrameMeasure &one, const FrameMeasure &other, const Tolerance &tolerance)
{
    const double brightness = std::max({one.brightness, other.brightness, kLeastBrightness});
    const double sharpness = std::max({one.sharpness, other.sharpness, kLeastSharpness});
    return std::abs(one.brightness - other.brightness) <= tolerance.brightness * brightness
        && std::abs(one.sharpness - other.sharpness) <= tolerance.sharpness * sharpness;
}

/// The least and the greatest of both measures.
template <typename Iterator>
std::pair<FrameMeasure, FrameMeasure> rangeOf(Iterator at, Iterator end)
{
    FrameMeasure least = at->measure;
    FrameMeasure greatest = at->measure;
    for (; at != end; ++at) {
        least.brightness = std::min(least.brightness, at->measure.brightness);
        least.sharpness = std::min(least.sharpness, at->measure.sharpness);
        greatest.brightness = std::max(greatest.brightness, at->measure.brightness);
        greatest.sharpness = std::max(greatest.sharpness, at->measure.sharpness);
    }
    return {least, greatest};
}

template <typename Iterator> FrameMeasure meanOf(Iterator at, Iterator end)
{
    FrameMeasure mean;
    const auto count = static_cast<double>(std::distance(at, end));
    for (; at != end; ++at) {
        mean.brightness += at->measure.brightness / count;
        mean.sharpness += at->measure.sharpness / count;
    }
    return mean;
}

} // namespace

bool SettleWatch::add(const FrameMeasure &measure, TimePoint when)
{
    const bool isFirst = !m_start;
    if (isFirst)
        m_start = when;
    else
        m_moved = m_moved || !areAlike(m_entries.back().measure, measure, kStill);
    m_entries.push_back({measure, when});
    // the oldest that is kept reaches over the whole time
    while (m_entries.size() > 1 && when - m_entries[1].when >= kMemory)
        m_entries.pop_front();
    const bool isAsBefore = isFirst && m_settled && areAlike(*m_settled, measure, kStill);
    if (!isAsBefore && !isStill() && !isFlicker())
        return false;
    m_settled = measure;
    return true;
}

void SettleWatch::startOver()
{
    m_entries.clear();
    m_start.reset();
    m_moved = false;
}

std::optional<SettleWatch::TimePoint> SettleWatch::deadline() const
{
    return m_start ? std::optional(*m_start + kLongest) : std::nullopt;
}

bool SettleWatch::isStill() const
{
    if (m_entries.size() < kFewestFrames)
        return false;
    auto first = m_entries.end() - kFewestFrames;
    if (m_moved) {
        const TimePoint since = m_entries.back().when - kStillness;
        while (first != m_entries.begin() && first->when > since)
            --first;
        if (first->when > since)
            return false;
    }
    const auto [least, greatest] = rangeOf(first, m_entries.end());
    return areAlike(least, greatest, kStill);
}

bool SettleWatch::isFlicker() const
{
    if (m_entries.size() < 2 * kFewestFrames
        || m_entries.back().when - m_entries.front().when < kMemory)
        return false;
    const auto [least, greatest] = rangeOf(m_entries.begin(), m_entries.end());
    const auto middle = m_entries.begin() + static_cast<std::ptrdiff_t>(m_entries.size() / 2);
    return areAlike(least, greatest, kFlicker)
        && areAlike(meanOf(m_entries.begin(), middle), meanOf(middle, m_entries.end()), kStill);
}

} // namespace korv
