#include "library/formats/tiff/tiff_report.h"

#include <cstdio>
#include <string>

namespace korv {

TiffReport::TiffReport(const char *problem)
{
    std::snprintf(m_problem, sizeof m_problem, "%s", problem);
}

TiffOptions TiffReport::options()
{
    TiffOptions options(TIFFOpenOptionsAlloc());
    if (options) {
        TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onError, this);
        TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onWarning, this);
    }
    return options;
}

Error TiffReport::error(int otherwise, const char *problem) const
{
    const int code = m_memory.codeOr(otherwise);
    return {code, std::string("TIFF: ") + problem};
}

int TiffReport::onError(TIFF *, void *self, const char *, const char *format, va_list arguments)
{
    auto *report = static_cast<TiffReport *>(self);
    std::vsnprintf(report->m_problem, sizeof report->m_problem, format, arguments);
    return 1; // handled: nothing goes to standard error
}

int TiffReport::onWarning(TIFF *, void *, const char *, const char *, va_list)
{
    return 1;
}

toff_t tiffSeek(toff_t at, toff_t size, toff_t offset, int whence)
{
    if (whence == SEEK_CUR)
        return at + offset;
    return whence == SEEK_END ? size + offset : offset;
}

} // namespace korv
