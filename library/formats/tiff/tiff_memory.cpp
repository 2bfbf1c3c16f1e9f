#include "library/formats/tiff/tiff_memory.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

namespace korv {

namespace {

// strips and tables; a lying tag must not ask for more
constexpr tmsize_t kMaxAllocation = tmsize_t{1} << 30;

using TiffOptions = Handle<TIFFOpenOptions, TIFFOpenOptionsFree>;

TiffMemory *memoryOf(thandle_t self)
{
    return static_cast<TiffMemory *>(self);
}

} // namespace

TiffMemory::TiffMemory(ByteView content, std::uint64_t directory)
    : m_content(content)
{
    const TiffOptions options(TIFFOpenOptionsAlloc());
    if (!options)
        return;
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMaxAllocation);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onWarning, this);
    // "m": no mapping, the content is in memory already; "h": not the first directory
    m_tiff.reset(TIFFClientOpenExt("memory", directory == 0 ? "rm" : "rmh", this, onRead, onWrite,
                                   onSeek, onClose, onSize, nullptr, nullptr, options.get()));
    if (m_tiff && directory != 0 && TIFFSetSubDirectory(m_tiff.get(), directory) == 0)
        m_tiff.reset();
}

Error TiffMemory::error(const char *problem) const
{
    const int code = m_memory.codeOr(-EBADMSG);
    return {code, std::string("TIFF: ") + problem};
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
    if (whence == SEEK_CUR)
        offset += memory->m_at;
    else if (whence == SEEK_END)
        offset += memory->m_content.size;
    memory->m_at = offset;
    return offset;
}

int TiffMemory::onClose(thandle_t)
{
    return 0;
}

toff_t TiffMemory::onSize(thandle_t self)
{
    return memoryOf(self)->m_content.size;
}

int TiffMemory::onError(TIFF *, void *self, const char *, const char *format, va_list arguments)
{
    TiffMemory *memory = memoryOf(self);
    std::vsnprintf(memory->m_problem, sizeof memory->m_problem, format, arguments);
    return 1; // handled: nothing goes to standard error
}

int TiffMemory::onWarning(TIFF *, void *, const char *, const char *, va_list)
{
    return 1;
}

} // namespace korv
