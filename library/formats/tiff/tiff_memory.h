#pragma once

#include "library/base/bytes.h"
#include "library/base/result.h"
#include "library/formats/tiff/tiff_report.h"

namespace korv {

/// A TIFF that is read from memory.
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
    Error error() const;
    Error error(const char *problem) const;
    /// Whether memory was short. libtiff passes over tags that it has none for.
    bool wasShort() const { return m_report.wasShort(); }

private:
    static tmsize_t onRead(thandle_t self, void *to, tmsize_t size);
    static tmsize_t onWrite(thandle_t self, void *from, tmsize_t size);
    static toff_t onSeek(thandle_t self, toff_t offset, int whence);
    static int onClose(thandle_t self);
    static toff_t onSize(thandle_t self);

    ByteView m_content;
    std::uint64_t m_at = 0;
    TiffReport m_report{"not readable"}; ///< before libtiff begins
    TiffHandle m_tiff; ///< last member: closing it still calls back
};

} // namespace korv
