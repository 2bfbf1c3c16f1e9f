#pragma once

#include "library/jpeg/app2_payloads.h"
#include "library/jpeg/jpeg_structure.h"

#include <vector>

namespace korv::jpeg {

/// A marker segment (ITU-T T.81, B.1.1.4).
struct Segment
{
    std::size_t begin = 0; ///< of its marker, from SOI
    std::size_t end = 0; ///< one past its payload
    std::uint8_t marker = 0; ///< second byte
    ByteView payload; ///< without the length
};

/// Those in front of the first scan, in their order. `structure` is that of the data.
std::vector<Segment> headerSegments(ByteView data, const Structure &structure);

/// The profile put together; empty when there is none, a piece is missing, or it is larger than any
/// profile of use. Throws std::bad_alloc only.
Bytes profileOf(ByteView data, const Structure &structure);

} // namespace korv::jpeg
