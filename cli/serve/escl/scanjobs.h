#pragma once

#include "cli/serve/escl/scansettings.h"
#include "util/mutex.h"

#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cli {

/// A finished scan.
struct ScannedPage
{
    std::string bytes; ///< the file
    int width = 0; ///< pixels
    int height = 0;
};
using ScannedPagePointer = std::shared_ptr<const ScannedPage>;

/// What became of an attempt to scan.
struct ScanOutcome
{
    ScannedPagePointer page; ///< null: there is none, or none besides those of the feeder
    bool isBusy = false; ///< another program holds the camera; worth another attempt
    std::string reason; ///< what went wrong, one sentence; empty: nothing
};

/// The jobs of all clients. One at a time is active, from its creation until its last page is
/// delivered, it fails, is cancelled, or nobody has asked for a page of it for a minute.
/// Thread: any.
class ScanJobs
{
public:
    using Clock = std::chrono::steady_clock;

    enum class State { Pending, Scanning, Ready, Completed, Canceled, Aborted };

    struct Status
    {
        std::string id;
        State state = State::Pending;
        long ageSeconds = 0;
        int pagesDelivered = 0;
        int pagesWaiting = 0;
        std::string reason; ///< of an abort
    };

    /// Creates a job and has it scanned; nothing while another one is active.
    std::optional<std::string> create(const ScanSettings &settings);

    /// The answer to a client that asks for the next page.
    enum class Answer { Page, NotYet, Busy, NoMore, Canceled, Failed, Unknown };
    struct Next
    {
        Answer answer = Answer::Unknown;
        ScannedPagePointer page; ///< with Answer::Page
        int number = 0; ///< of the page, from 1
        ScanFormat format = ScanFormat::Jpeg;
        std::string reason; ///< with Answer::Failed and Answer::Busy
    };
    /// Hands over the next page of a job, each once. After Busy, the next call has the scan tried again.
    Next next(const std::string &id);

    /// The next page of a job without handing it over; the last one's size stays known.
    Next peek(const std::string &id) const;

    /// Cancels an active job, forgets a finished one. False: there is none of that id.
    bool remove(const std::string &id);

    /// Jobs that are known, the newest first.
    std::vector<Status> list() const;
    bool isActive() const;

    /// The job that waits for the camera, if any; it counts as scanning from now on.
    struct Work
    {
        std::string id;
        ScanSettings settings;
    };
    std::optional<Work> takeWork();

    /// Whether a job of the feeder is to get pages: now, when its client has fetched some, or no more.
    enum class Feeding { Wanted, Later, Over };
    Feeding feeding(const std::string &id) const;

    /// A page of the feeder; others may follow until finish(). Ignored when it is over.
    void add(const std::string &id, ScannedPagePointer page);

    /// What became of the work. Ignored for a job that was cancelled meanwhile.
    void finish(const std::string &id, ScanOutcome outcome);

    /// Aborts the active job when its client has not asked for it for a minute before `now`.
    void expire(Clock::time_point now);

private:
    struct Job
    {
        std::string id;
        ScanSettings settings;
        State state = State::Pending;
        bool isQueued = true; ///< the camera is to try (again)
        bool wasBusy = false; ///< the last attempt failed, and nobody has been told
        std::deque<ScannedPagePointer> pages; ///< not handed over yet
        State end = State::Completed; ///< what Ready becomes with the last page
        int pagesDelivered = 0;
        int width = 0; ///< of the page delivered last
        int height = 0;
        std::string reason;
        Clock::time_point created;
        Clock::time_point lastAsked;
    };

    static bool isActive(const Job &job);
    static void handOver(Job &job, Next &next);
    Job *find(const std::string &id) REQUIRES(m_mutex);

    mutable Mutex m_mutex;
    std::deque<Job> m_jobs GUARDED_BY(m_mutex); ///< the newest first
};

} // namespace cli
