#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/formats/tiff/tiff_pages.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korv {

/// A page that is to be made.
struct PageTask
{
    std::size_t source = 0; ///< which of the sources
    std::size_t page = 0; ///< of the source's pages
    std::size_t pages = 1; ///< that the source has
    std::shared_ptr<const Bytes>
        tiff; ///< the source's content; null: whoever makes the page reads it
    std::uint64_t directory = 0; ///< of the page, in the TIFF
    Result<void> problem; ///< why there is no such page
};

/// Lists the pages of sources in their order. A TIFF's content is read here, once for all its pages;
/// of other files only the head is. One TIFF is held at a time. One thread at a time.
class PageFeed
{
public:
    /// `sources` is borrowed.
    explicit PageFeed(const std::vector<std::string> &sources)
        : m_sources(sources)
    {
    }

    /// Nothing behind the last page. A source that cannot be read is one page with a problem; where a
    /// TIFF's list of pages ends too early, one more page has it.
    std::optional<PageTask> next();

private:
    PageTask begin();
    Result<void> readTiff(const std::string &path);
    PageTask pageOfTiff();

    const std::vector<std::string> &m_sources;
    std::size_t m_source = 0; ///< the next one, or the one whose pages are being listed
    std::shared_ptr<const Bytes> m_tiff; ///< null when the next source has not begun
    TiffPages m_pages;
    std::size_t m_page = 0; ///< of the TIFF, the next one
};

} // namespace korv
