#include "library/export/pending_document.h"

#include "library/base/exceptions_to_errors.h"
#include "library/export/document.h"
#include "library/export/format.h"
#include "library/export/image_loader.h"
#include "library/export/rescue.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

namespace korv {

Result<void> PendingDocument::add(const std::string &source)
{
    Result<void> readable = exceptionsToErrors([&] { return checkImageFile(source); });
    return exceptionsToErrors([&] {
        (readable ? m_pages : m_refused).push_back(source);
        return readable;
    });
}

Result<void> PendingDocument::combine(const std::string &destination, int quality,
                                      const DocumentSettings &settings)
{
    const std::vector<std::string> pages = std::exchange(m_pages, {});
    const std::vector<std::string> refused = std::exchange(m_refused, {});
    if (pages.empty() && refused.empty())
        return Error{-ENODATA, "no page pending for " + destination};
    const Format *format = formatForPath(destination);
    if (format == nullptr || format->kind != FormatKind::Document)
        return Error{-EINVAL, "no known document format for " + destination};

    std::vector<std::string> left = pages;
    Result<void> written = exceptionsToErrors([&] {
        return writeDocument(pages, *format, destination, quality, withEnvironment(settings), left);
    });
    // a source that was refused at first may have been added later
    std::copy_if(refused.begin(), refused.end(), std::back_inserter(left),
                 [&](const std::string &source) {
                     return std::find(pages.begin(), pages.end(), source) == pages.end();
                 });
    if (!left.empty())
        rescuePages(left, destination);
    return written;
}

void PendingDocument::clear()
{
    m_pages.clear();
    m_refused.clear();
}

} // namespace korv
