// JPEG frames as the preview decodes them, reduced. Bytes behind the picture choose the size.
#include "app/preview/previewdecoder.h"
#include "tests/fuzz/check.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int kMaxFuzzedPixels = 1 << 20; ///< larger pictures only make each run longer

/// The largest size that anything like a frame header states.
qint64 statedPixels(const std::uint8_t *bytes, int size)
{
    qint64 most = 0;
    for (int i = 0; i + 8 < size; ++i) {
        const bool frame = bytes[i] == 0xFF && bytes[i + 1] >= 0xC0 && bytes[i + 1] <= 0xCF;
        if (frame)
            most = std::max(most,
                            qint64{bytes[i + 5] << 8 | bytes[i + 6]}
                                * (bytes[i + 7] << 8 | bytes[i + 8]));
    }
    return most;
}

QSize expectedSize(QSize full, QSize least)
{
    QSize size = full;
    for (const int denominator : {2, 4, 8}) {
        const QSize reduced((full.width() + denominator - 1) / denominator,
                            (full.height() + denominator - 1) / denominator);
        if (reduced.width() < least.width() || reduced.height() < least.height())
            break;
        size = reduced;
    }
    return size;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t length)
{
    const int size = static_cast<int>(length);
    if (size < 4 || statedPixels(bytes, size) > kMaxFuzzedPixels)
        return 0;
    const QSize least(bytes[size - 1] * 4, bytes[size - 2] * 4);
    QImage full;
    const bool valid = full.loadFromData(bytes, size, "JPG");
    if (qint64{full.width()} * full.height() > kMaxFuzzedPixels)
        return 0;
    QImage image;
    FUZZ_CHECK(previewdecoder::decode(bytes, size, least, image) == valid);
    if (!valid)
        return 0;
    FUZZ_CHECK(image.size() == expectedSize(full.size(), least));
    return 0;
}
