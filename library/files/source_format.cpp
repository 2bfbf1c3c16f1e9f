#include "library/files/source_format.h"

#include <cstring>

namespace korv {

namespace {

bool startsWith(ByteView content, const char *magic, std::size_t length)
{
    return content.size >= length && std::memcmp(content.data, magic, length) == 0;
}

} // namespace

SourceFormat recogniseFormat(ByteView content)
{
    if (startsWith(content, "\xFF\xD8\xFF", 3))
        return SourceFormat::Jpeg;
    if (startsWith(content, "\x89PNG\r\n\x1A\n", 8))
        return SourceFormat::Png;
    if (startsWith(content, "BM", 2))
        return SourceFormat::Bmp;
    // little- and big-endian, classic and BigTIFF
    if (startsWith(content, "II*\0", 4) || startsWith(content, "MM\0*", 4)
        || startsWith(content, "II+\0", 4) || startsWith(content, "MM\0+", 4))
        return SourceFormat::Tiff;
    return SourceFormat::Unknown;
}

} // namespace korv
