#pragma once

#include "library/device/simulated/hands/numbered_sheets.h"
#include "library/threads/mutex.h"

#include <map>
#include <memory>
#include <thread>

namespace korv {

/// The sheets of a desk, drawn one ahead by a thread of its own, because drawing takes longer than a
/// frame may. One other thread asks for sheets, in ascending order, never further back than the one
/// before the last.
class SheetPile
{
public:
    /// Throws std::system_error when no thread can be started.
    SheetPile(const HandDeskOptions &options, int width, int height);
    ~SheetPile();
    SheetPile(const SheetPile &) = delete;
    SheetPile &operator=(const SheetPile &) = delete;

    /// Waits for the sheet; null after stop().
    std::shared_ptr<const LaidSheet> sheet(int number);

    void stop();

private:
    void run();
    int nextToDraw() REQUIRES(m_mutex);

    const HandDeskOptions m_options;
    const int m_width;
    const int m_height;

    Mutex m_mutex;
    Condition m_changed;
    int m_wanted GUARDED_BY(m_mutex) = 0;
    std::map<int, std::shared_ptr<const LaidSheet>> m_sheets GUARDED_BY(m_mutex);
    bool m_stopping GUARDED_BY(m_mutex) = false;

    std::thread m_thread; // last: it needs the rest
};

} // namespace korv
