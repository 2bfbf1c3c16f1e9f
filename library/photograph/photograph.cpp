#include "library/photograph/photograph.h"

#include "library/base/exception_error.h"
#include "library/base/log.h"
#include "library/clean/clean_paper.h"
#include "library/crop/crop.h"
#include "library/image/colour.h"
#include "library/image/resolution.h"
#include "library/jpeg/jpeg.h"
#include "library/jpeg/rework/jpeg_repair.h"
#include "library/jpeg/rework/jpeg_transform.h"
#include "library/photograph/lineart.h"
#include "library/photograph/sharpness.h"

#include <cerrno>
#include <cstdio>
#include <optional>
#include <utility>

namespace korv {

namespace {

constexpr int kUnchangedQuality = 95; ///< from here on the camera's own bytes are good enough

/// What a photograph needs, as far as it needs no pixels; nothing when it needs them.
std::optional<jpeg::Transform> coefficientWork(const jpeg::Structure &structure,
                                               const PhotographOptions &options)
{
    if (options.crop != CropMode::Off || options.colour == ColourStyle::Lineart || options.clean)
        return std::nullopt;
    jpeg::Transform transform;
    transform.turn =
        Turn::ofOrientation(structure.info.orientation).then(Turn::of(options.rotation));
    transform.gray = options.colour == ColourStyle::Gray && structure.info.components > 1;
    if (options.quality < kUnchangedQuality && !jpeg::isAsCoarseAs(structure, options.quality))
        transform.quality = options.quality;
    return transform;
}

bool changesNothing(const jpeg::Transform &transform)
{
    return transform.turn.isNone() && !transform.gray && transform.quality == 0;
}

Image straightened(Image image, CropMode crop, HelperThread &core)
{
    if (crop == CropMode::Off)
        return image;
    const std::optional<Quadrilateral> sheet = findSheet(image, core);
    return sheet ? cutSheet(image, *sheet, core) : image;
}

Image inColour(Image image, ColourStyle style)
{
    switch (style) {
    case ColourStyle::Gray:
        return toGray(std::move(image));
    case ColourStyle::Lineart:
        return toLineart(std::move(image));
    case ColourStyle::Colour:
        break;
    }
    return image;
}

/// Nothing when the details are not known.
Bytes exifOf(const PhotographOptions &options, int width, int height, double dpi,
             bool otherColours = false)
{
    if (options.details.taken == 0)
        return {};
    return exifPayload(options.details, width, height, dpi, otherColours);
}

/// On the coefficients.
Result<Bytes> change(ByteView picture, const jpeg::Structure &structure,
                     const jpeg::Transform &work, const PhotographOptions &options)
{
    const jpeg::Info &info = structure.info;
    const double dpi = effectiveDpi(info.width, info.height, 0);
    const bool across = work.turn.transpose;
    const Bytes exif = exifOf(options, across ? info.height : info.width,
                              across ? info.width : info.height, dpi, structure.hasProfile);
    return jpeg::transformed(picture, structure, work, dpi, exif);
}

void reportFocus(const Image &page)
{
    const Sharpness sharpness = sharpnessOf(page);
    if (!sharpness.isOutOfFocus())
        return;
    char text[96];
    std::snprintf(text, sizeof text,
                  "the photograph is out of focus: its writing is blurred by %.1f pixels",
                  sharpness.blur);
    logLine(text);
}

/// For a photograph whose pixels are not needed otherwise. Whether they can be had does not matter.
void reportFocus(ByteView frame)
{
    jpeg::DecodeOptions luma;
    luma.gray = true;
    if (const Result<Image> page = jpeg::decode(frame, luma))
        reportFocus(page.value());
}

Result<Bytes> remake(ByteView frame, const jpeg::Info &info, const PhotographOptions &options)
{
    // colour helps to find the sheet, so it goes last; without a search chroma is never decoded
    jpeg::DecodeOptions decoding;
    decoding.gray = options.colour != ColourStyle::Colour && options.crop == CropMode::Off;
    Result<Image> decoded = jpeg::decode(frame, decoding);
    if (!decoded)
        return decoded.error();
    Image image = applyOrientation(std::move(decoded).value(), info.orientation);
    HelperThread core;
    image = straightened(std::move(image), options.crop, core);
    if (options.reportFocus)
        reportFocus(image);
    if (options.rotation != Rotation::None)
        image = rotate(image, options.rotation);
    image = inColour(std::move(image), options.colour);
    if (options.clean)
        cleanPaper(image, core);
    image.setDpi(effectiveDpi(image.width(), image.height(), 0));
    jpeg::EncodeOptions encoding;
    encoding.quality = options.quality;
    encoding.subsampling = jpeg::keptSubsampling(
        info, Turn::ofOrientation(info.orientation).then(Turn::of(options.rotation)));
    const Bytes exif = exifOf(options, image.width(), image.height(), image.dpi());
    encoding.exif = exif;
    return jpeg::encode(image, encoding);
}

} // namespace

Result<ByteView> makePhotograph(ByteView frame, const PhotographOptions &options, Bytes &storage)
{
    const auto stored = [&](Result<Bytes> made) -> Result<ByteView> {
        if (!made)
            return made.error();
        storage = std::move(made).value();
        return ByteView(storage);
    };
    try {
        const Result<jpeg::Structure> structure = jpeg::readStructure(frame);
        if (!structure)
            return structure.error();
        const jpeg::Info &info = structure.value().info;
        if (!isSupportedSize(info.width, info.height))
            return Error{-EFBIG, "photograph too large"};
        const std::optional<jpeg::Transform> work = coefficientWork(structure.value(), options);
        const ByteView picture = frame.first(structure.value().end);
        const bool passes =
            work && changesNothing(*work) && jpeg::isWidelyReadable(structure.value());
        const bool transforms = !passes && work && jpeg::canTransform(structure.value(), *work);
        if (options.reportFocus && (passes || transforms))
            reportFocus(picture);
        if (passes) {
            if (jpeg::needsRepair(structure.value()))
                return stored(jpeg::repair(frame, structure.value(), 0));
            return picture;
        }
        if (transforms)
            return stored(change(picture, structure.value(), *work, options));
        return stored(remake(picture, info, options));
    } catch (...) {
        return errorInFlight(-EBADMSG);
    }
}

Result<Bytes> makePhotograph(ByteView frame, const PhotographOptions &options)
{
    Bytes storage;
    const Result<ByteView> made = makePhotograph(frame, options, storage);
    if (!made)
        return made.error();
    if (made.value().data == storage.data())
        return storage;
    return Bytes(made.value().begin(), made.value().end());
}

} // namespace korv
