#include "library/image/image.h"

#include <cassert>

namespace korv {

Image::Image(int width, int height, PixelFormat format)
    : Image(width, height, format, PixelMemory::Content::Zero)
{
}

Image Image::unset(int width, int height, PixelFormat format)
{
    return {width, height, format, PixelMemory::Content::Any};
}

Image::Image(int width, int height, PixelFormat format, PixelMemory::Content content)
    : m_width(width)
    , m_height(height)
    , m_format(format)
    , m_pixels(stride() * static_cast<std::size_t>(height), content)
{
    assert(isSupportedSize(width, height));
}

} // namespace korv
