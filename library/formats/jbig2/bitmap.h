#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace korv::jbig2 {

/// A small picture, a byte a pixel, 1 where it is black, with a white margin that coders may read.
class Bitmap
{
public:
    static constexpr int kMargin = 4; ///< pixels on each side

    Bitmap() = default;
    /// White. Precondition: neither is negative.
    Bitmap(int width, int height)
        : m_width(width)
        , m_height(height)
        , m_pixels(static_cast<std::size_t>(width + 2 * kMargin)
                   * static_cast<std::size_t>(height + 2 * kMargin))
    {
    }

    int width() const { return m_width; }
    int height() const { return m_height; }

    /// Rows and columns from -kMargin on.
    std::uint8_t *row(int y) { return m_pixels.data() + offset(y); }
    const std::uint8_t *row(int y) const { return m_pixels.data() + offset(y); }

private:
    std::size_t offset(int y) const
    {
        return static_cast<std::size_t>(y + kMargin)
            * static_cast<std::size_t>(m_width + 2 * kMargin)
            + kMargin;
    }

    int m_width = 0;
    int m_height = 0;
    std::vector<std::uint8_t> m_pixels;
};

} // namespace korv::jbig2
