#pragma once

#include "library/files/byte_sink.h"
#include "library/formats/tiff/tiff_report.h"

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

    ByteSink &m_sink;
    std::uint64_t m_at = 0;
    Error m_error; ///< code 0: none yet
    TiffReport m_report{"not written"}; ///< before libtiff begins
    TiffHandle m_tiff; ///< last member: closing it still calls back
};

} // namespace korv
