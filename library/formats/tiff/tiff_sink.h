#pragma once

#include "library/base/handle.h"
#include "library/base/memory_verdict.h"
#include "library/files/byte_sink.h"

#include <string>

#include <tiffio.h>

namespace korv {

/// A TIFF that libtiff writes into an empty sink. The sink's own error is kept for the caller.
class TiffSink
{
public:
    /// Begins a TIFF 6.0.
    explicit TiffSink(ByteSink &sink);
    ~TiffSink();
    TiffSink(const TiffSink &) = delete;
    TiffSink &operator=(const TiffSink &) = delete;

    /// Null when there is no memory, or the sink refuses the head.
    TIFF *handle() const { return m_tiff.get(); }

    /// Goes on as BigTIFF, which fewer readers know: `pages` whole ones have been written. Offsets
    /// have 64 bits from here on. The handle is another one afterwards.
    Result<void> widen(int pages);

    /// Ends the file; success only when everything was written.
    Result<void> close();

    /// Why a call on the handle failed.
    Error error() const;

private:
    void open(const char *mode);

    static tmsize_t onRead(thandle_t self, void *to, tmsize_t size);
    static tmsize_t onWrite(thandle_t self, void *from, tmsize_t size);
    static toff_t onSeek(thandle_t self, toff_t offset, int whence);
    static int onClose(thandle_t self);
    static toff_t onSize(thandle_t self);
    static int onError(TIFF *tiff, void *self, const char *module, const char *format,
                       va_list arguments);
    static int onWarning(TIFF *tiff, void *self, const char *module, const char *format,
                         va_list arguments);

    ByteSink &m_sink;
    std::uint64_t m_at = 0;
    Error m_error; ///< code 0: none yet
    MemoryVerdict m_memory; ///< before libtiff begins
    char m_problem[200] = "not written";
    Handle<TIFF, TIFFClose> m_tiff; ///< last member: closing it still calls back
};

} // namespace korv
