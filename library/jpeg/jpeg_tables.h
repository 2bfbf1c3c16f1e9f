#pragma once

#include "library/base/bytes.h"

namespace korv::jpeg {

/// Comment that marks a picture of two levels, so that it can become 1 bit again without guessing.
inline constexpr char kBilevelComment[] = "korv:bilevel";

/// One standard Huffman table (ITU-T T.81, annex K.3) as a complete DHT segment. Which tables a
/// USB camera means when it sends none. `table` 0 is luma, 1 chroma.
enum class HuffmanClass { Dc = 0, Ac = 1 };
Bytes standardHuffmanSegment(HuffmanClass tableClass, int table);

/// Sums of the 64 steps of the example quantisation tables (annex K.1), scaled to `quality` as
/// libjpeg does it.
unsigned standardLumaSteps(int quality);
unsigned standardChromaSteps(int quality);

} // namespace korv::jpeg
