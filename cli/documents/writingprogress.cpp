#include "cli/documents/writingprogress.h"

#include "cli/base/translation.h"

#include <cstdlib>
#include <utility>

namespace cli {

WritingProgress::WritingProgress(const Options &options, const std::vector<std::string> &sources,
                                 std::string destination)
    : m_progress(terminalForProgress(options))
    , m_destination(std::move(destination))
{
    if (isOn())
        m_pages.emplace();
    if (isOn() && sources.size() > 1)
        m_sources.emplace(sources);
}

void WritingProgress::beginReading()
{
    if (m_pages)
        setenv("KORV_CAMERA_PROGRESS", m_pages->path().c_str(), 1);
    if (m_sources)
        m_sources->begin();
}

/// By the library's word for it, else by what it has read.
std::optional<Count> WritingProgress::countOf(pid_t child) const
{
    const std::optional<PagesDone::Pages> pages = m_pages ? m_pages->read() : std::nullopt;
    if (pages && pages->all > 1)
        return Count{trLater("%1 of %2 pages"), pages->done, pages->all};
    if (const auto done = m_sources ? m_sources->doneBy(child) : std::nullopt)
        return Count{trLater("%1 of %2 pictures read"), *done, m_sources->count()};
    return std::nullopt;
}

void WritingProgress::look(pid_t child)
{
    m_progress.update([&](std::chrono::milliseconds elapsed) {
        const std::optional<Count> count = countOf(child);
        return count ? describe(*count, elapsed)
                     : tr("writing %1, %2", m_destination, clockText(elapsed));
    });
}

} // namespace cli
