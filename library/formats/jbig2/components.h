#pragma once

#include "library/formats/jbig2/bitmap.h"
#include "library/image/image.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace korv::jbig2 {

/// Black pixels that touch, at corners too: a letter, a part of one, a speck.
struct Component
{
    int left = 0; ///< pixels of the picture
    int top = 0;
    Bitmap shape;
};

/// All components of a bilevel picture, by their first rows. None where they are more than
/// `mostComponents`, or the boxes around them have more than `mostPixels` together.
std::optional<std::vector<Component>> componentsOf(const Image &image, std::size_t mostComponents,
                                                   std::size_t mostPixels);

} // namespace korv::jbig2
