#include "library/device/simulated/frame_composer.h"

#include "tests/library/support/pictures.h"

#include <gtest/gtest.h>

#include <tuple>

using korv::FrameComposer;
using korv::PreparedPage;

namespace {

std::shared_ptr<const PreparedPage> pageOf(const korv::Image &picture)
{
    auto page = PreparedPage::make(picture);
    EXPECT_TRUE(page);
    return std::make_shared<PreparedPage>(std::move(page).value());
}

korv::Bytes frameOf(FrameComposer &composer, const std::shared_ptr<const PreparedPage> &page,
                    std::int64_t number)
{
    const auto frame = composer.compose(page, number);
    EXPECT_TRUE(frame);
    return {frame.value().begin(), frame.value().end()};
}

class FrameSizes : public testing::TestWithParam<std::tuple<int, int>>
{
};

} // namespace

TEST_P(FrameSizes, frameIsACompletePictureOfThatSizeAndSmallerThanItsPixels)
{
    const auto [width, height] = GetParam();
    FrameComposer composer;
    const korv::Bytes frame =
        frameOf(composer, pageOf(testing_support::wavyImage(width, height)), 7);
    EXPECT_LT(frame.size(), static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
    EXPECT_EQ(testing_support::jpegEnd(frame).value(), frame.size());
    const auto decoded = korv::jpeg::decode(frame);
    ASSERT_TRUE(decoded) << decoded.error().text;
    EXPECT_EQ(decoded.value().width(), width);
    EXPECT_EQ(decoded.value().height(), height);
}

INSTANTIATE_TEST_SUITE_P(sizes, FrameSizes,
                         testing::Values(std::tuple(640, 480), std::tuple(1280, 720),
                                         std::tuple(1920, 1080), std::tuple(2592, 1944),
                                         std::tuple(801, 603), std::tuple(40, 30)));

TEST(frameComposer, everyFrameDiffersFromTheOneBefore)
{
    FrameComposer composer;
    const auto page = pageOf(testing_support::plainImage(640, 480, {90, 90, 90}));
    korv::Bytes before = frameOf(composer, page, 0);
    for (std::int64_t number = 1; number < 400; ++number) {
        korv::Bytes frame = frameOf(composer, page, number);
        ASSERT_NE(frame, before) << number;
        before = std::move(frame);
    }
}

TEST(frameComposer, onlyTheLowerEdgeChanges)
{
    FrameComposer composer;
    const korv::Image picture = testing_support::wavyImage(640, 480);
    const auto page = pageOf(picture);
    const auto first = korv::jpeg::decode(frameOf(composer, page, 3));
    const auto second = korv::jpeg::decode(frameOf(composer, page, 40));
    ASSERT_TRUE(first && second);
    constexpr int kUnchanged = 440;
    const auto count = static_cast<std::ptrdiff_t>(picture.stride()) * kUnchanged;
    EXPECT_TRUE(std::equal(first.value().pixels(), first.value().pixels() + count,
                           second.value().pixels()));
}

TEST(frameComposer, sameNumberMakesTheSameFrame)
{
    FrameComposer composer;
    const auto page = pageOf(testing_support::wavyImage(320, 240));
    const korv::Bytes frame = frameOf(composer, page, 5);
    frameOf(composer, page, 6);
    EXPECT_EQ(frameOf(composer, page, 5), frame);
}

TEST(frameComposer, nextPageReplacesTheWholePicture)
{
    FrameComposer composer;
    const auto red = pageOf(testing_support::plainImage(320, 240, {200, 30, 30}));
    const auto green = pageOf(testing_support::plainImage(320, 240, {30, 160, 30}));
    frameOf(composer, red, 0);
    const auto decoded = korv::jpeg::decode(frameOf(composer, green, 1));
    ASSERT_TRUE(decoded);
    EXPECT_TRUE(testing_support::isNear(testing_support::colourAt(decoded.value(), 160, 20),
                                        {30, 160, 30}));
    EXPECT_TRUE(testing_support::isNear(testing_support::colourAt(decoded.value(), 300, 236),
                                        {30, 160, 30}));
}
