#pragma once

#include "cli/base/wakeup.h"
#include "util/mutex.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace cli {

/// Finds out which pages are out of focus, on a thread of its own: whoever turns pages is not to wait
/// for it.
class FocusExaminer
{
public:
    using Picture = std::vector<unsigned char>; ///< a JPEG
    /// Whether the writing in a picture is blurred. What it throws becomes Finding::failure.
    using Judge = std::function<bool(const Picture &)>;

    /// A page with something to report; the others are in focus, or have no writing to judge by.
    struct Finding
    {
        int page = 0;
        std::string failure; ///< why nobody knows; empty: the page is out of focus
    };

    /// What the camera library says of photographs, see docs/crop.md.
    static bool isOutOfFocus(const Picture &picture);

    /// `wakeup` is borrowed and notified of findings.
    explicit FocusExaminer(Wakeup &wakeup, Judge judge = isOutOfFocus);
    FocusExaminer(const FocusExaminer &) = delete;
    FocusExaminer &operator=(const FocusExaminer &) = delete;
    /// Gives up the pages that wait.
    ~FocusExaminer();

    /// Has a page examined. Returns at once, unless as many pages wait as memory is meant to hold.
    void examine(int page, Picture picture);

    /// The findings since they were asked for last, in the order of the pages.
    std::vector<Finding> takeFindings();

    /// Waits until every page has been examined.
    void finish();

private:
    struct Task
    {
        int page = 0;
        Picture picture;
    };

    void work();
    bool next(Task &task);
    void examined(const Finding &finding, bool hasNews);

    Wakeup &m_wakeup;
    const Judge m_judge;
    Mutex m_mutex;
    Condition m_changed;
    std::deque<Task> m_waiting GUARDED_BY(m_mutex);
    std::vector<Finding> m_findings GUARDED_BY(m_mutex);
    bool m_isBusy GUARDED_BY(m_mutex) = false;
    bool m_isEnding GUARDED_BY(m_mutex) = false;
    std::thread m_thread; ///< last: it uses the others
};

} // namespace cli
