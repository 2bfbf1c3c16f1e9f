#pragma once

#include "library/export/image_loader.h"
#include "library/formats/tiff/tiff_pages.h"
#include "library/jpeg/jpeg.h"
#include "tests/fuzz/check.h"
#include "tests/fuzz/feedback.h"

#include <algorithm>
#include <cerrno>

namespace fuzz {

/// The library takes pictures of 400 megapixels; ones that large would only make each run longer.
inline constexpr std::int64_t kMaxFuzzedPixels = 4'000'000;

inline bool isLoaderError(int code)
{
    return code == -EBADMSG || code == -EFBIG || code == -ENOMEM;
}

/// 0 when it is not known, or nothing that is loaded.
inline std::int64_t statedPixels(korv::ByteView content)
{
    if (const korv::Result<korv::PictureSize> size = korv::pictureSize(content))
        return korv::isSupportedSize(size.value().width, size.value().height)
            ? size.value().width * size.value().height
            : 0;
    // a JPEG is loaded even when its end is garbled
    const korv::Result<korv::jpeg::Info> info = korv::jpeg::readInfo(content);
    return info ? std::int64_t{info.value().width} * info.value().height : 0;
}

/// What must hold for a picture that was read from the content.
inline void checkLoaded(const korv::Image &image, const korv::PictureSize &stated)
{
    FUZZ_CHECK(korv::isSupportedSize(image.width(), image.height()));
    const bool asStored = image.width() == stated.width && image.height() == stated.height;
    const bool turned = image.width() == stated.height && image.height() == stated.width;
    FUZZ_CHECK(asStored || turned);
    FUZZ_CHECK(image.stride()
               == static_cast<std::size_t>(image.width())
                   * (image.format() == korv::PixelFormat::Gray8 ? 1 : 3));
    FUZZ_CHECK(image.resolution().x >= 0 && image.resolution().x < 1e9);
    FUZZ_CHECK(!image.isBilevel() || image.format() == korv::PixelFormat::Gray8);
    const std::size_t count = image.stride() * static_cast<std::size_t>(image.height());
    if (image.isBilevel()) {
        FUZZ_CHECK(std::all_of(image.pixels(), image.pixels() + count,
                               [](std::uint8_t pixel) { return pixel == 0 || pixel == 255; }));
    }
    // every row is there: the sanitizer watches
    unsigned sum = 0;
    for (int y = 0; y < image.height(); ++y)
        sum += image.row(y)[0] + image.row(y)[image.stride() - 1];
    FUZZ_CHECK(sum <= 510U * static_cast<unsigned>(image.height()));
}

/// Everything that asks what the content is, and the loading itself.
inline void checkLoader(korv::ByteView content)
{
    const korv::SourceFormat format = korv::recogniseFormat(content);
    const korv::Result<korv::PictureSize> size = korv::pictureSize(content);
    const korv::Result<void> checked = korv::checkImage(content);
    FUZZ_CHECK(size || size.code() == -EBADMSG);
    FUZZ_CHECK(checked || isLoaderError(checked.code()));
    // of a TIFF any page will do
    FUZZ_CHECK(!checked || size || format == korv::SourceFormat::Tiff);
    FUZZ_CHECK(format != korv::SourceFormat::Unknown || (!size && !checked));
    if (statedPixels(content) > kMaxFuzzedPixels)
        return;
    const korv::Result<korv::Image> loaded = korv::loadImage(content);
    if (!loaded) {
        FUZZ_CHECK(isLoaderError(loaded.code()));
        noteOutcome(loaded.error().text);
        return;
    }
    // a JPEG whose end is garbled may still show all of its pixels
    FUZZ_CHECK(checked || format == korv::SourceFormat::Jpeg);
    if (size)
        checkLoaded(loaded.value(), size.value());
}

/// The list of a TIFF's pages, and each of the first few.
inline void checkPages(korv::ByteView content)
{
    constexpr std::size_t kMaxLoaded = 8;
    const korv::TiffPages pages = korv::tiffPages(content);
    // none is listed twice
    FUZZ_CHECK(pages.directories.size() <= content.size);
    for (std::size_t i = 0; i < std::min(pages.directories.size(), kMaxLoaded); ++i) {
        const std::uint64_t directory = pages.directories[i];
        FUZZ_CHECK(directory > 0 && directory < content.size);
        const korv::Result<korv::PictureSize> size = korv::pictureSize(content, directory);
        FUZZ_CHECK(size || size.code() == -EBADMSG);
        if (!size || !korv::isSupportedSize(size.value().width, size.value().height)
            || size.value().width * size.value().height > kMaxFuzzedPixels)
            continue;
        const korv::Result<korv::Image> loaded = korv::loadImage(content, directory);
        FUZZ_CHECK(loaded || isLoaderError(loaded.code()));
        if (loaded)
            checkLoaded(loaded.value(), size.value());
    }
}

} // namespace fuzz
