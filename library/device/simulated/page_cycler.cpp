#include "library/device/simulated/page_cycler.h"

#include "library/base/log.h"
#include "library/device/simulated/drawing/desk_scene.h"
#include "library/threads/thread.h"

#include <algorithm>
#include <exception>

namespace korv {
namespace {

/// Pages kept ready, so that a short pile is prepared once and not at each turn.
constexpr std::size_t kMaxKept = 4;

} // namespace

PageCycler::PageCycler(const PageSource &source, int width, int height, Timing timing)
    : m_source(source)
    , m_width(width)
    , m_height(height)
    , m_timing(timing)
    , m_thread(startThread("korv-pages", [this] { run(); }))
{
}

PageCycler::~PageCycler()
{
    stop();
    m_thread.join();
}

void PageCycler::stop()
{
    const MutexLock lock(m_mutex);
    m_stopping = true;
    m_changed.notifyAll();
}

bool PageCycler::isStopping()
{
    const MutexLock lock(m_mutex);
    return m_stopping;
}

std::shared_ptr<const PreparedPage> PageCycler::waitForPage()
{
    MutexLock lock(m_mutex);
    while (!m_stopping && !m_page)
        m_changed.wait(lock);
    return m_stopping ? nullptr : m_page;
}

void PageCycler::run()
{
    MutexLock lock(m_mutex);
    while (!m_stopping) {
        lock.unlock();
        try {
            look();
        } catch (const std::exception &error) {
            logLine(LogLevel::Warning, m_source.label(), "cannot prepare a page", error.what());
        }
        lock.lock();
        const auto next = Clock::now() + m_timing.lookEvery;
        while (!m_stopping && m_changed.waitUntil(lock, next)) { }
    }
}

void PageCycler::look()
{
    const std::vector<std::string> present = m_source.pages();
    const bool isShownPresent = std::find(present.begin(), present.end(), m_shown) != present.end();
    if (isShownPresent && Clock::now() < m_turnDue)
        return;
    if (SharedPage page = choose(present)) {
        show(std::move(page));
        m_turnDue = Clock::now() + m_timing.turnEvery;
    }
}

/// The next readable page behind the one shown, round and round; the empty desk when there is none.
PageCycler::SharedPage PageCycler::choose(const std::vector<std::string> &present)
{
    std::vector<std::string> order = present;
    const auto next = std::find_if(order.begin(), order.end(),
                                   [this](const std::string &id) { return id > m_shown; });
    std::rotate(order.begin(), next, order.end());
    for (const std::string &id : order) {
        if (m_unreadable.count(id) != 0)
            continue;
        if (SharedPage page = prepared(id)) {
            m_shown = id;
            return page;
        }
        m_unreadable.insert(id);
    }
    m_shown.clear();
    return prepared(m_shown);
}

PageCycler::SharedPage PageCycler::prepared(const std::string &id)
{
    const auto kept = std::find_if(m_kept.begin(), m_kept.end(),
                                   [&](const auto &entry) { return entry.first == id; });
    if (kept != m_kept.end()) {
        std::rotate(kept, kept + 1, m_kept.end());
        return m_kept.back().second;
    }
    const Result<Image> picture = id.empty() ? Result<Image>(drawDesk(m_width, m_height))
                                             : m_source.render(id, m_width, m_height);
    if (!picture) {
        logLine(LogLevel::Warning, m_source.label(), picture.error().text);
        return nullptr;
    }
    if (isStopping()) // nobody will see it
        return nullptr;
    Result<PreparedPage> page = PreparedPage::make(picture.value());
    if (!page) {
        logLine(LogLevel::Warning, m_source.label(), page.error().text);
        return nullptr;
    }
    if (m_kept.size() == kMaxKept)
        m_kept.erase(m_kept.begin());
    m_kept.emplace_back(id, std::make_shared<PreparedPage>(std::move(page).value()));
    return m_kept.back().second;
}

void PageCycler::show(SharedPage page)
{
    const MutexLock lock(m_mutex);
    m_page = std::move(page);
    m_changed.notifyAll();
}

} // namespace korv
