#pragma once

#include "library/base/bytes.h"
#include "library/base/handle.h"
#include "library/base/memory_verdict.h"
#include "library/base/result.h"

#include <memory>

#include <tiffio.h>

namespace korv {

using TiffHandle = Handle<TIFF, TIFFClose>;

/// A TIFF that is read from memory. Diagnostics are kept here instead of going to standard error.
class TiffMemory
{
public:
    /// At the directory with this offset; 0: the first one.
    TiffMemory(ByteView content, std::uint64_t directory);
    TiffMemory(const TiffMemory &) = delete;
    TiffMemory &operator=(const TiffMemory &) = delete;

    /// Null when libtiff refused the content, or the directory.
    TIFF *handle() const { return m_tiff.get(); }
    /// Why libtiff refused something: -ENOMEM when memory was short since this was made, else
    /// -EBADMSG.
    Error error() const { return error(m_problem); }
    Error error(const char *problem) const;
    /// Whether memory was short. libtiff passes over tags that it has none for.
    bool wasShort() const { return m_memory.codeOr(0) != 0; }

private:
    static tmsize_t onRead(thandle_t self, void *to, tmsize_t size);
    static tmsize_t onWrite(thandle_t self, void *from, tmsize_t size);
    static toff_t onSeek(thandle_t self, toff_t offset, int whence);
    static int onClose(thandle_t self);
    static toff_t onSize(thandle_t self);
    static int onError(TIFF *tiff, void *self, const char *module, const char *format,
                       va_list arguments);
    static int onWarning(TIFF *tiff, void *self, const char *module, const char *format,
                         va_list arguments);

    ByteView m_content;
    std::uint64_t m_at = 0;
    MemoryVerdict m_memory; ///< before libtiff begins
    char m_problem[200] = "not readable";
    TiffHandle m_tiff; ///< last member: closing it still calls back
};

} // namespace korv
