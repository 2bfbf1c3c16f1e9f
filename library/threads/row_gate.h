#pragma once

#include "library/threads/mutex.h"

#include <atomic>

namespace korv {

/// Between a thread that fills the rows of a picture from the top and one that uses them.
class RowGate
{
public:
    /// The first `rows` rows are there.
    void publish(int rows);

    /// No more rows come: those that are missing never will.
    void end();

    /// Waits until the first `rows` rows are there; false when they never will be.
    bool waitFor(int rows);

private:
    std::atomic<int> m_rows = 0;
    Mutex m_mutex;
    Condition m_changed;
    bool m_ended GUARDED_BY(m_mutex) = false;
};

} // namespace korv
