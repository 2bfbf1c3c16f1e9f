// Bilevel pictures in JBIG2, as they lie in a pdf of ours.
#include "library/formats/jbig2/jbig2_decoder.h"
#include "library/formats/jbig2/jbig2_encoder.h"
#include "library/values/byte_order.h"
#include "tests/fuzz/check.h"

#include <algorithm>
#include <cerrno>

namespace {

constexpr std::size_t kPageSizeAt = 11; ///< behind the head of the first segment
constexpr std::uint64_t kMaxPixels = 1'000'000; ///< more would only make each run longer

bool isLarge(korv::ByteView content)
{
    if (content.size < kPageSizeAt + 8)
        return false;
    const std::uint64_t width = korv::bigendian::u32(content.data + kPageSizeAt);
    const std::uint64_t height = korv::bigendian::u32(content.data + kPageSizeAt + 4);
    return width * height > kMaxPixels;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const korv::ByteView content(bytes, size);
    if (isLarge(content))
        return 0;
    const korv::Result<korv::Image> picture = korv::decodeJbig2(content);
    if (!picture) {
        FUZZ_CHECK(picture.code() == -EBADMSG);
        return 0;
    }
    const korv::Image &image = picture.value();
    FUZZ_CHECK(image.isBilevel());
    const std::size_t pixels = image.stride() * static_cast<std::size_t>(image.height());
    FUZZ_CHECK(std::all_of(image.pixels(), image.pixels() + pixels,
                           [](std::uint8_t pixel) { return pixel == 0 || pixel == 255; }));
    const std::optional<korv::Bytes> coded = korv::encodeJbig2(image);
    if (!coded)
        return 0;
    const korv::Result<korv::Image> back = korv::decodeJbig2(*coded);
    FUZZ_CHECK(back && back.value().width() == image.width()
               && back.value().height() == image.height()
               && std::equal(image.pixels(), image.pixels() + pixels, back.value().pixels()));
    return 0;
}
