#include "library/formats/tiff/tiff_sink.h"

#include "library/formats/tiff/tiff_directories.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

namespace korv {

namespace {

TiffSink *sinkOf(thandle_t self)
{
    return static_cast<TiffSink *>(self);
}

} // namespace

TiffSink::TiffSink(ByteSink &sink)
    : m_sink(sink)
{
    open("wml");
    // libtiff puts everything at the end, so the head can grow later
    const std::uint8_t room[kBigTiffHeadSize] = {};
    const std::size_t taken = std::min(static_cast<std::size_t>(sink.size()), sizeof room);
    if (Result<void> reserved = sink.write(ByteView(room, sizeof room - taken)); !reserved) {
        m_error = reserved.error();
        m_tiff.reset();
    }
}

TiffSink::~TiffSink()
{
    // a file that is given up: libtiff would write its last directory, and crash on one that it had
    // no memory for
    if (m_tiff)
        TIFFSetMode(m_tiff.get(), O_RDONLY);
}

void TiffSink::open(const char *mode)
{
    m_at = 0;
    const TiffOptions options = m_report.options();
    if (!options)
        return;
    m_tiff.reset(TIFFClientOpenExt("document", mode, this, onRead, onWrite, onSeek, onClose, onSize,
                                   nullptr, nullptr, options.get()));
}

Result<void> TiffSink::widen(int pages)
{
    if (Result<void> closed = close(); !closed)
        return closed;
    if (pages == 0) {
        open("w8ml");
    } else {
        if (Result<void> widened = widenTiff(m_sink); !widened)
            return widened;
        open("aml");
    }
    return m_tiff ? Result<void>() : error();
}

Result<void> TiffSink::close()
{
    const bool written = m_tiff && TIFFFlush(m_tiff.get()) != 0;
    m_tiff.reset();
    if (!written || m_error.code != 0)
        return error();
    return {};
}

Error TiffSink::error() const
{
    return m_error.code != 0 ? m_error : m_report.error(-EIO);
}

tmsize_t TiffSink::onRead(thandle_t self, void *to, tmsize_t size)
{
    TiffSink *sink = sinkOf(self);
    Result<std::size_t> count = sink->m_sink.readAt(sink->m_at, static_cast<std::uint8_t *>(to),
                                                    static_cast<std::size_t>(size));
    if (!count) {
        sink->m_error = count.error();
        return -1;
    }
    sink->m_at += count.value();
    return static_cast<tmsize_t>(count.value());
}

tmsize_t TiffSink::onWrite(thandle_t self, void *from, tmsize_t size)
{
    TiffSink *sink = sinkOf(self);
    Result<void> written = sink->m_sink.writeAt(sink->m_at, {from, static_cast<std::size_t>(size)});
    if (!written) {
        sink->m_error = written.error();
        return -1;
    }
    sink->m_at += static_cast<std::uint64_t>(size);
    return size;
}

toff_t TiffSink::onSeek(thandle_t self, toff_t offset, int whence)
{
    TiffSink *sink = sinkOf(self);
    sink->m_at = tiffSeek(sink->m_at, sink->m_sink.size(), offset, whence);
    return sink->m_at;
}

int TiffSink::onClose(thandle_t)
{
    return 0;
}

toff_t TiffSink::onSize(thandle_t self)
{
    return sinkOf(self)->m_sink.size();
}

} // namespace korv
