#include "library/imaging/two_cores.h"

#include "library/base/thread_name.h"

#include <exception>
#include <optional>
#include <system_error>
#include <thread>

namespace korv {

namespace {

/// A thread that is waited for even when the other half of the work throws.
class Helper
{
public:
    explicit Helper(const std::function<void()> &work)
        : m_thread([this, &work] {
            nameThisThread("korv-half");
            try {
                work();
            } catch (...) {
                m_failure = std::current_exception();
            }
        })
    {
    }
    ~Helper()
    {
        if (m_thread.joinable())
            m_thread.join();
    }
    Helper(const Helper &) = delete;
    Helper &operator=(const Helper &) = delete;

    void wait()
    {
        m_thread.join();
        if (m_failure)
            std::rethrow_exception(m_failure);
    }

private:
    std::exception_ptr m_failure;
    std::thread m_thread; // last: it starts in the constructor and needs the rest
};

bool withHelper(const std::function<void()> &first, const std::function<void()> &second)
{
    std::optional<Helper> helper;
    try {
        helper.emplace(first);
    } catch (const std::system_error &) {
        return false; // no thread to be had
    }
    second();
    helper->wait();
    return true;
}

} // namespace

void onTwoCores(const std::function<void()> &first, const std::function<void()> &second)
{
    if (std::thread::hardware_concurrency() > 1 && withHelper(first, second))
        return;
    first();
    second();
}

void onTwoCores(int first, int end, const std::function<void(int first, int end)> &work)
{
    const int middle = first + (end - first) / 2;
    onTwoCores([&] { work(first, middle); }, [&] { work(middle, end); });
}

} // namespace korv
