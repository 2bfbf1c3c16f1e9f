#include "library/photograph/photograph.h"

#include "library/base/exception_error.h"
#include "library/base/log.h"
#include "library/base/step_times.h"
#include "library/clean/clean_paper.h"
#include "library/crop/crop.h"
#include "library/image/colour.h"
#include "library/image/resolution.h"
#include "library/jpeg/jpeg.h"
#include "library/jpeg/rework/jpeg_reuse.h"
#include "library/lineart/lineart.h"
#include "library/photograph/photograph_resolution.h"
#include "library/photograph/sharpness.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <utility>

namespace korv {

namespace {

/// Below this many dots an inch, fine type needs edges between the pixels; twice as many do.
constexpr double kFineLineartDpi = 250;

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
    transform.quality = jpeg::neededQuality(structure, options.quality);
    return transform;
}

/// Cuts the sheet out; whether there was one.
Motif straighten(Image &image, CropMode crop, HelperThread &core, StepTimes &times)
{
    if (crop == CropMode::Off)
        return Motif::Desk;
    const std::optional<Quadrilateral> sheet = findSheet(image, core);
    times.ended("find the sheet");
    if (!sheet)
        return Motif::Desk;
    image = cutSheet(image, *sheet, core);
    times.ended("cut it out");
    return Motif::Sheet;
}

/// How many times as wide and high a photograph becomes.
int enlargementOf(const Image &image, ColourStyle style, const Resolution &resolution)
{
    const bool coarse = std::min(resolution.x, resolution.y) < kFineLineartDpi;
    const bool enlarged = style == ColourStyle::Lineart && coarse
        && isSupportedSize(2 * image.width(), 2 * image.height());
    return enlarged ? 2 : 1;
}

Image inColour(Image image, ColourStyle style, int enlargement)
{
    switch (style) {
    case ColourStyle::Gray:
        return toGray(std::move(image));
    case ColourStyle::Lineart:
        return toLineart(std::move(image), enlargement);
    case ColourStyle::Colour:
        break;
    }
    return image;
}

/// Nothing when the details are not known.
Bytes exifOf(const PhotographOptions &options, int width, int height, const Resolution &resolution,
             bool otherColours = false)
{
    if (options.details.taken == 0)
        return {};
    return exifPayload(options.details, width, height, resolution, otherColours);
}

/// On the coefficients.
Result<Bytes> change(ByteView picture, const jpeg::Structure &structure,
                     const jpeg::Transform &work, const PhotographOptions &options)
{
    const jpeg::Info &info = structure.info;
    const bool across = work.turn.transpose;
    const int width = across ? info.height : info.width;
    const int height = across ? info.width : info.height;
    const Resolution resolution = photographResolution(width, height, Motif::Desk, options.scale);
    const Bytes exif = exifOf(options, width, height, resolution, structure.hasProfile);
    return jpeg::transformed(picture, structure, work, resolution, exif);
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
    logLine(LogLevel::Warning, text);
}

/// For a photograph whose pixels are not needed otherwise. Whether they can be had does not matter.
void reportFocus(ByteView frame)
{
    jpeg::DecodeOptions luma;
    luma.gray = true;
    if (const Result<Image> page = jpeg::decode(frame, luma))
        reportFocus(page.value());
}

Result<Bytes> remake(ByteView frame, const jpeg::Info &info, const PhotographOptions &options,
                     StepTimes &times)
{
    // colour helps to find the sheet, so it goes last; without a search chroma is never decoded
    jpeg::DecodeOptions decoding;
    decoding.gray = options.colour != ColourStyle::Colour && options.crop == CropMode::Off;
    Result<Image> decoded = jpeg::decode(frame, decoding);
    if (!decoded)
        return decoded.error();
    Image image = applyOrientation(std::move(decoded).value(), info.orientation);
    times.ended("decode");
    HelperThread core;
    const Motif motif = straighten(image, options.crop, core, times);
    if (options.reportFocus) {
        reportFocus(image);
        times.ended("check the focus");
    }
    image = rotate(std::move(image), options.rotation);
    const int enlargement =
        enlargementOf(image, options.colour,
                      photographResolution(image.width(), image.height(), motif, options.scale));
    image = inColour(std::move(image), options.colour, enlargement);
    times.ended("rotate and colour");
    if (options.clean) {
        cleanPaper(image, core);
        times.ended("clean");
    }
    image.setResolution(
        photographResolution(image.width(), image.height(), motif, enlargement * options.scale));
    jpeg::EncodeOptions encoding;
    encoding.quality = options.quality;
    encoding.subsampling = jpeg::keptSubsampling(
        info, Turn::ofOrientation(info.orientation).then(Turn::of(options.rotation)));
    const Bytes exif = exifOf(options, image.width(), image.height(), image.resolution());
    encoding.exif = exif;
    Result<Bytes> encoded = jpeg::encode(image, encoding);
    times.ended("encode");
    return encoded;
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
        StepTimes times("photograph");
        const Result<jpeg::Structure> structure = jpeg::readStructure(frame);
        times.ended("read the markers");
        if (!structure)
            return structure.error();
        const jpeg::Info &info = structure.value().info;
        if (!isSupportedSize(info.width, info.height))
            return Error{-EFBIG, "photograph too large"};
        const std::optional<jpeg::Transform> work = coefficientWork(structure.value(), options);
        const ByteView picture = frame.first(structure.value().end);
        const bool statesScale =
            options.scale > 0 && work && jpeg::canTransform(structure.value(), *work);
        const bool stays = work && !statesScale && jpeg::canStay(structure.value(), *work);
        const bool transforms = !stays && work && jpeg::canTransform(structure.value(), *work);
        if (options.reportFocus && (stays || transforms)) {
            reportFocus(picture);
            times.ended("check the focus");
        }
        if (stays) {
            Result<ByteView> kept = jpeg::asItIs(frame, structure.value(), storage);
            times.ended("repair");
            return kept;
        }
        if (transforms) {
            Result<Bytes> changed = change(picture, structure.value(), *work, options);
            times.ended("change the coefficients");
            return stored(std::move(changed));
        }
        return stored(remake(picture, info, options, times));
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
