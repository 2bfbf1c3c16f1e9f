#include "cli/turns/smallpicture.h"

#include "tests/library/support/pictures.h"
#include "tests/library/support/sample_pictures.h"

#include <gtest/gtest.h>

namespace {

using cli::decodeSmall;
using cli::sharpnessOf;
using cli::SmallColourPicture;
using cli::SmallPicture;

int middleOf(const SmallPicture &picture)
{
    return picture.row(picture.height / 2)[picture.width / 2];
}

TEST(SmallPicture, isTheLargestReductionThatLeavesTheColumnsAskedFor)
{
    const korv::Bytes jpeg = pictures::jpegOf(testing_support::wavyImage(1281, 963));
    SmallPicture picture;
    for (const auto &[columns, width, height] :
         {std::tuple{100, 161, 121}, std::tuple{160, 161, 121}, std::tuple{161, 321, 241},
          std::tuple{640, 641, 482}, std::tuple{641, 1281, 963}, std::tuple{5000, 1281, 963}}) {
        ASSERT_TRUE(decodeSmall(jpeg.data(), jpeg.size(), columns, picture)) << columns;
        EXPECT_EQ(picture.width, width) << columns;
        EXPECT_EQ(picture.height, height) << columns;
        EXPECT_EQ(picture.gray.size(), static_cast<std::size_t>(width * height));
    }
}

TEST(SmallPicture, showsBrightnessAndColours)
{
    const korv::Bytes jpeg = pictures::jpegOf(testing_support::plainImage(640, 480, {200, 90, 40}));
    SmallPicture gray;
    SmallColourPicture colours;
    ASSERT_TRUE(decodeSmall(jpeg.data(), jpeg.size(), 80, gray));
    ASSERT_TRUE(decodeSmall(jpeg.data(), jpeg.size(), 80, colours));
    EXPECT_NEAR(middleOf(gray), 0.299 * 200 + 0.587 * 90 + 0.114 * 40, 3);
    const std::uint8_t *const pixel = colours.pixel(40, 30);
    EXPECT_NEAR(pixel[0], 200, 4);
    EXPECT_NEAR(pixel[1], 90, 4);
    EXPECT_NEAR(pixel[2], 40, 4);
}

TEST(SmallPicture, framesWithoutTablesAreRead)
{
    const korv::Bytes frame =
        pictures::videoFrame(testing_support::plainImage(640, 480, {90, 90, 90}));
    SmallPicture picture;
    ASSERT_TRUE(decodeSmall(frame.data(), frame.size(), 80, picture));
    EXPECT_NEAR(middleOf(picture), 90, 3);
}

TEST(SmallPicture, whatIsNoPictureIsRefusedAndNothingBreaks)
{
    SmallPicture picture;
    SmallColourPicture colours;
    EXPECT_FALSE(decodeSmall(nullptr, 0, 80, picture));
    const korv::Bytes text{'n', 'o', ' ', 'p', 'i', 'c', 't', 'u', 'r', 'e'};
    EXPECT_FALSE(decodeSmall(text.data(), text.size(), 80, picture));
    const korv::Bytes whole = pictures::jpegOf(testing_support::wavyImage(320, 240));
    for (std::size_t size = 0; size < whole.size(); size += 97) {
        // an allocation of its own, so that a sanitizer sees what reads beyond it
        const korv::Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        static_cast<void>(decodeSmall(part.data(), part.size(), 80, picture));
        static_cast<void>(decodeSmall(part.data(), part.size(), 80, colours));
    }
    ASSERT_TRUE(decodeSmall(whole.data(), whole.size(), 80, picture));
}

TEST(SmallPicture, sharpnessSeesBlurAndNotTheLight)
{
    SmallPicture sharp{64, 64, std::vector<std::uint8_t>(64 * 64)};
    SmallPicture blurred = sharp;
    SmallPicture darker = sharp;
    for (std::size_t at = 0; at < sharp.gray.size(); ++at) {
        const bool ink = at % 8 < 4;
        sharp.gray[at] = ink ? 60 : 220;
        darker.gray[at] = ink ? 42 : 154;
        blurred.gray[at] = at % 8 == 0 || at % 8 == 4 ? 140 : sharp.gray[at];
    }
    EXPECT_LT(sharpnessOf(blurred), 0.8 * sharpnessOf(sharp));
    EXPECT_NEAR(sharpnessOf(darker) / sharpnessOf(sharp), 1, 0.2);
    EXPECT_EQ(sharpnessOf({}), 0);
}

} // namespace
