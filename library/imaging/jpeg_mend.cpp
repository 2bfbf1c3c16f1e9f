#include "library/imaging/jpeg_mend.h"

#include "library/imaging/jpeg_tables.h"
#include "library/imaging/resolution.h"

#include <algorithm>
#include <cerrno>
#include <cmath>

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

Bytes jfifSegment(double dpi)
{
    const auto density = static_cast<unsigned>(std::clamp(std::lround(dpi), 1L, 65535L));
    const auto high = static_cast<std::uint8_t>(density >> 8);
    const auto low = static_cast<std::uint8_t>(density & 255);
    return {0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 2, 1, high, low, high, low, 0, 0};
}

void append(Bytes &to, ByteView from)
{
    to.insert(to.end(), from.begin(), from.end());
}

ByteView between(ByteView data, std::size_t begin, std::size_t end)
{
    return {data.data + begin, end - begin};
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

bool needsMending(const Structure &structure)
{
    return structure.missingDcTables != 0 || structure.missingAcTables != 0 || wantsJfif(structure)
        || hasOddGraySampling(structure);
}

Result<Bytes> mend(ByteView data, const Structure &structure, double dpi)
{
    Bytes file;
    file.reserve(structure.end + 1024);
    append(file, data.first(2));
    std::size_t copied = 2;
    if (wantsJfif(structure)) {
        const Info &info = structure.info;
        append(file, jfifSegment(effectiveDpi(info.width, info.height, dpi > 0 ? dpi : info.dpi)));
        if (structure.aviHead != 0) {
            append(file, between(data, copied, structure.aviHead));
            const std::size_t length =
                std::size_t{data[structure.aviHead + 2]} << 8 | data[structure.aviHead + 3];
            copied = structure.aviHead + 2 + length;
        }
    }
    if (hasOddGraySampling(structure)) {
        // for a single component the factors have no effect (T.81, A.2.2), so the data stay valid
        append(file, between(data, copied, structure.samplingByte));
        file.push_back(0x11);
        copied = structure.samplingByte + 1;
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
