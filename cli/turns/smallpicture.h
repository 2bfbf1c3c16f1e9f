#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace cli {

/// A gray picture for looking at, not for keeping; rows without padding.
struct SmallPicture
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> gray;

    const std::uint8_t *row(int y) const
    {
        return gray.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }
};

/// The same in three bytes a pixel: R, G, B.
struct SmallColourPicture
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;

    const std::uint8_t *pixel(int x, int y) const
    {
        return rgb.data()
            + (static_cast<std::size_t>(y) * static_cast<std::size_t>(width)
               + static_cast<std::size_t>(x))
            * 3;
    }
};

// These decode a JPEG at the largest reduction among 1/8, 1/4, 1/2 and 1 that leaves at least
// `minWidth` columns, which costs a fraction of the time that all pixels would. The picture's memory
// is used again. False for what is no JPEG in gray or ordinary colours, and for pictures with sides
// over 20,000 pixels. Damage inside shows in the picture.
bool decodeSmall(const unsigned char *jpeg, std::size_t size, int minWidth, SmallPicture &picture);
bool decodeSmall(const unsigned char *jpeg, std::size_t size, int minWidth,
                 SmallColourPicture &picture);

/// How much fine detail a picture shows, without regard to how bright it is: greater in focus than
/// out of it. Comparable between pictures of one scene and size only.
double sharpnessOf(const SmallPicture &picture);

} // namespace cli
