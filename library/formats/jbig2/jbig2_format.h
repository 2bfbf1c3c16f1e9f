#pragma once

#include "library/formats/jbig2/integer_coder.h"

#include <cstdint>

// What both directions must agree on: the segments (ITU-T T.88, 7), as PDF embeds them, and the
// procedures for whole numbers.
namespace korv::jbig2 {

enum class SegmentType : std::uint8_t {
    SymbolDictionary = 0,
    LosslessTextRegion = 7,
    PageInformation = 48,
};

inline constexpr std::uint32_t kPageNumber = 1;
/// One bit, 0 white, and no more than black added to black.
inline constexpr std::uint8_t kLosslessPage = 0x01;
/// Arithmetic coding, template 0 for pixels: bits that are not set.
inline constexpr std::uint32_t kDictionaryFlags = 0;
/// Refinement by template 0, strips of 8 rows, places are those of upper left corners.
inline constexpr std::uint32_t kTextFlags = 0x02 | 3 << 2 | 1 << 4;
inline constexpr int kStripHeight = 8; ///< pixels
/// Where the adaptive pixels usually are, x and y of each.
inline constexpr std::uint8_t kPixelPlaces[] = {3, 0xFF, 0xFD, 0xFF, 2, 0xFE, 0xFE, 0xFE};
inline constexpr std::uint8_t kRefinementPlaces[] = {0xFF, 0xFF, 0xFF, 0xFF};

/// As their names in T.88, 6.5: IADH, IADW, IAEX.
struct DictionaryNumbers
{
    IntegerCoder higher;
    IntegerCoder wider;
    IntegerCoder exported;
};

/// As their names in T.88, 6.4: IADT, IAFS, IADS, IAIT, IARI, IARDW, IARDH, IARDX, IARDY.
struct TextNumbers
{
    IntegerCoder strip;
    IntegerCoder firstLeft;
    IntegerCoder nextLeft;
    IntegerCoder row;
    IntegerCoder isRefined;
    IntegerCoder wider;
    IntegerCoder higher;
    IntegerCoder right;
    IntegerCoder down;
};

/// Half of a difference in size, which a place is relative to, the way T.88 rounds it: down.
inline int halfOf(int difference)
{
    return (difference - (difference < 0 ? 1 : 0)) / 2;
}

} // namespace korv::jbig2
