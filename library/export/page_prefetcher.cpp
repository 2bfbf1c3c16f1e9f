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
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
    }
    m_changed.notify_all();
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
            slot.page.content = slot.maker.fromTiff(task.tiff, task.directory);
        else
            slot.page.content = slot.maker.fromFile(m_sources[task.source]);
    } catch (...) {
        slot.page.content = errorInFlight();
    }
}

/// False when nobody needs more pages.
bool PagePrefetcher::waitForRoom()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    // the page given last is in use until the next one is asked for
    m_changed.wait(lock, [this] {
        const std::size_t oldest = m_toGive == 0 ? 0 : m_toGive - 1;
        return m_stopped || m_complete || m_taken < oldest + m_slots.size();
    });
    return !m_stopped && !m_complete;
}

std::optional<PageTask> PagePrefetcher::take(std::size_t &index)
{
    // files are opened here, so only those wait who would take a page as well
    const std::lock_guard<std::mutex> feeding(m_feedMutex);
    if (!waitForRoom())
        return std::nullopt;
    std::optional<PageTask> task = m_feed.next();
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (task)
        index = m_taken++;
    else
        m_complete = true;
    m_changed.notify_all();
    return task;
}

void PagePrefetcher::work()
{
    std::size_t index = 0;
    while (const std::optional<PageTask> task = take(index)) {
        make(*task, slotOf(index));
        const std::lock_guard<std::mutex> lock(m_mutex);
        slotOf(index).ready = true;
        m_changed.notify_all();
    }
}

const SourcePage *PagePrefetcher::next()
{
    const std::size_t index = m_toGive;
    if (m_threads.empty()) {
        const std::optional<PageTask> task = m_feed.next();
        if (!task)
            return nullptr;
        ++m_toGive;
        make(*task, slotOf(index));
        return &slotOf(index).page;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    if (index > 0)
        slotOf(index - 1).ready = false;
    ++m_toGive;
    m_changed.notify_all();
    m_changed.wait(lock, [&] { return slotOf(index).ready || (m_complete && index >= m_taken); });
    return slotOf(index).ready ? &slotOf(index).page : nullptr;
}

} // namespace korv
