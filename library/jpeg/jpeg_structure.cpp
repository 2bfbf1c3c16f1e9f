#include "library/jpeg/jpeg_structure.h"

#include "library/exif/exif.h"
#include "library/jpeg/app2_payloads.h"
#include "library/jpeg/jpeg_tables.h"
#include "library/values/byte_order.h"

#include <cerrno>
#include <cmath>
#include <cstring>

namespace korv::jpeg {

namespace {

constexpr std::uint8_t kSoi = 0xD8;
constexpr std::uint8_t kEoi = 0xD9;
constexpr std::uint8_t kSos = 0xDA;
constexpr std::uint8_t kDqt = 0xDB;
constexpr std::uint8_t kDht = 0xC4;
constexpr std::uint8_t kApp0 = 0xE0;
constexpr std::uint8_t kApp1 = 0xE1;
constexpr std::uint8_t kApp14 = 0xEE;
constexpr std::uint8_t kComment = 0xFE;

Error broken(const char *why)
{
    return Error{-EBADMSG, std::string("not a complete JPEG: ") + why};
}

bool isStartOfFrame(std::uint8_t marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != kDht && marker != 0xC8 && marker != 0xCC;
}

bool isRestart(std::uint8_t marker)
{
    return marker >= 0xD0 && marker <= 0xD7;
}

/// One pass over the markers. Every read is checked against the view's size.
class Walker
{
public:
    explicit Walker(ByteView data)
        : m_data(data)
    {
    }

    Result<void> readHeaders();
    Result<void> readScans();
    const Structure &structure() const { return m_result; }

private:
    struct Component
    {
        std::uint8_t id = 0;
        std::uint8_t quantTable = 0;
    };

    Result<std::uint8_t> nextMarker();
    Result<ByteView> payload();
    Result<void> readFrame(std::uint8_t marker, ByteView payload, std::size_t at);
    Result<void> readScanHead(ByteView payload);
    Result<void> readHeaderSegment(std::uint8_t marker, ByteView payload);
    void readQuantTables(ByteView payload);
    void readHuffmanTables(ByteView payload);
    void readApplicationHead(std::size_t markerAt, ByteView payload);
    void readAdobe(ByteView payload);
    Resolution statedResolution() const;
    void finishHeaders();
    void skipEntropyCoded();

    ByteView m_data;
    std::size_t m_at = 0;
    std::size_t m_markerAt = 0; ///< of the marker read last
    Structure m_result;
    std::array<Component, 4> m_components{};
    std::array<unsigned, 4> m_quantSteps{};
    std::uint8_t m_dcTables = 0;
    std::uint8_t m_acTables = 0;
    int m_adobeTransform = -1;
    Resolution m_jfifResolution;
    Resolution m_exifResolution;
    bool m_haveFrame = false;
};

Result<std::uint8_t> Walker::nextMarker()
{
    if (m_at >= m_data.size || m_data[m_at] != 0xFF)
        return broken("marker expected");
    // any number of 0xFF fill bytes may stand in front of a marker (T.81, B.1.1.2)
    while (m_at < m_data.size && m_data[m_at] == 0xFF)
        ++m_at;
    if (m_at >= m_data.size)
        return broken("data end inside a marker");
    m_markerAt = m_at - 1;
    return m_data[m_at++];
}

Result<ByteView> Walker::payload()
{
    if (m_data.size - m_at < 2)
        return broken("data end inside a segment");
    const std::size_t length = bigendian::u16(m_data.data + m_at);
    if (length < 2 || length > m_data.size - m_at)
        return broken("segment longer than the data");
    const ByteView result{m_data.data + m_at + 2, length - 2};
    m_at += length;
    return result;
}

Result<void> Walker::readFrame(std::uint8_t marker, ByteView payload, std::size_t at)
{
    if (m_haveFrame)
        return broken("two frames");
    if (payload.size < 6 || payload.size < 6 + 3 * std::size_t{payload[5]})
        return broken("short frame header");
    Info &info = m_result.info;
    info.precision = payload[0];
    info.height = static_cast<int>(bigendian::u16(payload.data + 1));
    info.width = static_cast<int>(bigendian::u16(payload.data + 3));
    info.components = payload[5];
    info.progressive = marker == 0xC2 || marker == 0xCA;
    info.huffman = marker <= 0xC2;
    if (info.width == 0 || info.height == 0)
        return broken("picture without size");
    if (info.components != 1 && info.components != 3 && info.components != 4)
        return broken("unusual number of components");
    for (std::size_t i = 0; i < static_cast<std::size_t>(info.components); ++i) {
        const std::size_t entry = 6 + 3 * i;
        const std::uint8_t factors = payload[entry + 1];
        if (factors >> 4 == 0 || factors >> 4 > 4 || (factors & 15) == 0 || (factors & 15) > 4)
            return broken("impossible sampling factors");
        if (i > 0 && factors != 0x11)
            info.plainChroma = false;
        m_components[i] = {payload[entry], payload[entry + 2]};
    }
    info.lumaHorizontal = payload[7] >> 4;
    info.lumaVertical = payload[7] & 15;
    // behind marker and length: the precision, and seven bytes in front of the first factors
    m_result.heightBytes = at + 2 + 2 + 1;
    m_result.samplingByte = at + 2 + 2 + 7;
    m_haveFrame = true;
    return {};
}

void Walker::readQuantTables(ByteView payload)
{
    std::size_t at = 0;
    while (at < payload.size) {
        const std::size_t width = payload[at] >> 4 ? 2 : 1;
        const std::size_t table = payload[at] & 15;
        ++at;
        if (payload.size - at < 64 * width || table > 3)
            return; // the decoder will say so; here it only leaves the steps unknown
        unsigned sum = 0;
        for (std::size_t i = 0; i < 64; ++i)
            sum += width == 2 ? bigendian::u16(payload.data + at + 2 * i) : payload[at + i];
        m_quantSteps[table] = sum;
        at += 64 * width;
    }
}

void Walker::readHuffmanTables(ByteView payload)
{
    std::size_t at = 0;
    while (payload.size - at >= 17) {
        const std::uint8_t head = payload[at];
        std::size_t codes = 0;
        for (std::size_t i = 1; i <= 16; ++i)
            codes += payload[at + i];
        if (payload.size - at < 17 + codes || (head & 15) > 3)
            return;
        std::uint8_t &tables = head >> 4 ? m_acTables : m_dcTables;
        tables = static_cast<std::uint8_t>(tables | 1U << (head & 15));
        at += 17 + codes;
    }
}

void Walker::readApplicationHead(std::size_t markerAt, ByteView payload)
{
    if (startsWith(payload, "AVI1", 4) && m_result.aviHead == 0 && !m_haveFrame)
        m_result.aviHead = markerAt;
    // decoders look for JFIF in the first segment only
    if (markerAt != 2 || !startsWith(payload, "JFIF\0", 5) || payload.size < 14)
        return;
    m_result.jfif = markerAt;
    const Resolution density(bigendian::u16(payload.data + 8), bigendian::u16(payload.data + 10));
    if (payload[7] == 1)
        m_jfifResolution = density;
    else if (payload[7] == 2)
        m_jfifResolution = {density.x * 2.54, density.y * 2.54};
}

void Walker::readAdobe(ByteView payload)
{
    if (!startsWith(payload, "Adobe", 5) || payload.size < 12)
        return;
    m_result.hasAdobe = true;
    m_adobeTransform = payload[11];
}

Result<void> Walker::readHeaderSegment(std::uint8_t marker, ByteView payload)
{
    if (isStartOfFrame(marker))
        return readFrame(marker, payload, m_markerAt);
    switch (marker) {
    case kDqt:
        readQuantTables(payload);
        break;
    case kDht:
        readHuffmanTables(payload);
        break;
    case kApp0:
        readApplicationHead(m_markerAt, payload);
        break;
    case kApp1:
        m_result.info.orientation = exifOrientation(payload, m_result.info.orientation);
        if (!m_exifResolution.isKnown())
            m_exifResolution = exifResolution(payload);
        break;
    case kApp2:
        m_result.hasProfile = m_result.hasProfile || isProfilePiece(payload);
        m_result.hasPictureIndex = m_result.hasPictureIndex || isPictureIndex(payload);
        break;
    case kApp14:
        readAdobe(payload);
        break;
    case kComment:
        if (startsWith(payload, kBilevelComment, sizeof kBilevelComment - 1))
            m_result.info.bilevel = true;
        break;
    default:
        break;
    }
    return {};
}

Result<void> Walker::readScanHead(ByteView payload)
{
    if (!m_haveFrame)
        return broken("scan before frame");
    if (payload.empty() || payload.size < 1 + 2 * std::size_t{payload[0]} + 3)
        return broken("short scan header");
    unsigned dc = 0;
    unsigned ac = 0;
    for (std::size_t i = 0; i < payload[0]; ++i) {
        const std::uint8_t tables = payload[2 + 2 * i];
        dc |= 1U << (tables >> 4 & 3);
        ac |= 1U << (tables & 3);
    }
    if (m_result.info.huffman && !m_result.info.progressive) {
        m_result.missingDcTables = static_cast<std::uint8_t>(dc & ~unsigned{m_dcTables});
        m_result.missingAcTables = static_cast<std::uint8_t>(ac & ~unsigned{m_acTables});
    }
    return {};
}

/// JFIF's, and its decimals where EXIF has them. EXIF alone is not asked: programs that change the
/// picture often leave it as it was.
Resolution Walker::statedResolution() const
{
    const auto rounds = [](double exact, double whole) { return std::abs(exact - whole) <= 0.5; };
    const Resolution &jfif = m_jfifResolution;
    if (!rounds(m_exifResolution.x, jfif.x) || !rounds(m_exifResolution.y, jfif.y)
        || m_exifResolution == jfif)
        return jfif;
    Resolution exact = m_exifResolution;
    exact.exact = true;
    return exact;
}

void Walker::finishHeaders()
{
    Info &info = m_result.info;
    if (info.components == 1) {
        info.colourModel = ColourModel::Gray;
    } else if (info.components == 4) {
        info.colourModel = ColourModel::Cmyk;
    } else if (m_result.jfif == 0) {
        // the order of these tests is libjpeg's
        const bool namedRgb =
            m_components[0].id == 'R' && m_components[1].id == 'G' && m_components[2].id == 'B';
        if (m_result.hasAdobe ? m_adobeTransform == 0 : namedRgb)
            info.colourModel = ColourModel::Rgb;
    }
    info.resolution = believableResolution(info.width, info.height, statedResolution());
    m_result.lumaSteps = m_quantSteps[m_components[0].quantTable & 3];
    if (info.components == 3)
        m_result.chromaSteps = m_quantSteps[m_components[1].quantTable & 3];
}

Result<void> Walker::readHeaders()
{
    if (m_data.size < 4 || m_data[0] != 0xFF || m_data[1] != kSoi)
        return broken("no SOI");
    m_at = 2;
    for (;;) {
        const Result<std::uint8_t> marker = nextMarker();
        if (!marker)
            return marker.error();
        const std::uint8_t code = marker.value();
        if (code == kEoi || code == kSoi || code == 0 || isRestart(code))
            return broken("no picture data");
        const Result<ByteView> segment = payload();
        if (!segment)
            return segment.error();
        if (code == kSos) {
            m_result.scanStart = m_markerAt;
            m_result.scanData = m_at;
            if (Result<void> scan = readScanHead(segment.value()); !scan)
                return scan;
            finishHeaders();
            return {};
        }
        if (Result<void> read = readHeaderSegment(code, segment.value()); !read)
            return read;
    }
}

void Walker::skipEntropyCoded()
{
    while (m_at < m_data.size) {
        const void *found = std::memchr(m_data.data + m_at, 0xFF, m_data.size - m_at);
        if (found == nullptr)
            break;
        m_at = static_cast<std::size_t>(static_cast<const std::uint8_t *>(found) - m_data.data);
        if (m_at + 1 >= m_data.size)
            break;
        const std::uint8_t next = m_data[m_at + 1];
        if (next == 0 || isRestart(next))
            m_at += 2;
        else if (next == 0xFF)
            m_at += 1;
        else
            return;
    }
    m_at = m_data.size;
}

Result<void> Walker::readScans()
{
    skipEntropyCoded();
    for (;;) {
        const Result<std::uint8_t> marker = nextMarker();
        if (!marker)
            return marker.error();
        if (marker.value() == kEoi) {
            m_result.end = m_at;
            return {};
        }
        // half a frame followed by the next one
        if (marker.value() == kSoi || isStartOfFrame(marker.value()))
            return broken("a second picture begins inside the first");
        const Result<ByteView> segment = payload();
        if (!segment)
            return segment.error();
        if (marker.value() == kSos)
            skipEntropyCoded();
    }
}

} // namespace

Result<Structure> readHeaders(ByteView data)
{
    Walker walker(data);
    if (Result<void> read = walker.readHeaders(); !read)
        return read.error();
    return walker.structure();
}

Result<Structure> readStructure(ByteView data)
{
    Walker walker(data);
    if (Result<void> read = walker.readHeaders(); !read)
        return read.error();
    if (Result<void> read = walker.readScans(); !read)
        return read.error();
    return walker.structure();
}

Result<Info> readInfo(ByteView data)
{
    Result<Structure> structure = readHeaders(data);
    if (!structure)
        return structure.error();
    return structure.value().info;
}

} // namespace korv::jpeg
