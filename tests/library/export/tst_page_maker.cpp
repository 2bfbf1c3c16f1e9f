#include "library/export/page_maker.h"

#include "library/documents/pixel_coders.h"
#include "library/jpeg/jpeg_structure.h"
#include "tests/library/support/pictures.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <gtest/gtest.h>

using namespace korv;

namespace {

class PageMakerTest : public testing::Test
{
protected:
    std::string file(const Bytes &content) const
    {
        const std::string path = (m_home.scratch() / "source").string();
        pictures::writeBytes(path, content);
        return path;
    }

    support::TempHome m_home;
};

Bytes bytesOf(const Page &page)
{
    return Bytes(page.jpeg.begin(), page.jpeg.end());
}

} // namespace

TEST_F(PageMakerTest, jpegEntersAsItIs)
{
    const Bytes jpeg = pictures::jpegOf(pictures::page(160, 120), 99);
    PageMaker maker({95, true, codePixelsForPdf, {}, nullptr});
    const Result<Page> page = maker.fromFile(file(jpeg));
    ASSERT_TRUE(page);
    EXPECT_EQ(bytesOf(page.value()), jpeg);
}

TEST_F(PageMakerTest, jpegFinerThanTheQualityAskedForIsCodedAgain)
{
    const Bytes fine = pictures::jpegOf(pictures::page(160, 120), 95);
    const Bytes coarse = pictures::jpegOf(pictures::page(160, 120), 40);
    PageMaker maker({50, false, codePixelsForPdf, {}, nullptr});
    const Result<Page> smaller = maker.fromFile(file(fine));
    ASSERT_TRUE(smaller);
    EXPECT_LT(smaller.value().jpeg.size, fine.size());
    const Result<Page> kept = maker.fromFile(file(coarse));
    ASSERT_TRUE(kept);
    EXPECT_EQ(bytesOf(kept.value()), coarse);
}

TEST_F(PageMakerTest, videoFrameIsMended)
{
    const Bytes frame = pictures::videoFrame(pictures::page(160, 120));
    PageMaker maker({95, true, codePixelsForPdf, {}, nullptr});
    const Result<Page> page = maker.fromFile(file(frame));
    ASSERT_TRUE(page);
    EXPECT_TRUE(
        pictures::same(jpeg::decode(page.value().jpeg).value(), jpeg::decode(frame).value()));
    EXPECT_EQ(testing_support::jpegEnd(page.value().jpeg).value(), page.value().jpeg.size);
}

TEST_F(PageMakerTest, progressiveJpegIsKeptOnlyWhereTheContainerTakesIt)
{
    const std::string path = file(pictures::jpegOf(pictures::page(160, 120)));
    const ProgramResult made = runProgram({"jpegtran", "-progressive", path});
    ASSERT_EQ(made.status, 0);
    const std::string progressive = file(Bytes(made.output.begin(), made.output.end()));
    PageMaker any({95, false, codePixelsForPdf, {}, nullptr});
    EXPECT_TRUE(any.fromFile(progressive).value().info.progressive);
    PageMaker plain({95, true, codePixelsForPdf, {}, nullptr});
    EXPECT_FALSE(plain.fromFile(progressive).value().info.progressive);
}

TEST_F(PageMakerTest, photographOfTwoLevelsBecomesOneBit)
{
    const Image lineart = pictures::lineart(160, 120);
    PageMaker maker({95, false, codePixelsForPdf, {}, nullptr});
    const Result<Page> page = maker.fromFile(file(pictures::jpegOf(lineart)));
    ASSERT_TRUE(page);
    ASSERT_NE(page.value().pixels, nullptr);
    EXPECT_TRUE(pictures::same(*page.value().pixels, lineart));
    EXPECT_EQ(page.value().coding, PixelCoding::CcittG4);
    EXPECT_TRUE(page.value().jpeg.empty());
}

TEST_F(PageMakerTest, unreadableFilesAreErrors)
{
    PageMaker maker({95, false, codePixelsForPdf, {}, nullptr});
    EXPECT_EQ(maker.fromFile((m_home.scratch() / "none").string()).code(), -ENOENT);
    EXPECT_EQ(maker.fromFile(file(Bytes(100, 1))).code(), -EBADMSG);
    const Bytes jpeg = pictures::jpegOf(pictures::page(160, 120));
    EXPECT_EQ(maker.fromFile(file(Bytes(jpeg.begin(), jpeg.end() - 50))).code(), -EBADMSG);
}

namespace {

/// White paper with grain and one black bar.
Image barred(int width, int height)
{
    Image image(width, height, PixelFormat::Rgb24);
    std::uint32_t state = 1;
    for (int y = 0; y < height; ++y) {
        const bool isBar = y >= height / 4 && y < height / 4 + 20;
        for (std::size_t i = 0; i < image.stride(); ++i) {
            state = state * 1664525U + 1013904223U;
            const auto x = static_cast<int>(i / 3);
            const std::uint8_t level = isBar && x > 50 && x < width - 50 ? 30 : 224;
            image.row(y)[i] = static_cast<std::uint8_t>(level + (state >> 29));
        }
    }
    return image;
}

PageOptions compactOptions(int quality = 95)
{
    PageOptions options;
    options.quality = quality;
    options.codePixels = codePixelsForPdf;
    options.compact = true;
    return options;
}

} // namespace

TEST_F(PageMakerTest, pagesOfWritingBecomeLayersWhenAskedTo)
{
    const Image picture = barred(800, 600);
    const std::string path = file(pictures::jpegOf(picture));
    PageOptions options = compactOptions();
    options.compact = false;
    const Result<Page> plain = PageMaker(options).fromFile(path);
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain.value().layers, nullptr);
    for (const int quality : {95, 50, 100}) {
        PageMaker maker(compactOptions(quality));
        for (const bool fromFile : {true, false}) {
            const Result<Page> page = fromFile ? maker.fromFile(path) : maker.fromImage(picture);
            ASSERT_TRUE(page);
            ASSERT_NE(page.value().layers, nullptr) << quality << fromFile;
            EXPECT_EQ(page.value().width, 800);
            EXPECT_EQ(page.value().height, 600);
            EXPECT_FALSE(page.value().layers->mask.data.empty());
        }
    }
}

TEST_F(PageMakerTest, layersOfATurnedPageStandUpright)
{
    const Bytes jpeg = testing_support::sidewaysJpegOf(barred(800, 600));
    PageMaker maker(compactOptions());
    const Result<Page> page = maker.fromFile(file(jpeg));
    ASSERT_TRUE(page);
    ASSERT_NE(page.value().layers, nullptr);
    EXPECT_EQ(page.value().width, 600);
    EXPECT_EQ(page.value().height, 800);
    EXPECT_EQ(page.value().layers->paper.width, 150);
    EXPECT_EQ(page.value().layers->paper.height, 200);
}

TEST_F(PageMakerTest, layersThatAreNotClearlySmallerStayAway)
{
    // stripes without grain take next to nothing as a PNG
    Image striped(400, 400, PixelFormat::Gray8);
    for (int y = 0; y < 400; ++y)
        std::fill_n(striped.row(y), 400, static_cast<std::uint8_t>(y % 16 < 4 ? 30 : 224));
    PageMaker maker(compactOptions(100));
    const Result<Page> page = maker.fromImage(striped);
    ASSERT_TRUE(page);
    EXPECT_EQ(page.value().layers, nullptr);
    EXPECT_EQ(page.value().coding, PixelCoding::Png);
    EXPECT_FALSE(page.value().coded.empty());
}

TEST_F(PageMakerTest, bilevelPagesStayWhatTheyAre)
{
    PageMaker maker(compactOptions());
    const Image lineart = pictures::lineart(800, 600);
    const Result<Page> page = maker.fromImage(lineart);
    ASSERT_TRUE(page);
    EXPECT_EQ(page.value().layers, nullptr);
    EXPECT_EQ(page.value().coding, PixelCoding::CcittG4);
}
