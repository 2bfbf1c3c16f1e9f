#pragma once

#include "cli/progress/pagesdone.h"
#include "cli/progress/progress.h"
#include "cli/progress/readsources.h"

#include <optional>

namespace cli {

/// Shows how far a child process is that makes one file of pictures.
class WritingProgress
{
public:
    /// `destination` is the file's name in messages.
    WritingProgress(const Options &options, const std::vector<std::string> &sources,
                    std::string destination);

    bool isOn() const { return m_progress.isOn(); }

    /// For the child, before it reads all the pictures.
    void beginReading();

    /// Call it now and then.
    void look(pid_t child);

    /// Call it before anything is printed.
    void clear() { m_progress.clear(); }

private:
    std::optional<Count> countOf(pid_t child) const;

    Progress m_progress;
    std::optional<PagesDone> m_pages; ///< when somebody looks at the line
    std::optional<ReadSources> m_sources; ///< when there are several to count
    std::string m_destination;
};

} // namespace cli
