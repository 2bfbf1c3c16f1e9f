#include "library/formats/tiff/tiff_memory.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace korv {

namespace {

// strips and tables; a lying tag must not ask for more
constexpr tmsize_t kMaxAllocation = tmsize_t{1} << 30;

TiffMemory *memoryOf(thandle_t self)
{
    return static_cast<TiffMemory *>(self);
}

} // namespace

TiffMemory::TiffMemory(ByteView content, std::uint64_t directory)
    : m_content(content)
{
    const TiffOptions options = m_report.options();
    if (!options)
        return;
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMaxAllocation);
    // "m": no mapping, the content is in memory already; "h": not the first directory
    m_tiff.reset(TIFFClientOpenExt("memory", directory == 0 ? "rm" : "rmh", this, onRead, onWrite,
                                   onSeek, onClose, onSize, nullptr, nullptr, options.get()));
    if (m_tiff && directory != 0 && TIFFSetSubDirectory(m_tiff.get(), directory) == 0)
        m_tiff.reset();
}

Error TiffMemory::error() const
{
    return m_report.error(-EBADMSG);
}

Error TiffMemory::error(const char *problem) const
{
    return m_report.error(-EBADMSG, problem);
}

tmsize_t TiffMemory::onRead(thandle_t self, void *to, tmsize_t size)
{
    TiffMemory *memory = memoryOf(self);
    if (size < 0 || memory->m_at > memory->m_content.size)
        return 0;
    const std::size_t count =
        std::min(static_cast<std::size_t>(size),
                 memory->m_content.size - static_cast<std::size_t>(memory->m_at));
    if (count > 0)
        std::memcpy(to, memory->m_content.data + memory->m_at, count);
    memory->m_at += count;
    return static_cast<tmsize_t>(count);
}

tmsize_t TiffMemory::onWrite(thandle_t, void *, tmsize_t)
{
    return -1;
}

toff_t TiffMemory::onSeek(thandle_t self, toff_t offset, int whence)
{
    TiffMemory *memory = memoryOf(self);
    memory->m_at = tiffSeek(memory->m_at, memory->m_content.size, offset, whence);
    return memory->m_at;
}

int TiffMemory::onClose(thandle_t)
{
    return 0;
}

toff_t TiffMemory::onSize(thandle_t self)
{
    return memoryOf(self)->m_content.size;
}

} // namespace korv
