#include "library/documents/page_layers.h"
#include "library/documents/pdf/pdf_writer.h"
#include "library/files/memory_sink.h"
#include "library/formats/jbig2/jbig2_decoder.h"
#include "library/formats/jbig2/jbig2_encoder.h"
#include "library/formats/png_reader.h"
#include "library/formats/tiff/tiff_strip.h"
#include "library/image/colour.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/library/support/typed_page.h"
#include "tests/support/temp_home.h"

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <random>

using namespace korv;

namespace {

Image white(int width, int height)
{
    Image image(width, height, PixelFormat::Gray8);
    std::fill_n(image.pixels(), image.stride() * static_cast<std::size_t>(height), 255);
    image.setBilevel(true);
    return image;
}

void box(Image &image, int left, int top, int width, int height)
{
    for (int y = top; y < top + height; ++y)
        std::fill_n(image.row(y) + left, width, 0);
}

/// Black where `gray` is dark. `noise` of 100 pixels near the limit are wrong, as a camera's are.
Image inkOf(const Image &gray, int noise)
{
    std::mt19937 random(7);
    Image image = white(gray.width(), gray.height());
    for (int y = 0; y < gray.height(); ++y) {
        for (int x = 0; x < gray.width(); ++x) {
            const bool isNear = gray.row(y)[x] > 90 && gray.row(y)[x] < 165;
            const bool isWrong = isNear && static_cast<int>(random() % 100) < noise;
            image.row(y)[x] = (gray.row(y)[x] < 128) != isWrong ? 0 : 255;
        }
    }
    return image;
}

/// `noise` as above.
Image noisyType(int noise = 20)
{
    using namespace testing_support;
    return inkOf(blurred(typed(30), 1.2), noise);
}

/// Things of all sizes anywhere, over the borders of each other and of the picture.
Image scatter(int width, int height, unsigned seed)
{
    std::mt19937 random(seed);
    Image image = white(width, height);
    const auto below = [&](int end) {
        return static_cast<int>(random() % static_cast<unsigned>(end));
    };
    for (int i = 0; i < 60; ++i) {
        const int left = below(width);
        const int top = below(height);
        box(image, left, top, 1 + below(std::min(80, width - left)),
            1 + below(std::min(i % 4 == 0 ? 80 : 4, height - top)));
        image.row(below(height))[below(width)] = 0;
    }
    return image;
}

void expectBack(const Image &image, const char *what)
{
    const std::optional<Bytes> coded = encodeJbig2(image);
    ASSERT_TRUE(coded) << what;
    const Result<Image> back = decodeJbig2(*coded);
    ASSERT_TRUE(back) << what;
    EXPECT_TRUE(back.value().isBilevel());
    EXPECT_TRUE(pictures::same(back.value(), image)) << what;
}

/// A page of white paper with black ink where the mask is, at 72 dpi.
Bytes pdfOf(const Image &mask)
{
    const Bytes white = pictures::jpegOf(pictures::toRgb(::white(16, 16)));
    PageLayers layers;
    layers.paper = {white, 16, 16, false};
    layers.ink = {pictures::jpegOf(Image(16, 16, PixelFormat::Rgb24)), 16, 16, false};
    layers.mask = {encodeJbig2(mask).value(), MaskCoding::Jbig2};
    Page page;
    page.layers = &layers;
    page.width = mask.width();
    page.height = mask.height();
    page.resolution = 72;
    MemorySink sink;
    PdfWriter writer(sink, {});
    EXPECT_TRUE(writer.addPage(page));
    EXPECT_TRUE(writer.finish());
    return sink.bytes();
}

} // namespace

TEST(Jbig2, everyPixelComesBack)
{
    expectBack(noisyType(), "type");
    expectBack(inkOf(testing_support::typed(70), 0), "letters larger than 64 pixels");
    for (unsigned seed = 0; seed < 20; ++seed) {
        const int width = 300 + static_cast<int>(seed) * 7;
        expectBack(scatter(width, 900, seed), "scattered boxes");
    }
}

TEST(Jbig2, thingsAtTheBordersComeBack)
{
    Image image = white(200, 100);
    box(image, 0, 0, 5, 5);
    box(image, 195, 95, 5, 5);
    box(image, 195, 0, 5, 3);
    box(image, 0, 99, 9, 1);
    image.row(50)[0] = 0;
    image.row(50)[199] = 0;
    expectBack(image, "corners");
}

TEST(Jbig2, writingIsWellBelowGroup4)
{
    const Image page = noisyType(5);
    EXPECT_LT(encodeJbig2(page).value().size() * 3, encodeCcittG4(page).value().size() * 2);
}

TEST(Jbig2, readersShowTheSamePixels)
{
    const support::TempHome home;
    const std::string path = (home.scratch() / "a.pdf").string();
    const Image page = noisyType();
    pictures::writeBytes(path, pdfOf(page));
    const ProgramResult check = runProgram({"qpdf", "--check", path});
    EXPECT_EQ(check.status, 0) << check.output << check.errors;
    EXPECT_NE(runProgram({"pdfimages", "-list", path}).output.find("jbig2"), std::string::npos);
    // the mask as poppler decodes it: it shows what is painted as white
    ASSERT_EQ(runProgram({"pdfimages", "-png", path, (home.scratch() / "i").string()}).status, 0);
    const Result<Image> poppler =
        readPng(pictures::readBytes((home.scratch() / "i-002.png").string()));
    ASSERT_TRUE(poppler) << poppler.error().text;
    ASSERT_EQ(poppler.value().width(), page.width());
    EXPECT_EQ(pictures::difference(toGray(poppler.value()), page), 255);
    // the page as mupdf draws it: one pixel of the mask is one of the page's
    const ProgramResult drawn =
        runProgram({"mutool", "draw", "-q", "-r", "72", "-A", "0", "-F", "pgm", "-o", "-", path});
    ASSERT_EQ(drawn.status, 0) << drawn.errors;
    const Image mupdf = pictures::fromPnm(drawn.output);
    ASSERT_EQ(mupdf.width(), page.width());
    ASSERT_EQ(mupdf.height(), page.height());
    EXPECT_LT(pictures::difference(mupdf, page), 3); // the ink's JPEG and its colours
}

TEST(Jbig2, whatIsNoWritingIsLeftToGroup4)
{
    EXPECT_FALSE(encodeJbig2(white(300, 200))) << "blank";
    Image one = white(300, 200);
    box(one, 10, 10, 20, 20);
    EXPECT_FALSE(encodeJbig2(one)) << "a single thing";
    Image frame = white(300, 200);
    box(frame, 2, 2, 296, 2);
    box(frame, 2, 2, 2, 196);
    box(frame, 50, 50, 10, 10);
    EXPECT_FALSE(encodeJbig2(frame)) << "a box as large as the page";
    Image dots = white(600, 600);
    for (int y = 0; y < 600; y += 2) {
        for (int x = 0; x < 600; x += 2)
            dots.row(y)[x] = 0;
    }
    EXPECT_FALSE(encodeJbig2(dots)) << "a screen";
}

TEST(Jbig2, damagedDataIsRefusedOrAnotherPictureOfItsSize)
{
    const Image page = scatter(300, 400, 3);
    const Bytes whole = encodeJbig2(page).value();
    int refused = 0;
    const auto isDefined = [&](const Bytes &data) {
        const Result<Image> back = decodeJbig2(data);
        if (!back) {
            ++refused;
            EXPECT_EQ(back.code(), -EBADMSG);
        }
    };
    for (std::size_t size = 0; size < whole.size(); size += 1 + size / 64)
        isDefined({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
    EXPECT_GT(refused, 20) << "a part of the data passes for all";
    std::mt19937 random(11);
    for (int i = 0; i < 2000; ++i) {
        Bytes data = whole;
        for (unsigned changes = 1 + random() % 4; changes > 0; --changes)
            data[random() % data.size()] = static_cast<std::uint8_t>(random());
        isDefined(data);
    }
    isDefined({});
    isDefined(Bytes(5000, 0xFF));
}

TEST(Jbig2, dataOfHugePicturesIsRefused)
{
    Bytes data = encodeJbig2(scatter(300, 400, 3)).value();
    std::fill_n(data.begin() + 11, 8, std::uint8_t{0x7F}); // the page's size
    EXPECT_FALSE(decodeJbig2(data));
}
