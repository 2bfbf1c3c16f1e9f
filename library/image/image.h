#pragma once

#include "library/image/pixel_memory.h"
#include "library/image/resolution.h"

#include <cstddef>
#include <cstdint>

namespace korv {

enum class PixelFormat {
    Gray8, ///< one byte a pixel, 0 black
    Rgb24, ///< three bytes a pixel: R, G, B
};

/// Largest picture the library touches: JPEG's own side limit, and a bound on memory.
inline constexpr int kMaxSide = 65'500;
inline constexpr std::int64_t kMaxPixels = 400'000'000;

inline bool isSupportedSize(std::int64_t width, std::int64_t height)
{
    return width > 0 && height > 0 && width <= kMaxSide && height <= kMaxSide
        && width * height <= kMaxPixels;
}

/// A picture in memory: rows top to bottom, without padding. A value: copies copy the pixels.
class Image
{
public:
    Image() = default;
    /// Precondition: isSupportedSize(width, height). The pixels start as zero.
    Image(int width, int height, PixelFormat format);
    /// The same, but the caller writes every pixel.
    static Image unset(int width, int height, PixelFormat format);

    int width() const { return m_width; }
    int height() const { return m_height; }
    PixelFormat format() const { return m_format; }
    int channels() const { return m_format == PixelFormat::Gray8 ? 1 : 3; }
    std::size_t stride() const
    {
        return static_cast<std::size_t>(m_width) * static_cast<std::size_t>(channels());
    }
    bool empty() const { return m_pixels.empty(); }

    /// Only 0 and 255 occur: the writers store such a picture as 1 bit. Set by lineart conversion.
    bool isBilevel() const { return m_bilevel; }
    void setBilevel(bool bilevel) { m_bilevel = bilevel; }

    const Resolution &resolution() const { return m_resolution; }
    void setResolution(const Resolution &resolution) { m_resolution = resolution; }

    std::uint8_t *row(int y) { return m_pixels.data() + static_cast<std::size_t>(y) * stride(); }
    const std::uint8_t *row(int y) const
    {
        return m_pixels.data() + static_cast<std::size_t>(y) * stride();
    }
    std::uint8_t *pixels() { return m_pixels.data(); }
    const std::uint8_t *pixels() const { return m_pixels.data(); }

private:
    Image(int width, int height, PixelFormat format, PixelMemory::Content content);

    int m_width = 0;
    int m_height = 0;
    PixelFormat m_format = PixelFormat::Rgb24;
    bool m_bilevel = false;
    Resolution m_resolution;
    PixelMemory m_pixels;
};

} // namespace korv
