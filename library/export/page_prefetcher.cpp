#include "library/export/page_prefetcher.h"

#include "library/base/exception_error.h"
#include "library/base/log.h"
#include "library/threads/thread.h"

#include <algorithm>
#include <exception>

namespace korv {

namespace {

constexpr std::size_t kMaxThreads = 4;

std::size_t usefulThreads(std::size_t pages)
{
    const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
    return pages < 2 ? 0 : std::min({cores, pages, kMaxThreads});
}

} // namespace

PagePrefetcher::PagePrefetcher(const std::vector<std::string> &sources, const PageOptions &options)
    : m_sources(sources)
    , m_feed(sources)
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
    } catch (const std::exception &error) {
        // no thread, or no memory for one: those that did start suffice, and so does none
        logLine(LogLevel::Debug, "fewer threads make pages than could", error.what());
    }
}

PagePrefetcher::~PagePrefetcher()
{
    {
        const MutexLock lock(m_mutex);
        m_stopped = true;
    }
    m_changed.notifyAll();
    for (std::thread &thread : m_threads)
        thread.join();
}

void PagePrefetcher::make(const PageTask &task, Slot &slot)
{
    slot.page.source = task.source;
    slot.page.page = task.page;
    slot.page.pages = task.pages;
    try {
        if (!task.problem)
            slot.page.content = task.problem.error();
        else if (task.tiff)
            slot.page.content =
                slot.maker.fromTiff(task.tiff, task.directory, m_sources[task.source]);
        else
            slot.page.content = slot.maker.fromFile(m_sources[task.source]);
    } catch (...) {
        slot.page.content = errorInFlight();
    }
}

/// The page given last is in use until the next one is asked for.
bool PagePrefetcher::hasRoom() const
{
    const std::size_t oldest = m_toGive == 0 ? 0 : m_toGive - 1;
    return m_taken < oldest + m_slots.size();
}

/// False when nobody needs more pages.
bool PagePrefetcher::waitForRoom()
{
    MutexLock lock(m_mutex);
    while (!m_stopped && !m_complete && !hasRoom())
        m_changed.wait(lock);
    return !m_stopped && !m_complete;
}

std::optional<PageTask> PagePrefetcher::take(std::size_t &index)
{
    // files are opened here, so only those wait who would take a page as well
    const MutexLock feeding(m_feedMutex);
    if (!waitForRoom())
        return std::nullopt;
    std::optional<PageTask> task = m_feed.next();
    const MutexLock lock(m_mutex);
    if (task)
        index = m_taken++;
    else
        m_complete = true;
    m_changed.notifyAll();
    return task;
}

void PagePrefetcher::work()
{
    std::size_t index = 0;
    while (const std::optional<PageTask> task = take(index)) {
        make(*task, slotOf(index));
        const MutexLock lock(m_mutex);
        slotOf(index).ready = true;
        m_changed.notifyAll();
    }
}

/// For a caller that makes its pages itself.
const SourcePage *PagePrefetcher::makeNext()
{
    std::optional<PageTask> task;
    {
        const MutexLock feeding(m_feedMutex);
        task = m_feed.next();
    }
    if (!task)
        return nullptr;
    Slot &only = m_slots.front(); // the page given last is not in use any more
    make(*task, only);
    return &only.page;
}

const SourcePage *PagePrefetcher::next()
{
    if (m_threads.empty())
        return makeNext();
    MutexLock lock(m_mutex);
    const std::size_t index = m_toGive++;
    if (index > 0)
        slotOf(index - 1).ready = false;
    m_changed.notifyAll();
    while (!slotOf(index).ready && !(m_complete && index >= m_taken))
        m_changed.wait(lock);
    return slotOf(index).ready ? &slotOf(index).page : nullptr;
}

} // namespace korv
