#include "library/documents/pixel_coders.h"

#include "library/files/memory_sink.h"
#include "library/formats/packed_bits.h"
#include "library/formats/png_writer.h"
#include "library/formats/tiff/tiff_strip.h"

namespace korv {

namespace {

/// In CCITT G4 when that suits the picture, else by the other coder.
Result<CodedPixels> codeBits(const Image &image, const Resolution &resolution, PixelCoder other)
{
    Result<Bytes> group4 = encodeCcittG4(image);
    if (!group4)
        return group4.error();
    const std::size_t uncoded =
        packedStride(image.width()) * static_cast<std::size_t>(image.height());
    // the end of block alone is longer than a tiny picture
    constexpr std::size_t kSmall = 64;
    if (group4.value().size() > uncoded + kSmall) {
        Result<CodedPixels> coded = other(image, resolution);
        if (coded && coded.value().data.size() < group4.value().size())
            return coded;
    }
    return CodedPixels{std::move(group4).value(), PixelCoding::CcittG4};
}

bool isOneBit(const Image &image)
{
    return image.isBilevel() && image.format() == PixelFormat::Gray8;
}

Result<CodedPixels> deflated(const Image &image, const Resolution &)
{
    Result<Bytes> coded = encodeDeflate(image);
    if (!coded)
        return coded.error();
    return CodedPixels{std::move(coded).value(), PixelCoding::Deflate};
}

} // namespace

Result<CodedPixels> codePixelsAsPng(const Image &image, const Resolution &resolution)
{
    MemorySink png;
    if (Result<void> written = writePng(image, {resolution, nullptr}, png); !written)
        return written.error();
    return CodedPixels{png.take(), PixelCoding::Png};
}

Result<CodedPixels> codePixelsForPdf(const Image &image, const Resolution &resolution)
{
    return isOneBit(image) ? codeBits(image, resolution, codePixelsAsPng)
                           : codePixelsAsPng(image, resolution);
}

Result<CodedPixels> codePixelsForTiff(const Image &image, const Resolution &resolution)
{
    return isOneBit(image) ? codeBits(image, resolution, deflated) : deflated(image, resolution);
}

} // namespace korv
