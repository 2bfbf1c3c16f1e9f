#include "library/video/planar_jpeg.h"

#include "library/jpeg/jpeg.h"
#include "tests/library/support/guarded_buffer.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>

using namespace korv;

namespace {

struct Yuv
{
    std::uint8_t luma, blue, red;
};

/// The colour bars of ITU-R BT.601 at 75 %, and what they are in RGB.
const std::array<Yuv, 4> kBars{{{180, 128, 128}, {65, 100, 212}, {112, 72, 58}, {35, 212, 114}}};
const std::array<std::array<int, 3>, 4> kRgb{
    {{191, 191, 191}, {191, 0, 0}, {0, 191, 0}, {0, 0, 191}}};

Yuv barAt(int x, int width)
{
    return kBars[static_cast<std::size_t>(x * 4 / width)];
}

/// A picture of four upright bars, in `layout`, with `padding` bytes behind each row.
Bytes bars(VideoLayout layout, int width, int height, std::size_t padding)
{
    const std::size_t stride = leastStride(layout, width) + padding;
    VideoPicture shape{{}, layout, width, height, stride, false};
    Bytes bytes(videoPictureSize(shape), 0);
    const auto at = [&](std::size_t base, int row, std::size_t line) {
        return base + static_cast<std::size_t>(row) * line;
    };
    const std::size_t planes = stride * static_cast<std::size_t>(height);
    const std::size_t redPlane = planes + stride / 2 * static_cast<std::size_t>((height + 1) / 2);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto column = static_cast<std::size_t>(x);
            const Yuv bar = barAt(x, width);
            if (layout == VideoLayout::Yuyv || layout == VideoLayout::Uyvy) {
                const std::size_t luma = layout == VideoLayout::Yuyv ? 0 : 1;
                std::uint8_t *pixel = &bytes[at(0, y, stride) + column * 2];
                pixel[luma] = bar.luma;
                pixel[1 - luma] = x % 2 == 0 ? bar.blue : bar.red;
                if (x == width - 1 && x % 2 == 0)
                    pixel[3 - luma] = bar.red;
            } else {
                bytes[at(0, y, stride) + column] = bar.luma;
            }
            if (layout == VideoLayout::Nv12) {
                bytes[at(planes, y / 2, stride) + column / 2 * 2] = bar.blue;
                bytes[at(planes, y / 2, stride) + column / 2 * 2 + 1] = bar.red;
            } else if (layout == VideoLayout::Yu12) {
                bytes[at(planes, y / 2, stride / 2) + column / 2] = bar.blue;
                bytes[at(redPlane, y / 2, stride / 2) + column / 2] = bar.red;
            }
        }
    }
    return bytes;
}

bool isNear(const Image &image, int x, int y, const std::array<int, 3> &rgb)
{
    const std::uint8_t *pixel = image.row(y) + x * image.channels();
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const int value = image.channels() == 1 ? pixel[0] : pixel[channel];
        if (std::abs(value - rgb[channel]) > 4)
            return false;
    }
    return true;
}

class PlanarJpeg : public testing::TestWithParam<VideoLayout>
{
};

} // namespace

TEST_P(PlanarJpeg, coloursSurviveWhateverTheSizeAndPadding)
{
    PlanarJpegEncoder encoder(95);
    for (const auto &[width, height, padding] :
         {std::array<int, 3>{64, 48, 0}, {64, 48, 32}, {70, 50, 0}, {66, 34, 6}, {36, 2, 0}}) {
        const Bytes bytes = bars(GetParam(), width, height, static_cast<std::size_t>(padding));
        const GuardedBuffer guarded{ByteView(bytes)};
        const std::size_t stride =
            leastStride(GetParam(), width) + static_cast<std::size_t>(padding);
        const auto jpeg =
            encoder.encode({guarded.view(), GetParam(), width, height, stride, false});
        ASSERT_TRUE(jpeg);
        const auto image = jpeg::decode(jpeg.value());
        ASSERT_TRUE(image) << width << "x" << height;
        ASSERT_EQ(image.value().width(), width);
        ASSERT_EQ(image.value().height(), height);
        for (int bar = 0; bar < 4; ++bar)
            EXPECT_TRUE(isNear(image.value(), (2 * bar + 1) * width / 8, height / 2,
                               kRgb[static_cast<std::size_t>(bar)]))
                << width << "x" << height << " bar " << bar;
    }
}

TEST_P(PlanarJpeg, bytesShortOfAPictureAreRefused)
{
    PlanarJpegEncoder encoder(95);
    const Bytes bytes = bars(GetParam(), 64, 48, 0);
    const std::size_t stride = leastStride(GetParam(), 64);
    const GuardedBuffer cut(ByteView(bytes).first(bytes.size() - 1));
    EXPECT_EQ(encoder.encode({cut.view(), GetParam(), 64, 48, stride, false}).code(), -EBADMSG);
    EXPECT_EQ(encoder.encode({bytes, GetParam(), 64, 48, stride - 1, false}).code(), -EINVAL);
    EXPECT_EQ(encoder.encode({bytes, GetParam(), 0, 48, stride, false}).code(), -EINVAL);
    EXPECT_EQ(encoder.encode({bytes, GetParam(), 64, -1, stride, false}).code(), -EINVAL);
    EXPECT_TRUE(encoder.encode({bytes, GetParam(), 64, 48, stride, false}));
}

INSTANTIATE_TEST_SUITE_P(Layouts, PlanarJpeg,
                         testing::Values(VideoLayout::Yuyv, VideoLayout::Uyvy, VideoLayout::Nv12,
                                         VideoLayout::Yu12));

TEST(PlanarJpegGray, bothRangesBecomeJpegs)
{
    PlanarJpegEncoder encoder(95);
    for (const bool fullRange : {false, true}) {
        for (const int level : {16, 100, 235}) {
            const Bytes bytes(50 * 30, static_cast<std::uint8_t>(level));
            const auto jpeg = encoder.encode({bytes, VideoLayout::Gray, 50, 30, 50, fullRange});
            ASSERT_TRUE(jpeg);
            const auto image = jpeg::decode(jpeg.value());
            ASSERT_TRUE(image);
            EXPECT_EQ(image.value().channels(), 1);
            const int wanted = fullRange ? level : (level - 16) * 255 / 219;
            EXPECT_NEAR(image.value().row(29)[49], wanted, 2);
        }
    }
}

TEST(PlanarJpegRgb, pixelsKeepTheirColour)
{
    PlanarJpegEncoder encoder(95);
    Bytes bytes;
    for (int i = 0; i < 33 * 21; ++i)
        bytes.insert(bytes.end(), {200, 60, 30});
    const auto jpeg = encoder.encode({bytes, VideoLayout::Rgb24, 33, 21, 99, false});
    ASSERT_TRUE(jpeg);
    const auto image = jpeg::decode(jpeg.value());
    ASSERT_TRUE(image);
    EXPECT_TRUE(isNear(image.value(), 32, 20, {200, 60, 30}));
}
