#include "library/output/page_prefetcher.h"

#include "library/base/thread.h"
#include "library/imaging/exception_error.h"

#include <algorithm>
#include <exception>

namespace korv {

namespace {

constexpr std::size_t kMostThreads = 4;

std::size_t usefulThreads(std::size_t pages)
{
    const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
    return pages < 2 ? 0 : std::min({cores, pages, kMostThreads});
}

} // namespace

PagePrefetcher::PagePrefetcher(const std::vector<std::string> &sources, const PageOptions &options)
    : m_sources(sources)
{
    PageOptions shared = options;
    shared.largePictures = &m_largePictures;
    const std::size_t threads = usefulThreads(sources.size());
    for (std::size_t i = 0; i < threads + 1; ++i)
        m_slots.emplace_back(shared);
    m_threads.reserve(threads);
    try {
        for (std::size_t i = 0; i < threads; ++i)
            m_threads.push_back(startThread("korv-pages", [this] { work(); }));
    } catch (const std::exception &) {
        // no thread, or no memory for one: those that did start suffice, and so does none
    }
}

PagePrefetcher::~PagePrefetcher()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
    }
    m_changed.notify_all();
    for (std::thread &thread : m_threads)
        thread.join();
}

void PagePrefetcher::make(std::size_t index)
{
    Slot &slot = slotOf(index);
    try {
        slot.page = slot.maker.fromFile(m_sources[index]);
    } catch (...) {
        slot.page = errorInFlight();
    }
}

void PagePrefetcher::work()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        // the page given last is in use until the next one is asked for
        m_changed.wait(lock, [this] {
            const std::size_t oldest = m_toGive == 0 ? 0 : m_toGive - 1;
            return m_stopped || m_toMake == m_sources.size() || m_toMake < oldest + m_slots.size();
        });
        if (m_stopped || m_toMake == m_sources.size())
            return;
        const std::size_t index = m_toMake++;
        lock.unlock();
        make(index);
        lock.lock();
        slotOf(index).ready = true;
        m_changed.notify_all();
    }
}

const Result<Page> &PagePrefetcher::next()
{
    const std::size_t index = m_toGive;
    if (m_threads.empty()) {
        ++m_toGive;
        make(index);
        return slotOf(index).page;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    if (index > 0)
        slotOf(index - 1).ready = false;
    ++m_toGive;
    m_changed.notify_all();
    m_changed.wait(lock, [&] { return slotOf(index).ready; });
    return slotOf(index).page;
}

} // namespace korv
