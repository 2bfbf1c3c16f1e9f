#include "library/jpeg/bilevel_jpeg.h"

#include "library/jpeg/jpeg.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/library/support/temporary_folder.h"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>

using namespace korv;

namespace {

/// What a decoder that knows nothing of the mark makes of the file.
Image plainlyDecoded(const Bytes &jpeg)
{
    const testing_support::TemporaryFolder folder;
    pictures::writeBytes(folder / "a.jpg", jpeg);
    return pictures::fromPnm(runProgram({"djpeg", "-pnm", folder / "a.jpg"}).output);
}

double shareBetween(const Image &image)
{
    double between = 0;
    for (int y = 0; y < image.height(); ++y)
        between += static_cast<double>(
            std::count_if(image.row(y), image.row(y) + image.width(),
                          [](std::uint8_t level) { return level != 0 && level != 255; }));
    return between / image.width() / image.height();
}

/// Lines in all directions and single pixels: the worst that a block can hold.
Image busyPicture(int width, int height)
{
    Image image(width, height, PixelFormat::Gray8);
    std::uint32_t state = 5;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            state = state * 1664525U + 1013904223U;
            const bool line = (x + 2 * y) % 23 < 3 || (3 * x - y + 4096) % 31 < 2;
            const bool grain = x > width / 2 && (state >> 24) < 60;
            image.row(y)[x] = line || grain ? 0 : 255;
        }
    }
    image.setBilevel(true);
    return image;
}

} // namespace

TEST(BilevelJpeg, everyDecoderSeesBlackAndWhite)
{
    for (const Image &picture : {pictures::lineart(640, 480), busyPicture(500, 403)}) {
        const Image decoded = plainlyDecoded(jpeg::encodeBilevel(picture).value());
        ASSERT_EQ(decoded.width(), picture.width());
        EXPECT_LT(shareBetween(decoded), 0.002);
        EXPECT_LT(pictures::difference(decoded, picture), 0.1);
    }
}

TEST(BilevelJpeg, comesBackBitForBit)
{
    for (const auto &[width, height] : {std::pair{1, 1}, {7, 9}, {8, 8}, {333, 221}}) {
        const Image picture = busyPicture(width, height);
        const Image decoded = jpeg::decode(jpeg::encodeBilevel(picture).value()).value();
        EXPECT_TRUE(decoded.isBilevel());
        EXPECT_TRUE(pictures::same(decoded, picture)) << width << "x" << height;
    }
}

TEST(BilevelJpeg, takesHalfOfWhatAnOrdinaryEncoderTakes)
{
    Image picture = busyPicture(800, 600);
    const Bytes ours = jpeg::encodeBilevel(picture).value();
    picture.setBilevel(false);
    EXPECT_LT(ours.size(), pictures::jpegOf(picture, 95).size() / 2);
    EXPECT_LT(ours.size(), pictures::jpegOf(picture, 75).size());
}

TEST(BilevelJpeg, statesItsResolutionAndItsKind)
{
    Image picture = pictures::lineart(60, 40);
    picture.setResolution(300);
    const jpeg::Info info = jpeg::readInfo(jpeg::encodeBilevel(picture).value()).value();
    EXPECT_TRUE(info.bilevel);
    EXPECT_EQ(info.resolution, 300);
    EXPECT_EQ(info.components, 1);
    EXPECT_FALSE(info.progressive);
}
