#include "library/documents/document_settings.h"

#include "library/base/log.h"
#include "library/documents/utf8.h"

#include <cstdlib>

namespace korv {

namespace {

std::string valueOf(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

DocumentSettings withEnvironment(DocumentSettings settings)
{
    if (const std::string title = valueOf("KORV_CAMERA_TITLE"); !title.empty())
        settings.title = cleanUtf8(title);
    const std::string size = valueOf("KORV_CAMERA_PAGE_SIZE");
    if (!size.empty()) {
        if (const auto sheet = sheetOf(size))
            settings.sheet = sheet;
        else
            logLine("KORV_CAMERA_PAGE_SIZE: no page size: " + cleanUtf8(size));
    }
    return settings;
}

} // namespace korv
