#include "library/settling/frame_measure.h"

#include "tests/library/support/pictures.h"

#include <gtest/gtest.h>

using korv::Bytes;
using korv::Image;
using korv::measureFrame;
using testing_support::jpegOf;
using testing_support::plainImage;

namespace {

/// Upright lines that go from dark to light over `blur` pixels.
Image lines(int blur)
{
    Image image(320, 240, korv::PixelFormat::Gray8);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int phase = x % 32;
            const int rise = std::min(phase, 32 - phase) * 160 / std::max(blur, 1);
            image.row(y)[x] = static_cast<std::uint8_t>(40 + std::min(rise, 160));
        }
    }
    return image;
}

} // namespace

TEST(FrameMeasure, brightnessIsTheMeanOfTheLuma)
{
    const auto measure = measureFrame(jpegOf(plainImage(320, 240, {100, 100, 100})));
    ASSERT_TRUE(measure);
    EXPECT_NEAR(measure->brightness, 100, 1);
    EXPECT_NEAR(measure->sharpness, 0, 0.1);
}

TEST(FrameMeasure, blurTakesSharpnessAway)
{
    const auto sharp = measureFrame(jpegOf(lines(2)));
    const auto soft = measureFrame(jpegOf(lines(12)));
    ASSERT_TRUE(sharp && soft);
    EXPECT_GT(sharp->sharpness, 3 * soft->sharpness);
}

TEST(FrameMeasure, bytesBehindThePictureDoNotCount)
{
    Bytes padded = jpegOf(lines(2));
    const auto alone = measureFrame(padded);
    padded.resize(3 * 320 * 240);
    const auto measure = measureFrame(padded);
    ASSERT_TRUE(alone && measure);
    EXPECT_EQ(measure->sharpness, alone->sharpness);
}

TEST(FrameMeasure, whatIsNoPictureHasNone)
{
    EXPECT_FALSE(measureFrame({}));
    EXPECT_FALSE(measureFrame(Bytes(1000, 0)));
    Bytes cut = jpegOf(lines(2));
    cut.resize(cut.size() / 2);
    EXPECT_FALSE(measureFrame(cut));
}

TEST(FrameMeasure, smallestPictureHasOneToo)
{
    EXPECT_TRUE(measureFrame(jpegOf(plainImage(1, 1, {9, 9, 9}))));
}
