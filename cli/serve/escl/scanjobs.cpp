#include "cli/serve/escl/scanjobs.h"

#include <algorithm>
#include <random>

namespace cli {
namespace {

constexpr std::chrono::seconds kPatience{60};
constexpr std::size_t kMaxJobs = 10; // finished ones stay in the status until then
constexpr std::size_t kMaxWaiting = 4; // pages in memory that nobody has fetched

/// An id that another client cannot guess.
std::string newId()
{
    std::random_device random;
    std::string id;
    while (id.size() < 32)
        id += "0123456789abcdef"[random() % 16];
    return id;
}

} // namespace

bool ScanJobs::isActive(const Job &job)
{
    return job.state == State::Pending || job.state == State::Scanning || job.state == State::Ready;
}

ScanJobs::Job *ScanJobs::find(const std::string &id)
{
    const auto found =
        std::find_if(m_jobs.begin(), m_jobs.end(), [&](const Job &job) { return job.id == id; });
    return found == m_jobs.end() ? nullptr : &*found;
}

bool ScanJobs::isActive() const
{
    const MutexLock lock(m_mutex);
    return std::any_of(m_jobs.begin(), m_jobs.end(), [](const Job &job) { return isActive(job); });
}

std::optional<std::string> ScanJobs::create(const ScanSettings &settings)
{
    const MutexLock lock(m_mutex);
    for (const Job &job : m_jobs) {
        if (isActive(job))
            return std::nullopt;
    }
    Job job;
    job.id = newId();
    job.settings = settings;
    job.created = job.lastAsked = Clock::now();
    m_jobs.push_front(job);
    if (m_jobs.size() > kMaxJobs)
        m_jobs.pop_back();
    return job.id;
}

ScanJobs::Next ScanJobs::next(const std::string &id)
{
    const MutexLock lock(m_mutex);
    Job *const job = find(id);
    if (!job)
        return {};
    job->lastAsked = Clock::now();
    Next next;
    next.format = job->settings.format;
    next.reason = job->reason;
    switch (job->state) {
    case State::Pending:
        next.answer = job->wasBusy ? Answer::Busy : Answer::NotYet;
        job->isQueued = job->isQueued || !job->wasBusy;
        job->wasBusy = false;
        break;
    case State::Scanning:
        next.answer = Answer::NotYet;
        if (!job->pages.empty())
            handOver(*job, next);
        break;
    case State::Ready:
        handOver(*job, next);
        if (job->pages.empty())
            job->state = job->end;
        break;
    case State::Completed:
        next.answer = Answer::NoMore;
        break;
    case State::Canceled:
        next.answer = Answer::Canceled;
        break;
    case State::Aborted:
        next.answer = Answer::Failed;
        break;
    }
    return next;
}

void ScanJobs::handOver(Job &job, Next &next)
{
    next.answer = Answer::Page;
    next.page = std::move(job.pages.front());
    job.pages.pop_front();
    next.number = ++job.pagesDelivered;
    job.width = next.page->width;
    job.height = next.page->height;
}

ScanJobs::Next ScanJobs::peek(const std::string &id) const
{
    const MutexLock lock(m_mutex);
    for (const Job &job : m_jobs) {
        if (job.id != id)
            continue;
        Next next;
        next.format = job.settings.format;
        if (!job.pages.empty()) {
            next.answer = Answer::Page;
            next.page = job.pages.front();
        } else if (job.width > 0) {
            next.answer = Answer::Page;
            next.page = std::make_shared<ScannedPage>(ScannedPage{{}, job.width, job.height});
        } else {
            next.answer = isActive(job) ? Answer::NotYet : Answer::Failed;
        }
        return next;
    }
    return {};
}

bool ScanJobs::remove(const std::string &id)
{
    const MutexLock lock(m_mutex);
    Job *const job = find(id);
    if (!job)
        return false;
    if (isActive(*job)) {
        job->state = State::Canceled;
        job->pages.clear();
    } else {
        m_jobs.erase(std::find_if(m_jobs.begin(), m_jobs.end(),
                                  [&](const Job &other) { return &other == job; }));
    }
    return true;
}

std::vector<ScanJobs::Status> ScanJobs::list() const
{
    const MutexLock lock(m_mutex);
    const Clock::time_point now = Clock::now();
    std::vector<Status> list;
    for (const Job &job : m_jobs) {
        const auto age = std::chrono::duration_cast<std::chrono::seconds>(now - job.created);
        list.push_back({job.id, job.state, static_cast<long>(age.count()), job.pagesDelivered,
                        static_cast<int>(job.pages.size()), job.reason});
    }
    return list;
}

std::optional<ScanJobs::Work> ScanJobs::takeWork()
{
    const MutexLock lock(m_mutex);
    for (Job &job : m_jobs) {
        if (job.state == State::Pending && job.isQueued) {
            job.isQueued = false;
            job.state = State::Scanning;
            return Work{job.id, job.settings};
        }
    }
    return std::nullopt;
}

ScanJobs::Feeding ScanJobs::feeding(const std::string &id) const
{
    const MutexLock lock(m_mutex);
    for (const Job &job : m_jobs) {
        if (job.id == id && job.state == State::Scanning)
            return job.pages.size() < kMaxWaiting ? Feeding::Wanted : Feeding::Later;
    }
    return Feeding::Over;
}

void ScanJobs::add(const std::string &id, ScannedPagePointer page)
{
    const MutexLock lock(m_mutex);
    Job *const job = find(id);
    if (!job || job->state != State::Scanning)
        return;
    job->lastAsked = Clock::now();
    job->pages.push_back(std::move(page));
}

void ScanJobs::finish(const std::string &id, ScanOutcome outcome)
{
    const MutexLock lock(m_mutex);
    Job *const job = find(id);
    if (!job || job->state != State::Scanning)
        return;
    job->lastAsked = Clock::now();
    job->reason = std::move(outcome.reason);
    if (outcome.isBusy && job->pages.empty() && job->pagesDelivered == 0) {
        job->state = State::Pending;
        job->wasBusy = true;
        return;
    }
    if (outcome.page)
        job->pages.push_back(std::move(outcome.page));
    job->end = job->reason.empty() ? State::Completed : State::Aborted;
    job->state = job->pages.empty() ? job->end : State::Ready;
}

void ScanJobs::expire(Clock::time_point now)
{
    const MutexLock lock(m_mutex);
    for (Job &job : m_jobs) {
        // while the camera works the client may wait, and a request that waits is not made again
        const bool waitsForClient =
            job.state == State::Ready || job.state == State::Pending || !job.pages.empty();
        if (waitsForClient && now - job.lastAsked > kPatience) {
            job.state = State::Aborted;
            job.reason = "nobody asked for the page";
            job.pages.clear();
        }
    }
}

} // namespace cli
