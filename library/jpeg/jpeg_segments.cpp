#include "library/jpeg/jpeg_segments.h"

#include "library/image/colour_profile.h"
#include "library/values/byte_order.h"

#include <array>

namespace korv::jpeg {

std::vector<Segment> headerSegments(ByteView data, const Structure &structure)
{
    std::vector<Segment> segments;
    std::size_t at = 2;
    // the structure was read from these bytes, so every marker and length is good
    while (at < structure.scanStart) {
        while (data[at + 1] == 0xFF)
            ++at;
        if (at >= structure.scanStart)
            break;
        const std::size_t length = bigendian::u16(data.data + at + 2);
        segments.push_back({at, at + 2 + length, data[at + 1], {data.data + at + 4, length - 2}});
        at += 2 + length;
    }
    return segments;
}

Bytes profileOf(ByteView data, const Structure &structure)
{
    if (!structure.hasProfile)
        return {};
    std::array<ByteView, 256> pieces;
    std::size_t count = 0;
    std::size_t size = 0;
    for (const Segment &segment : headerSegments(data, structure)) {
        if (segment.marker != kApp2 || !isProfilePiece(segment.payload))
            continue;
        const std::size_t number = segment.payload[kProfilePieceHead - 2];
        const std::size_t stated = segment.payload[kProfilePieceHead - 1];
        if (number == 0 || number > stated || (count != 0 && stated != count)
            || !pieces[number].empty())
            return {};
        count = stated;
        pieces[number] = {segment.payload.data + kProfilePieceHead,
                          segment.payload.size - kProfilePieceHead};
        size += pieces[number].size;
    }
    if (size > kMaxProfileSize)
        return {};
    Bytes profile;
    profile.reserve(size);
    for (std::size_t number = 1; number <= count; ++number) {
        if (pieces[number].empty())
            return {};
        profile.insert(profile.end(), pieces[number].begin(), pieces[number].end());
    }
    return profile;
}

} // namespace korv::jpeg
