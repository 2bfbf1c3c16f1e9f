#include "cli/progress/progress.h"

#include "cli/base/translation.h"

#include <cstdio>
#include <utility>

namespace cli {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kPatience{1000}; ///< what is done sooner needs no line
constexpr milliseconds kRewriteEvery{200};
constexpr double kMillisecondsPerMinute = 60'000;
constexpr double kSecondsPerMinute = 60;

/// With one decimal, of which ten and more have no need.
std::string figure(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", value < 9.95 ? 1 : 0, value);
    return text;
}

std::string rateText(double perMinute)
{
    return perMinute >= kSecondsPerMinute ? tr("%1/s", figure(perMinute / kSecondsPerMinute))
                                          : tr("%1/min", figure(perMinute));
}

} // namespace

std::string clockText(milliseconds time)
{
    const long seconds = static_cast<long>(std::chrono::floor<std::chrono::seconds>(time).count());
    char text[64];
    if (seconds >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", seconds / 3600, seconds / 60 % 60,
                      seconds % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", seconds / 60, seconds % 60);
    return text;
}

std::string describe(const Count &count, milliseconds elapsed)
{
    const std::string text = tr(count.what, count.done, count.all);
    const bool hasRate = count.done > count.before && count.done < count.all && elapsed.count() > 0;
    if (!hasRate)
        return tr("%1, %2", text, clockText(elapsed));
    const auto made = static_cast<milliseconds::rep>(count.done - count.before);
    const milliseconds left =
        elapsed * static_cast<milliseconds::rep>(count.all - count.done) / made;
    const double perMinute =
        kMillisecondsPerMinute * static_cast<double>(made) / static_cast<double>(elapsed.count());
    return tr("%1, %2, %3 left", text, rateText(perMinute),
              clockText(std::chrono::ceil<std::chrono::seconds>(left)));
}

Progress::Progress(int terminal, Now now)
    : m_line(terminal)
    , m_now(std::move(now))
    , m_begun(m_now())
    , m_due(m_begun + kPatience)
{
}

void Progress::update(const std::function<std::string(milliseconds elapsed)> &text)
{
    if (!isOn())
        return;
    const Clock::time_point now = m_now();
    if (now < m_due)
        return;
    m_due = now + kRewriteEvery;
    m_line.show(text(std::chrono::duration_cast<milliseconds>(now - m_begun)));
}

void Progress::update(const Count &count)
{
    update([&](milliseconds elapsed) { return describe(count, elapsed); });
}

void Progress::clear()
{
    m_line.clear();
    m_due = m_begun + kPatience;
}

} // namespace cli
