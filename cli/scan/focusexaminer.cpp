#include "cli/scan/focusexaminer.h"

#include "library/jpeg/jpeg.h"
#include "library/photograph/sharpness.h"
#include "library/threads/thread.h"

#include <exception>
#include <utility>

namespace cli {
namespace {

/// Pictures that may wait; each has some megabytes.
constexpr std::size_t kMaxWaiting = 8;

} // namespace

bool FocusExaminer::isOutOfFocus(const Picture &picture)
{
    korv::jpeg::DecodeOptions luma;
    luma.gray = true;
    const auto page = korv::jpeg::decode({picture.data(), picture.size()}, luma);
    // what cannot be decoded made no photograph either, and the scan has said so
    return page && korv::sharpnessOf(page.value()).isOutOfFocus();
}

FocusExaminer::FocusExaminer(Wakeup &wakeup, Judge judge)
    : m_wakeup(wakeup)
    , m_judge(std::move(judge))
    , m_thread(korv::startThread("korvcam-focus", [this] { work(); }))
{
}

FocusExaminer::~FocusExaminer()
{
    {
        const MutexLock lock(m_mutex);
        m_isEnding = true;
        m_changed.notifyAll();
    }
    m_thread.join();
}

void FocusExaminer::examine(int page, Picture picture)
{
    MutexLock lock(m_mutex);
    while (m_waiting.size() >= kMaxWaiting)
        m_changed.wait(lock);
    m_waiting.push_back({page, std::move(picture)});
    m_changed.notifyAll();
}

std::vector<FocusExaminer::Finding> FocusExaminer::takeFindings()
{
    const MutexLock lock(m_mutex);
    return std::exchange(m_findings, {});
}

void FocusExaminer::finish()
{
    MutexLock lock(m_mutex);
    while (m_isBusy || !m_waiting.empty())
        m_changed.wait(lock);
}

/// Waits for the next page; false when there will be none.
bool FocusExaminer::next(Task &task)
{
    MutexLock lock(m_mutex);
    while (m_waiting.empty() && !m_isEnding)
        m_changed.wait(lock);
    if (m_isEnding)
        return false;
    task = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_isBusy = true;
    m_changed.notifyAll();
    return true;
}

void FocusExaminer::examined(const Finding &finding, bool hasNews)
{
    {
        const MutexLock lock(m_mutex);
        if (hasNews)
            m_findings.push_back(finding);
        m_isBusy = false;
        m_changed.notifyAll();
    }
    if (hasNews)
        m_wakeup.notify();
}

void FocusExaminer::work()
{
    for (Task task; next(task);) {
        Finding finding{task.page, {}};
        bool hasNews = true;
        try {
            hasNews = m_judge(task.picture);
        } catch (const std::exception &error) {
            finding.failure = error.what();
        }
        examined(finding, hasNews);
    }
}

} // namespace cli
