#include "library/output/pending_document.h"

#include "library/output/boundary.h"
#include "library/output/document.h"
#include "library/output/image_loader.h"
#include "library/output/source_file.h"

#include <cerrno>
#include <utility>

namespace korv {

Result<void> PendingDocument::add(const std::string &source)
{
    return withoutExceptions([&]() -> Result<void> {
        Bytes content;
        if (Result<void> read = readSourceFile(source, content); !read)
            return read;
        if (Result<void> readable = checkImage(content); !readable)
            return readable;
        m_pages.push_back(source);
        return {};
    });
}

Result<void> PendingDocument::combine(const std::string &destination, int quality)
{
    const std::vector<std::string> pages = std::exchange(m_pages, {});
    if (pages.empty())
        return Error{-ENODATA, "no page pending for " + destination};
    const Format *format = formatForPath(destination);
    if (format == nullptr || format->kind != FormatKind::Document)
        return Error{-EINVAL, "no known document format for " + destination};
    return withoutExceptions([&] { return writeDocument(pages, *format, destination, quality); });
}

} // namespace korv
