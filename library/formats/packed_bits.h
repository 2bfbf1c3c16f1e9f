#pragma once

#include "library/base/bytes.h"
#include "library/image/image.h"

namespace korv {

/// Which colour a set bit stands for.
enum class SetBit { Black, White };

/// Bytes that one row of `width` bits takes.
inline std::size_t packedStride(int width)
{
    return (static_cast<std::size_t>(width) + 7) / 8;
}

/// One row of a bilevel picture as bits, leftmost pixel in the highest bit; spare bits are clear.
void packRow(const std::uint8_t *row, int width, SetBit setBit, std::uint8_t *out);

/// All rows, one behind the other. Throws std::bad_alloc only.
Bytes packRows(const Image &image, SetBit setBit);

} // namespace korv
