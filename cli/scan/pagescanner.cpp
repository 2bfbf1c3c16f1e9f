#include "cli/scan/pagescanner.h"

#include "cli/base/errors.h"
#include "cli/base/filecontent.h"
#include "cli/base/filenames.h"
#include "cli/base/jsonline.h"
#include "cli/base/localtime.h"
#include "cli/base/translation.h"
#include "cli/calls/librarycall.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace cli {
namespace {

using std::chrono::milliseconds;

constexpr int kMaxFailures = 3; ///< frames that are no picture, before it is no accident
constexpr int kLineart = 2; ///< of Options::color

/// A short sound, for whoever has turned a page and looks at the paper.
void ring()
{
    if (isatty(STDERR_FILENO) == 1)
        std::fputs("\a", stderr);
}

/// Whether the photograph shows nothing but the page, in shades that its focus can be judged by; the
/// frame has to do otherwise.
bool showsThePageAlone(const Options &options)
{
    return options.crop >= 0 && options.color != kLineart;
}

/// Where the user types at the terminal, a line there would not stay in its place.
int progressTerminal(const Options &options)
{
    const bool isCounted = options.pages > 1 && options.scanOn != ScanOn::Key;
    return isCounted ? terminalForProgress(options) : -1;
}

} // namespace

PageScanner::PageScanner(LibrarySession &session, const Options &options, FrameReceiver &receiver,
                         PageSink &sink, std::unique_ptr<PageTrigger> button)
    : m_session(session)
    , m_options(options)
    , m_receiver(receiver)
    , m_sink(sink)
    , m_progress(progressTerminal(options))
    , m_before(static_cast<std::size_t>(sink.nextNumber() - 1))
    , m_frameAt(Clock::now())
    , m_due(m_frameAt)
{
    if (options.scanOn == ScanOn::Turn)
        m_turns.emplace();
    if (session.examinesFocus())
        m_focus.emplace(session.wakeup());
    if (options.scanOn == ScanOn::Key || hasKeyboard())
        addTrigger(std::make_unique<EnterKey>());
    if (button)
        addTrigger(std::move(button));
}

PageScanner::~PageScanner()
{
    for (const auto &trigger : m_triggers)
        m_session.wakeup().unwatch(trigger->descriptor());
}

void PageScanner::addTrigger(std::unique_ptr<PageTrigger> trigger)
{
    m_session.wakeup().watch(trigger->descriptor());
    m_triggers.push_back(std::move(trigger));
}

void PageScanner::readTriggers()
{
    for (auto at = m_triggers.begin(); at != m_triggers.end();) {
        const PageTrigger::News news = (*at)->read();
        m_presses += news.presses;
        if (news.presses > 0)
            m_newerThan = m_receiver.count();
        if (news.hasEnded) {
            m_session.wakeup().unwatch((*at)->descriptor());
            at = m_triggers.erase(at);
        } else {
            ++at;
        }
    }
    const bool needsOne = m_options.scanOn == ScanOn::Key || m_options.scanOn == ScanOn::Button;
    m_hasEnded = m_triggers.empty() && needsOne;
}

bool PageScanner::isComplete() const
{
    const bool isEnough = m_options.pages > 0 && m_sink.nextNumber() > m_options.pages;
    return m_isStopped || isEnough || (m_hasEnded && m_presses == 0) || !m_session.outputWorks();
}

/// Whether a page is asked for, other than by its having been turned.
bool PageScanner::isDue()
{
    return m_presses > 0 || (m_options.scanOn == ScanOn::Interval && Clock::now() >= m_due);
}

PageScanner::Clock::time_point PageScanner::nextWake() const
{
    const Clock::time_point silence = m_frameAt + milliseconds(m_options.timeoutMs);
    const bool waits = m_options.scanOn == ScanOn::Interval && m_due > Clock::now();
    return waits ? std::min(silence, m_due) : silence;
}

void PageScanner::showProgress()
{
    m_progress.update({trLater("%1 of %2 pages"), static_cast<std::size_t>(m_sink.nextNumber() - 1),
                       static_cast<std::size_t>(m_options.pages), m_before});
}

/// Looks at the newest frame, if there is one that helps; whether it is to become a page.
ExitCode PageScanner::lookAtFrame(bool &isThere)
{
    const unsigned long count = m_receiver.count();
    if (count == m_frames) {
        if (Clock::now() < m_frameAt + milliseconds(m_options.timeoutMs))
            return ExitCode::Success;
        m_progress.clear();
        return m_session.reportNoFrame();
    }
    m_frames = count;
    m_frameAt = Clock::now();
    if (isDue())
        isThere = count > m_newerThan && m_receiver.takeBare(m_frame);
    else if (m_turns && m_turns->wantsFrame() && m_receiver.takeBare(m_frame))
        isThere = m_turns->shows(m_frame);
    return ExitCode::Success;
}

/// Waits for a frame that is to become a page, or for the end.
ExitCode PageScanner::awaitPage(bool &isThere)
{
    isThere = false;
    while (!isThere && !isComplete()) {
        showProgress();
        if (m_session.wakeup().wait(nextWake()) == Wake::Interrupted) {
            m_isStopped = true;
            m_progress.clear();
            // without a number of pages, being stopped is the way to end
            return m_options.pages > 0 ? m_session.interrupted() : ExitCode::Success;
        }
        readTriggers();
        reportFocus();
        if (const ExitCode code = lookAtFrame(isThere); code != ExitCode::Success)
            return code;
    }
    return ExitCode::Success;
}

void PageScanner::announce(const Page &page) const
{
    const double size = fileSize(page.path);
    if (m_options.json) {
        JsonLine line;
        line.add("page", page.number).addTime().add("file", page.path);
        line.add("size", size).add("width", page.size.width).add("height", page.size.height);
        m_session.print(line.text());
    } else {
        const std::string kilobytes = std::to_string(static_cast<long>((size + 999) / 1000));
        m_session.print(std::to_string(page.number) + "  " + localTime("%H:%M:%S") + "  "
                        + kilobytes + " kB" + (m_sink.isHidden() ? "" : "  " + page.path));
    }
    if (!m_options.quiet)
        ring();
}

ExitCode PageScanner::takePage()
{
    m_progress.clear();
    Page page;
    page.number = m_sink.nextNumber();
    FocusExaminer::Picture picture;
    if (m_focus)
        picture = m_frame.jpeg;
    FrameReceiver::makeRoom(m_frame);
    // the library's own words would name a folder that nobody knows
    const Answer answer = askLibrary(m_options.verbose, [&] {
        return m_session.library().SaveVideoData(m_frame.jpeg.data(), m_frame.width, m_frame.height,
                                                 0, m_sink.photographPath().c_str());
    });
    if (answer.result == -EBADMSG && ++m_failures < kMaxFailures)
        return ExitCode::Success; // the next frame may be better
    if (answer.result < 0)
        return m_session.check(answer.result, tr("take page %1", page.number));
    m_failures = 0;
    page.size = jpegSize(m_sink.photographPath());
    if (m_focus && showsThePageAlone(m_options)) {
        const std::string content = contentOf(m_sink.photographPath());
        picture.assign(content.begin(), content.end());
    }
    if (const ExitCode code = m_sink.store(m_session, page.path); code != ExitCode::Success)
        return code;
    if (m_turns)
        m_turns->taken(m_frame);
    m_presses = std::max(0, m_presses - 1);
    m_newerThan = m_frame.number;
    m_due = std::max(m_due + milliseconds(m_options.intervalMs), Clock::now());
    announce(page);
    if (m_options.crop >= 0 && isWhole(page.size, m_frame.width, m_frame.height))
        printError(tr("page %1: no sheet was found; this is the whole picture", page.number));
    if (m_focus)
        m_focus->examine(page.number, std::move(picture));
    return ExitCode::Success;
}

/// Says of which pages is known by now that they are out of focus.
void PageScanner::reportFocus()
{
    if (!m_focus)
        return;
    for (const FocusExaminer::Finding &finding : m_focus->takeFindings()) {
        m_progress.clear();
        if (!finding.failure.empty()) {
            printError(
                tr("page %1: its focus was not examined: %2", finding.page, finding.failure));
            continue;
        }
        if (m_options.json)
            m_session.print(JsonLine().add("page", finding.page).add("out_of_focus", true).text());
        printError(tr("page %1: out of focus; its writing is hard to read", finding.page));
    }
}

ExitCode PageScanner::takePages()
{
    ExitCode code = ExitCode::Success;
    while (code == ExitCode::Success && !isComplete()) {
        bool isThere = false;
        code = awaitPage(isThere);
        if (code == ExitCode::Success && isThere)
            code = takePage();
    }
    return code;
}

ExitCode PageScanner::run()
{
    const ExitCode code = takePages();
    if (m_focus)
        m_focus->finish();
    reportFocus();
    return code;
}

} // namespace cli
