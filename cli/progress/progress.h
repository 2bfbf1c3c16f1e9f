#pragma once

#include "cli/progress/terminalline.h"

#include <chrono>
#include <functional>
#include <string>

namespace cli {

/// How far a work has come.
struct Count
{
    const char *what = ""; ///< for tr(), with %1 for what is done and %2 for all
    std::size_t done = 0;
    std::size_t all = 0;
    std::size_t before = 0; ///< of those done, how many were so when the work began
};

/// "12 of 80 pages, 5.3/s, 0:13 left", for a work that began that long ago; without a rate, how long it
/// has taken.
std::string describe(const Count &count, std::chrono::milliseconds elapsed);

/// How long something takes, "1:02:03" or "2:03".
std::string clockText(std::chrono::milliseconds time);

/// Shows people at a terminal how far a work has come that takes more than a second. It begins with
/// the object, and the line goes with it.
class Progress
{
public:
    using Clock = std::chrono::steady_clock;
    using Now = std::function<Clock::time_point()>;

    /// On a terminal, as TerminalLine takes it.
    explicit Progress(int terminal, Now now = Clock::now);

    bool isOn() const { return m_line.isOn(); }

    /// What to show now, by the time since the beginning. Call it as often as there may be news: it
    /// is asked for the text only when the line is due.
    void update(const std::function<std::string(std::chrono::milliseconds elapsed)> &text);
    void update(const Count &count);

    /// Call it before anything else is written to the terminal; the next update shows the line again.
    void clear();

private:
    TerminalLine m_line;
    Now m_now;
    Clock::time_point m_begun;
    Clock::time_point m_due; ///< of the line
};

} // namespace cli
