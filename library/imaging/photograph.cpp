#include "library/imaging/photograph.h"

#include "library/imaging/colour.h"
#include "library/imaging/crop.h"
#include "library/imaging/jpeg.h"
#include "library/imaging/jpeg_mend.h"
#include "library/imaging/lineart.h"
#include "library/imaging/resolution.h"

#include <cerrno>
#include <exception>
#include <new>
#include <optional>

namespace korv {

namespace {

constexpr int kUnchangedQuality = 95; ///< from here on the camera's own bytes are good enough

bool changesNothing(const PhotographOptions &options, const jpeg::Structure &structure)
{
    const bool colourStays = options.colour == ColourStyle::Colour
        || (options.colour == ColourStyle::Gray && structure.info.components == 1);
    return options.crop == CropMode::Off && options.rotation == Rotation::None && colourStays
        && jpeg::isWidelyReadable(structure)
        && (options.quality >= kUnchangedQuality || jpeg::isAsCoarseAs(structure, options.quality));
}

Bytes unchanged(ByteView frame, std::size_t end)
{
    return Bytes(frame.begin(), frame.begin() + end);
}

Image straightened(Image image, CropMode crop)
{
    if (crop == CropMode::Off)
        return image;
    const std::optional<Quadrilateral> sheet = findSheet(image);
    return sheet ? cutSheet(image, *sheet) : image;
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

Result<Bytes> remake(ByteView frame, const jpeg::Info &info, const PhotographOptions &options)
{
    // colour helps to find the sheet, so it goes last; without a search chroma is never decoded
    jpeg::DecodeOptions decoding;
    decoding.gray = options.colour != ColourStyle::Colour && options.crop == CropMode::Off;
    Result<Image> decoded = jpeg::decode(frame, decoding);
    if (!decoded)
        return decoded.error();
    Image image = applyOrientation(std::move(decoded).value(), info.orientation);
    image = straightened(std::move(image), options.crop);
    if (options.rotation != Rotation::None)
        image = rotate(image, options.rotation);
    image = inColour(std::move(image), options.colour);
    image.setDpi(effectiveDpi(image.width(), image.height(), image.dpi()));
    jpeg::EncodeOptions encoding;
    encoding.quality = options.quality;
    encoding.subsampling = jpeg::subsamplingOf(info);
    return jpeg::encode(image, encoding);
}

} // namespace

Result<Bytes> makePhotograph(ByteView frame, const PhotographOptions &options)
{
    try {
        const Result<jpeg::Structure> structure = jpeg::readStructure(frame);
        if (!structure)
            return structure.error();
        const jpeg::Info &info = structure.value().info;
        if (!isReasonableSize(info.width, info.height))
            return Error{-EFBIG, "photograph too large"};
        if (changesNothing(options, structure.value())) {
            if (jpeg::needsMending(structure.value()))
                return jpeg::mend(frame, structure.value(), info.dpi);
            return unchanged(frame, structure.value().end);
        }
        return remake(frame.first(structure.value().end), info, options);
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "no memory for the photograph"};
    } catch (const std::exception &failure) {
        return Error{-EBADMSG, std::string("photograph: ") + failure.what()};
    }
}

} // namespace korv
