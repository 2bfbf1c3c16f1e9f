#pragma once

#include "library/threads/mutex.h"

#include <atomic>
#include <exception>
#include <functional>
#include <iterator>
#include <thread>
#include <vector>

namespace korv {

/// A thread that takes half of the caller's work: the steps of a search, the pictures of a stream. It
/// is kept from one piece of work to the next, because a thread started right after another has ended
/// often waits for its maker's processor. It starts with the first piece of work and ends with the
/// object. One thread at a time uses the object.
class HelperThread
{
public:
    HelperThread() = default;
    ~HelperThread();
    HelperThread(const HelperThread &) = delete;
    HelperThread &operator=(const HelperThread &) = delete;

    /// Runs both at the same time where the machine can, else one after the other, and waits for
    /// both. Throws what either throws.
    void runBoth(const std::function<void()> &there, const std::function<void()> &here);

    /// Runs `work` on both halves of the numbers from `first` up to `end` in the same way.
    void shareRange(int first, int end, const std::function<void(int first, int end)> &work);

    /// The same for work that adds to a vector; both halves' results in their order.
    template <typename Item, typename Work>
    std::vector<Item> collect(int first, int end, const Work &work)
    {
        const int middle = first + (end - first) / 2;
        std::vector<Item> result;
        std::vector<Item> rest;
        runBoth([&] { work(middle, end, rest); }, [&] { work(first, middle, result); });
        result.insert(result.end(), std::make_move_iterator(rest.begin()),
                      std::make_move_iterator(rest.end()));
        return result;
    }

private:
    bool hasThread();
    void submit(const std::function<void()> &work);
    std::exception_ptr join();
    void run(); ///< the thread

    Mutex m_mutex;
    Condition m_changed;
    // these two are read without m_mutex and changed with it, so that no wake-up is lost
    std::atomic<const std::function<void()> *> m_work = nullptr; ///< until it is done
    std::atomic<bool> m_stopping = false;
    std::exception_ptr m_failure GUARDED_BY(m_mutex);
    std::thread m_thread;
};

} // namespace korv
