#pragma once

#include "cli/progress/progress.h"
#include "cli/scan/focusexaminer.h"
#include "cli/scan/pagesink.h"
#include "cli/scan/pagetrigger.h"
#include "cli/scan/turnwatch.h"
#include "cli/session/jpegsize.h"

#include <optional>
#include <vector>

namespace cli {

/// Takes pages from a running stream until there are enough, the triggers have ended, or the user
/// stops it. Thread: the main thread.
class PageScanner
{
public:
    /// All are borrowed.
    PageScanner(LibrarySession &session, const Options &options, FrameReceiver &receiver,
                PageSink &sink, std::unique_ptr<PageTrigger> button);
    PageScanner(const PageScanner &) = delete;
    PageScanner &operator=(const PageScanner &) = delete;
    ~PageScanner();

    /// Success when it ended as it should: there are enough pages, or without a number of them,
    /// the user stopped it. Else says what went wrong. The pages that were taken are kept in any case.
    ExitCode run();

private:
    using Clock = Wakeup::Clock;

    void addTrigger(std::unique_ptr<PageTrigger> trigger);
    void readTriggers();
    bool isComplete() const;
    bool isDue();
    Clock::time_point nextWake() const;
    void showProgress();
    ExitCode takePages();
    ExitCode awaitPage(bool &isThere);
    ExitCode lookAtFrame(bool &isThere);
    ExitCode takePage();
    /// What a page's line says.
    struct Page
    {
        int number = 0;
        std::string path;
        PictureSize size;
    };
    void announce(const Page &page) const;
    void reportFocus();

    LibrarySession &m_session;
    const Options &m_options;
    FrameReceiver &m_receiver;
    PageSink &m_sink;
    std::vector<std::unique_ptr<PageTrigger>> m_triggers;
    std::optional<TurnWatch> m_turns; ///< where turned pages are waited for
    std::optional<FocusExaminer> m_focus; ///< where the user wants to hear of blurred pages
    Progress m_progress;
    std::size_t m_before; ///< pages that a killed scan had taken
    ReceivedFrame m_frame;
    unsigned long m_frames = 0; ///< that had come when the stream was looked at last
    unsigned long m_newerThan = 0; ///< frames up to this one came before a page was asked for
    Clock::time_point m_frameAt; ///< when the last frame came
    Clock::time_point m_due; ///< of the next page, at intervals
    int m_presses = 0; ///< pages asked for and not yet taken
    bool m_hasEnded = false; ///< the triggers that alone ask for pages have ended
    bool m_isStopped = false; ///< by the user
    int m_failures = 0; ///< frames in a row that made no photograph
};

} // namespace cli
