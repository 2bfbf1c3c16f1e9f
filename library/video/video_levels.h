#pragma once

#include <cstddef>
#include <cstdint>

namespace korv {

/// What becomes of a sample on its way into a JPEG, whose samples use all of 0..255.
enum class Levels {
    Same,
    WideLuma, ///< 16..235 (ITU-R BT.601)
    WideChroma ///< 16..240 around 128 (ITU-R BT.601)
};

/// Which bytes of a row are taken.
enum class Bytewise { Each, Even, Odd };

/// Takes `count` bytes of a row through `levels`. Even and Odd find them in 2 x `count` bytes;
/// nothing is read behind those. The rows may not overlap.
void copyLevels(const std::uint8_t *source, Bytewise which, Levels levels, std::size_t count,
                std::uint8_t *target);

} // namespace korv
