#include "cli/documents/writingprogress.h"

#include "cli/base/translation.h"

#include <utility>

namespace cli {

WritingProgress::WritingProgress(const Options &options, const std::vector<std::string> &sources,
                                 std::string destination)
    : m_progress(terminalForProgress(options))
    , m_destination(std::move(destination))
{
    if (isOn() && sources.size() > 1)
        m_sources.emplace(sources);
}

void WritingProgress::beginReading()
{
    if (m_sources)
        m_sources->begin();
}

void WritingProgress::look(pid_t child)
{
    m_progress.update([&](std::chrono::milliseconds elapsed) {
        const std::optional<std::size_t> done = m_sources ? m_sources->doneBy(child) : std::nullopt;
        if (!done)
            return tr("writing %1, %2", m_destination, clockText(elapsed));
        return describe({trLater("%1 of %2 pictures read"), *done, m_sources->count()}, elapsed);
    });
}

} // namespace cli
