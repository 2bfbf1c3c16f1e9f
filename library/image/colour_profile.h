#pragma once

#include "library/base/bytes.h"
#include "library/image/image.h"

#include <cstddef>
#include <optional>

namespace korv {

/// Larger ones are not looked at; those of presses, the largest of use, take up to three million.
inline constexpr std::size_t kMaxProfileSize = 4U << 20;

/// What a profile's pixels are made of; one byte a component.
enum class ProfilePixels { Gray, Rgb, Cmyk };

/// What an ICC profile (ICC.1:2010) makes of colours: pixels that it describes become sRGB ones. A
/// profile comes from outside, so it is read with bounded memory, and one that would take long, is
/// broken, or does not describe such pixels is no profile. May be used by one thread at a time.
class ColourProfile
{
public:
    /// Nothing when it cannot be used. Throws std::bad_alloc only.
    static std::optional<ColourProfile> read(ByteView profile, ProfilePixels pixels);

    ColourProfile(ColourProfile &&other) noexcept;
    ColourProfile &operator=(ColourProfile &&) = delete;
    ~ColourProfile();

    /// Whether the colours are those of sRGB already, but for roundings.
    bool isSrgb() const;

    /// Pixels one behind the other; Gray stays one byte a pixel, the others become three. `to` may be
    /// `from` but for Cmyk.
    void toSrgb(const std::uint8_t *from, std::uint8_t *to, std::size_t pixels) const;

private:
    ColourProfile() = default;

    void *m_context = nullptr;
    void *m_transform = nullptr;
    ProfilePixels m_pixels = ProfilePixels::Rgb;
};

/// Makes sRGB of a picture whose colours the profile describes. A profile that cannot be used
/// changes nothing, nor does one of a picture of two levels.
void convertToSrgb(Image &image, ByteView profile);

/// The bytes of a profile that can stand in a file beside pixels it describes: cut to the length
/// that it states. Empty when it cannot be used.
ByteView usableProfile(ByteView profile, ProfilePixels pixels);

} // namespace korv
