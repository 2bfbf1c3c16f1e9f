#pragma once

#include "library/device/simulated/frame_composer.h"
#include "library/device/simulated/page_source.h"
#include "library/threads/mutex.h"

#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace korv {

/// Turns the pages under a simulated camera: every few seconds the next one, and at once when the
/// page shown is taken away. Decoding and encoding a page takes longer than a frame may, so it
/// happens on a thread of its own while frames of the page before go on.
class PageCycler
{
public:
    struct Timing
    {
        std::chrono::milliseconds turnEvery{3000};
        std::chrono::milliseconds lookEvery{400}; ///< how soon a page taken away is noticed
    };

    /// Throws std::system_error when no thread can be started.
    PageCycler(const PageSource &source, int width, int height, Timing timing);
    ~PageCycler();
    PageCycler(const PageCycler &) = delete;
    PageCycler &operator=(const PageCycler &) = delete;

    /// The page to show; waits for the first one. Null after stop().
    std::shared_ptr<const PreparedPage> waitForPage();

    /// Wakes whoever waits and ends the thread.
    void stop();

private:
    using Clock = std::chrono::steady_clock;
    using SharedPage = std::shared_ptr<const PreparedPage>;

    void run();
    void look();
    SharedPage choose(const std::vector<std::string> &present);
    SharedPage prepared(const std::string &id);
    void show(SharedPage page);
    bool isStopping();

    const PageSource &m_source;
    const int m_width;
    const int m_height;
    const Timing m_timing;

    // of the page thread
    std::string m_shown; ///< id; empty for the empty desk
    Clock::time_point m_turnDue;
    std::set<std::string> m_unreadable;
    std::vector<std::pair<std::string, SharedPage>> m_kept; ///< the latest last

    Mutex m_mutex;
    Condition m_changed;
    SharedPage m_page GUARDED_BY(m_mutex);
    bool m_stopping GUARDED_BY(m_mutex) = false;

    std::thread m_thread; // last: it needs the rest
};

} // namespace korv
