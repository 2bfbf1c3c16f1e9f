#include "cli/advice/framerate.h"

#include "cli/base/translation.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace cli {
namespace {

using Clock = Wakeup::Clock;
using Seconds = std::chrono::duration<double>;

/// Fewer distances between frames do not show what is usual.
constexpr std::size_t kMinDistances = 4;
/// A camera this slow is unusable, even if its mode promises no more.
constexpr double kMinRate = 1;

/// Frames that fit into the gaps, when the usual distance is that of the shorter ones.
long missingInGaps(const std::vector<Clock::time_point> &arrivals)
{
    std::vector<double> distances;
    for (std::size_t at = 1; at < arrivals.size(); ++at)
        distances.push_back(Seconds(arrivals[at] - arrivals[at - 1]).count());
    if (distances.size() < kMinDistances)
        return 0;
    std::vector<double> sorted = distances;
    std::sort(sorted.begin(), sorted.end());
    const double usual = sorted[sorted.size() / 4];
    if (usual <= 0)
        return 0;
    long missing = 0;
    for (const double distance : distances)
        missing += std::max(0L, std::lround(distance / usual) - 1);
    return missing;
}

} // namespace

std::string fixed(double value, int digits)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

FrameRate measureRate(const std::vector<Clock::time_point> &arrivals, Clock::time_point end,
                      std::optional<double> promised)
{
    FrameRate rate;
    rate.promised = promised;
    if (arrivals.empty() || end <= arrivals.front())
        return rate;
    const double length = Seconds(end - arrivals.front()).count();
    rate.arrived = static_cast<long>(arrivals.size()) - 1;
    rate.measured = static_cast<double>(rate.arrived) / length;
    rate.missing = promised
        ? std::max(0L, static_cast<long>(std::floor(*promised * length)) - rate.arrived)
        : missingInGaps(arrivals);
    return rate;
}

std::string rateProblem(const FrameRate &rate)
{
    const bool tooSlow = !rate.promised && rate.measured < kMinRate;
    if (rate.missing <= rate.arrived && !tooSlow)
        return {};
    std::string text = tr("only %1 pictures a second", fixed(rate.measured, 1));
    if (rate.promised)
        text += tr(" of %1", fixed(*rate.promised, 1));
    if (rate.missing > 0)
        text += tr(", %1 of %2 were left out", rate.missing, rate.missing + rate.arrived);
    return tr(
        "%1; try more light, another cable, a port of the computer itself instead of a hub, or "
        "a smaller resolution",
        text);
}

} // namespace cli
