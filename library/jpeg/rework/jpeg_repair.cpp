#include "library/jpeg/rework/jpeg_repair.h"

#include "library/image/resolution.h"
#include "library/jpeg/jpeg_head.h"
#include "library/jpeg/jpeg_segments.h"
#include "library/jpeg/jpeg_tables.h"

#include <cerrno>
#include <vector>

namespace korv::jpeg {

namespace {

bool wantsJfif(const Structure &structure)
{
    // JFIF means YCbCr: in front of an Adobe or RGB picture it would change the colours
    const ColourModel model = structure.info.colourModel;
    return structure.jfif == 0 && !structure.hasAdobe
        && (model == ColourModel::Gray || model == ColourModel::YCbCr);
}

bool hasOddGraySampling(const Structure &structure)
{
    const Info &info = structure.info;
    return info.components == 1 && (info.lumaHorizontal != 1 || info.lumaVertical != 1);
}

Bytes jfifSegment(const Resolution &resolution)
{
    Bytes segment = {0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 2, 1};
    for (const unsigned density : {jfifDensity(resolution.x), jfifDensity(resolution.y)}) {
        segment.push_back(static_cast<std::uint8_t>(density >> 8));
        segment.push_back(static_cast<std::uint8_t>(density & 255));
    }
    segment.insert(segment.end(), {0, 0}); // no thumbnail
    return segment;
}

void append(Bytes &to, ByteView from)
{
    to.insert(to.end(), from.begin(), from.end());
}

ByteView between(ByteView data, std::size_t begin, std::size_t end)
{
    return {data.data + begin, end - begin};
}

/// Bytes of the file that others take the place of.
struct Edit
{
    std::size_t begin;
    std::size_t end;
    Bytes instead;
};

/// What mending changes in front of the scan, from front to back.
std::vector<Edit> editsOf(ByteView data, const Structure &structure, const Resolution &resolution)
{
    std::vector<Edit> edits;
    if (wantsJfif(structure)) {
        const Info &info = structure.info;
        edits.push_back(
            {2, 2,
             jfifSegment(effectiveResolution(
                 info.width, info.height, resolution.isKnown() ? resolution : info.resolution))});
    }
    if (!wantsJfif(structure) && !structure.hasPictureIndex && !hasOddGraySampling(structure))
        return edits;
    for (const Segment &segment : headerSegments(data, structure)) {
        const bool videoHead = wantsJfif(structure) && segment.begin == structure.aviHead;
        const bool index = segment.marker == kApp2 && isPictureIndex(segment.payload);
        if (videoHead || index)
            edits.push_back({segment.begin, segment.end, {}});
        const std::size_t factors = structure.samplingByte;
        // for a single component the factors have no effect (T.81, A.2.2), so the data stay valid
        if (hasOddGraySampling(structure) && segment.begin < factors && factors < segment.end)
            edits.push_back({factors, factors + 1, {0x11}});
    }
    return edits;
}

void appendMissingTables(Bytes &to, HuffmanClass tableClass, unsigned missing)
{
    for (int table = 0; table < 2; ++table) {
        if (missing & 1U << table)
            append(to, standardHuffmanSegment(tableClass, table));
    }
}

/// From `copied`, which lies in the headers, to EOI, with the missing tables in front of the scan.
Result<void> appendRest(Bytes &to, ByteView data, const Structure &structure, std::size_t copied)
{
    if ((structure.missingDcTables | structure.missingAcTables) & ~3U)
        return Error{-EBADMSG, "JPEG uses a Huffman table that it does not define"};
    append(to, between(data, copied, structure.scanStart));
    appendMissingTables(to, HuffmanClass::Dc, structure.missingDcTables);
    appendMissingTables(to, HuffmanClass::Ac, structure.missingAcTables);
    append(to, between(data, structure.scanStart, structure.end));
    return {};
}

} // namespace

bool needsRepair(const Structure &structure)
{
    return structure.missingDcTables != 0 || structure.missingAcTables != 0 || wantsJfif(structure)
        || hasOddGraySampling(structure) || structure.hasPictureIndex;
}

Result<Bytes> repair(ByteView data, const Structure &structure, const Resolution &resolution)
{
    Bytes file;
    file.reserve(structure.end + 1024);
    append(file, data.first(2));
    std::size_t copied = 2;
    for (const Edit &edit : editsOf(data, structure, resolution)) {
        append(file, between(data, copied, edit.begin));
        append(file, edit.instead);
        copied = edit.end;
    }
    if (Result<void> rest = appendRest(file, data, structure, copied); !rest)
        return rest.error();
    return file;
}

Result<void> addHuffmanTables(ByteView data, const Structure &structure, Bytes &frame)
{
    frame.clear();
    frame.reserve(structure.end + 512);
    return appendRest(frame, data, structure, 0);
}

} // namespace korv::jpeg
