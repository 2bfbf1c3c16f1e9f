#pragma once

#include "library/base/handle.h"
#include "library/base/memory_verdict.h"
#include "library/base/result.h"

#include <cstdarg>

#include <tiffio.h>

namespace korv {

using TiffHandle = Handle<TIFF, TIFFClose>;
using TiffOptions = Handle<TIFFOpenOptions, TIFFOpenOptionsFree>;

/// What libtiff says about one file: its diagnostics are kept here instead of going to standard
/// error. Make it before libtiff begins; it outlives the handles that are opened with its options.
class TiffReport
{
public:
    /// `problem` is told until libtiff says more.
    explicit TiffReport(const char *problem);
    TiffReport(const TiffReport &) = delete;
    TiffReport &operator=(const TiffReport &) = delete;

    /// Options for opening a file that report here; null when there is no memory for them.
    TiffOptions options();

    /// The last problem: -ENOMEM when memory was short since this was made, else `otherwise`.
    Error error(int otherwise) const { return error(otherwise, m_problem); }
    Error error(int otherwise, const char *problem) const;
    /// Whether memory was short. libtiff passes over tags that it has none for.
    bool wasShort() const { return m_memory.codeOr(0) != 0; }

private:
    static int onError(TIFF *tiff, void *self, const char *module, const char *format,
                       va_list arguments);
    static int onWarning(TIFF *tiff, void *self, const char *module, const char *format,
                         va_list arguments);

    MemoryVerdict m_memory;
    char m_problem[200] = {};
};

/// Where a seek of libtiff leads in a file of `size` bytes, from `at`.
toff_t tiffSeek(toff_t at, toff_t size, toff_t offset, int whence);

} // namespace korv
