#include "library/jpeg/rework/jpeg_reuse.h"

#include "library/image/resolution.h"
#include "library/jpeg/rework/jpeg_repair.h"

#include <cerrno>
#include <cstring>

namespace korv {

namespace {

constexpr int kUnchangedQuality = 95; ///< from here on every JPEG is good enough as it is

Result<ByteView> stored(Result<Bytes> made, Bytes &storage)
{
    if (!made)
        return made.error();
    storage = std::move(made).value();
    return ByteView(storage);
}

/// Readers of a progressive picture pass over all of it for each scan, and ten suffice.
bool hasTooManyScans(ByteView jpeg)
{
    constexpr int kMaxScans = 200;
    const std::uint8_t *at = jpeg.begin();
    for (int scans = 0; scans <= kMaxScans; ++scans) {
        const auto left = static_cast<std::size_t>(jpeg.end() - at);
        const void *found = ::memmem(at, left, "\xFF\xDA", 2);
        if (found == nullptr)
            return false;
        at = static_cast<const std::uint8_t *>(found) + 2;
    }
    return true;
}

/// What TIFF's YCbCrSubsampling can say (TIFF 6.0, section 21).
bool isOrdinaryFactor(int factor)
{
    return factor == 1 || factor == 2 || factor == 4;
}

bool hasOrdinarySampling(const jpeg::Info &info)
{
    // a single component's factors have no effect, and mending makes them plain
    return info.components == 1
        || (info.plainChroma && isOrdinaryFactor(info.lumaHorizontal)
            && isOrdinaryFactor(info.lumaVertical));
}

} // namespace

namespace jpeg {

int neededQuality(const Structure &structure, int quality)
{
    return quality >= kUnchangedQuality || isAsCoarseAs(structure, quality) ? 0 : quality;
}

bool canStay(const Structure &structure, const Transform &transform)
{
    return transform.isNone() && isWidelyReadable(structure);
}

Result<ByteView> asItIs(ByteView content, const Structure &structure, Bytes &storage)
{
    if (!needsRepair(structure))
        return content.first(structure.end);
    return stored(repair(content, structure, structure.info.resolution), storage);
}

} // namespace jpeg

bool fitsTiff(const jpeg::Info &info)
{
    return info.components != 4 && info.precision == 8 && info.huffman && !info.progressive
        && hasOrdinarySampling(info);
}

Result<ByteView> reusableJpeg(ByteView content, const jpeg::Structure &structure,
                              const ReuseOptions &options, Bytes &storage)
{
    const jpeg::Info &info = structure.info;
    if (!isSupportedSize(info.width, info.height))
        return Error{-EFBIG, "picture too large"};
    if (!jpeg::isPlausible(info, structure.end))
        return Error{-EBADMSG, "JPEG: file too small for its stated dimensions"};
    if (info.progressive && hasTooManyScans(content.first(structure.end)))
        return Error{-EBADMSG, "JPEG: too many scans"};
    if (options.plainOnly && !hasOrdinarySampling(info))
        return ByteView();
    jpeg::Transform transform;
    transform.turn = Turn::ofOrientation(info.orientation).then(Turn::of(options.turn));
    transform.quality = jpeg::neededQuality(structure, options.quality);
    const bool mustBecomePlain = options.plainOnly && info.progressive;
    if (!mustBecomePlain && jpeg::canStay(structure, transform))
        return jpeg::asItIs(content, structure, storage);
    if (!jpeg::canTransform(structure, transform))
        return ByteView();
    const Resolution resolution = effectiveResolution(info.width, info.height, info.resolution);
    return stored(
        jpeg::transformed(content.first(structure.end), structure, transform,
                          transform.turn.transpose ? resolution.transposed() : resolution),
        storage);
}

} // namespace korv
