#include "library/imaging/image.h"

#include <cassert>

namespace korv {

Image::Image(int width, int height, PixelFormat format)
    : m_width(width)
    , m_height(height)
    , m_format(format)
    , m_pixels(stride() * static_cast<std::size_t>(height))
{
    assert(isReasonableSize(width, height));
}

} // namespace korv
