#pragma once

#include "library/base/result.h"
#include "library/documents/document_settings.h"

#include <string>
#include <vector>

namespace korv {

/// The pages waiting for the next combine. Holds paths, not pictures. Not thread-safe: the owner
/// serialises the calls.
class PendingDocument
{
public:
    /// Checks that `source` is a readable picture and keeps its path. A source that is refused is
    /// remembered until the next combine, only to be kept then. Errors as convertImage's source.
    Result<void> add(const std::string &source);

    /// Writes all pages to `destination` (pdf, ofd, tif, tiff by extension; an existing file stays)
    /// with the settings, before which those of the environment go, and becomes empty, whatever the
    /// result. Working files that reach no finished file, refused ones too, are kept, see
    /// rescuePages(). Errors: those of writeDocument(); -EINVAL unknown extension: nothing is made
    /// and nothing kept.
    Result<void> combine(const std::string &destination, int quality,
                         const DocumentSettings &settings = {});

    void clear();
    std::size_t pageCount() const { return m_pages.size(); }

private:
    std::vector<std::string> m_pages;
    std::vector<std::string> m_refused;
};

} // namespace korv
