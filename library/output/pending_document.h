#pragma once

#include "library/base/result.h"

#include <string>
#include <vector>

namespace korv {

/// The pages waiting for the next combine. Holds paths, not pictures. Not thread-safe: the owner
/// serialises the calls.
class PendingDocument
{
public:
    /// Checks that `source` is a readable picture and keeps its path. Errors as convertImage's
    /// source.
    Result<void> add(const std::string &source);

    /// Writes all pages to `destination` (pdf, ofd, tif, tiff by extension) and becomes empty,
    /// whatever the result. -ENODATA no pages, -EINVAL unknown extension, or errno.
    Result<void> combine(const std::string &destination, int quality);

    void clear() { m_pages.clear(); }
    std::size_t pageCount() const { return m_pages.size(); }

private:
    std::vector<std::string> m_pages;
};

} // namespace korv
