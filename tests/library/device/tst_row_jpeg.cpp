#include "library/device/simulated/row_jpeg.h"

#include "tests/library/support/pictures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

using korv::RowJpeg;

namespace {

korv::Image lowerPart(const korv::Image &image, int top)
{
    korv::Image part(image.width(), image.height() - top, image.format());
    std::memcpy(part.pixels(), image.row(top),
                image.stride() * static_cast<std::size_t>(part.height()));
    return part;
}

class RowJpegSizes : public testing::TestWithParam<std::tuple<int, int>>
{
};

} // namespace

TEST_P(RowJpegSizes, continuedWithItsOwnLowerRowsIsTheSameFile)
{
    const auto [width, height] = GetParam();
    const korv::Image image = testing_support::wavyImage(width, height);
    const auto whole = RowJpeg::encode(image, 90);
    ASSERT_TRUE(whole);
    const std::size_t rows = whole.value().rowCount();
    ASSERT_EQ(rows, static_cast<std::size_t>((height + 15) / 16));
    const std::size_t from = rows / 2;
    const auto lower =
        RowJpeg::encode(lowerPart(image, static_cast<int>(from) * RowJpeg::kRowHeight), 90);
    ASSERT_TRUE(lower);

    korv::Bytes all;
    whole.value().appendRows(all, 0);
    const korv::ByteView head = whole.value().before(0);
    all.insert(all.begin(), head.begin(), head.end());

    const korv::ByteView upper = whole.value().before(from);
    korv::Bytes spliced(upper.begin(), upper.end());
    lower.value().appendRows(spliced, from);
    EXPECT_EQ(spliced, all);
}

TEST_P(RowJpegSizes, decodesToThePicture)
{
    const auto [width, height] = GetParam();
    const korv::Image image = testing_support::wavyImage(width, height);
    const auto encoded = RowJpeg::encode(image, 95);
    ASSERT_TRUE(encoded);
    const korv::ByteView head = encoded.value().before(0);
    korv::Bytes file(head.begin(), head.end());
    encoded.value().appendRows(file, 0);
    EXPECT_EQ(testing_support::jpegEnd(file).value(), file.size());
    const auto decoded = korv::jpeg::decode(file);
    ASSERT_TRUE(decoded) << decoded.error().text;
    ASSERT_EQ(decoded.value().width(), width);
    ASSERT_EQ(decoded.value().height(), height);
    for (int y = 0; y < height; y += 7) {
        for (int x = 0; x < width; x += 5)
            ASSERT_TRUE(testing_support::isNear(testing_support::colourAt(decoded.value(), x, y),
                                                testing_support::colourAt(image, x, y), 24))
                << x << "," << y;
    }
}

// more than eight rows, so that the restart numbers wrap; sizes that are no multiple of sixteen
INSTANTIATE_TEST_SUITE_P(sizes, RowJpegSizes,
                         testing::Values(std::tuple(320, 240), std::tuple(333, 167),
                                         std::tuple(17, 300), std::tuple(16, 16),
                                         std::tuple(640, 200)));
