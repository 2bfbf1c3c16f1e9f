// Pictures as other programs and cameras make them: transparent, run-length coded, turned by a tag.
#include "library/export/convert.h"
#include "library/export/image_loader.h"
#include "library/files/memory_sink.h"
#include "library/formats/bmp_writer.h"
#include "library/formats/png_writer.h"
#include "library/image/rotate.h"
#include "library/jpeg/rework/jpeg_repair.h"
#include "tests/fuzz/png_checksums.h"
#include "tests/library/support/guarded_buffer.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <array>
#include <cerrno>
#include <gtest/gtest.h>

using namespace korv;

namespace {

using Colour = std::array<int, 3>;

Colour pixel(const Image &image, int x, int y)
{
    const std::uint8_t *at = image.row(y) + x * image.channels();
    return image.channels() == 1 ? Colour{at[0], at[0], at[0]} : Colour{at[0], at[1], at[2]};
}

void append(Bytes &to, const Bytes &from)
{
    to.insert(to.end(), from.begin(), from.end());
}

/// A run-length coded bitmap of few colours: 0 black, 1 red, 2 green, 3 white.
Bytes runLengthBitmap(int bits, int width, int height, const Bytes &runs)
{
    const auto low = [](int number) { return static_cast<std::uint8_t>(number); };
    Bytes file = {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 70, 0, 0, 0};
    append(file,
           {40, 0, 0, 0, low(width), low(width >> 8), 0, 0, low(height), low(height >> 8), 0, 0});
    append(file, {1, 0, low(bits), 0, low(bits == 8 ? 1 : 2), 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    append(file, {0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 0, 0});
    append(file, {0, 0, 0, 0, 0, 0, 200, 0, 0, 200, 0, 0, 255, 255, 255, 0});
    append(file, runs);
    return file;
}

class UnusualSourceTest : public testing::Test
{
protected:
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }
    /// What ImageMagick makes of one of our pictures.
    Bytes converted(const Image &image, const std::vector<std::string> &options,
                    const std::string &to) const
    {
        MemorySink png;
        EXPECT_TRUE(writePng(image, {100}, png));
        pictures::writeBytes(path("from.png"), png.bytes());
        std::vector<std::string> command = {"convert", path("from.png")};
        command.insert(command.end(), options.begin(), options.end());
        command.push_back(to);
        const ProgramResult made = runProgram(command);
        EXPECT_EQ(made.status, 0) << made.errors;
        return pictures::readBytes(to.substr(to.find(':') + 1));
    }

    /// A TIFF that is so opaque everywhere. In an associated one the colours are multiplied by the
    /// opacity. ImageMagick 7 would multiply the opacity as well, hence it makes the other kind of
    /// colours that are multiplied already, and the tag is changed afterwards.
    Bytes transparentTiff(Image image, int percent, const std::string &kind,
                          std::vector<std::string> options) const
    {
        if (kind == "associated") {
            std::uint8_t *const end = image.row(0) + image.stride() * std::size_t(image.height());
            for (std::uint8_t *level = image.row(0); level < end; ++level)
                *level = static_cast<std::uint8_t>(*level * percent / 100);
        }
        options.insert(options.end(),
                       {"-alpha", "set", "-channel", "A", "-evaluate", "set",
                        std::to_string(percent) + "%", "+channel", "-define",
                        "tiff:alpha=unassociated"});
        const std::string file = path("a.tif");
        converted(image, options, file);
        if (kind == "associated") {
            const ProgramResult marked = runProgram({"tiffset", "-s", "338", "1", "1", file});
            EXPECT_EQ(marked.status, 0) << marked.errors;
        }
        return pictures::readBytes(file);
    }

    support::TempHome m_home;
};

/// Few colours, long runs and short ones.
Image drawing(int width, int height)
{
    Image image(width, height, PixelFormat::Rgb24);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int kind = x / 20 % 2 == 0 ? y / 5 % 3 : (x * 7 + y * 3) % 4;
            for (int i = 0; i < 3; ++i)
                image.row(y)[3 * x + i] = static_cast<std::uint8_t>(kind == i ? 200 : 30 * kind);
        }
    }
    return image;
}

} // namespace

// ---- run-length coded bitmaps ----

TEST_F(UnusualSourceTest, runLengthBitmapOfAnotherProgramComesBackExactly)
{
    for (const int width : {1, 37, 300}) {
        const Image image = drawing(width, 50);
        const Bytes file =
            converted(image, {"-type", "Palette", "-compress", "RLE"}, "bmp3:" + path("a.bmp"));
        ASSERT_EQ(file[30], 1) << "not run-length coded";
        const Result<Image> loaded = loadImage(file);
        ASSERT_TRUE(loaded) << loaded.error().text;
        EXPECT_EQ(pictures::difference(loaded.value(), image), 0) << width;
    }
}

TEST_F(UnusualSourceTest, everyKindOfRunIsUnderstood)
{
    // bottom row: three red, two as they are (green, white; padded), the end of the row; then one
    // right and one up, two green, the end
    const Bytes runs8 = {3, 1, 0, 3, 2, 3, 1, 0, 0, 0, 0, 2, 1, 1, 2, 2, 0, 1};
    const Bytes runs4 = {3, 0x11, 0, 3, 0x23, 0x10, 0, 0, 0, 2, 1, 1, 2, 0x22, 0, 1};
    for (const auto &[bits, runs] : {std::pair(8, runs8), std::pair(4, runs4)}) {
        const Result<Image> loaded = loadImage(runLengthBitmap(bits, 6, 3, runs));
        ASSERT_TRUE(loaded) << loaded.error().text;
        const Image &image = loaded.value();
        EXPECT_EQ(pixel(image, 0, 2), (Colour{200, 0, 0}));
        EXPECT_EQ(pixel(image, 2, 2), (Colour{200, 0, 0}));
        EXPECT_EQ(pixel(image, 3, 2), (Colour{0, 200, 0}));
        EXPECT_EQ(pixel(image, 4, 2), (Colour{255, 255, 255}));
        EXPECT_EQ(pixel(image, 5, 2), (Colour{200, 0, 0}));
        EXPECT_EQ(pixel(image, 0, 1), (Colour{0, 0, 0}));
        EXPECT_EQ(pixel(image, 0, 0), (Colour{0, 0, 0}));
        EXPECT_EQ(pixel(image, 1, 0), (Colour{0, 200, 0}));
        EXPECT_EQ(pixel(image, 2, 0), (Colour{0, 200, 0}));
        EXPECT_EQ(pixel(image, 3, 0), (Colour{0, 0, 0}));
    }
}

TEST_F(UnusualSourceTest, runsThatLeaveThePictureAreErrors)
{
    for (const Bytes &runs :
         {Bytes{0, 0, 0, 0, 0, 0, 0, 3, 1, 1, 1, 0, 0, 1}, Bytes{0, 2, 7, 0, 0, 1},
          Bytes{0, 2, 0, 9, 1, 1, 0, 1}, Bytes{0, 0, 0, 0, 0, 0, 1, 1, 0, 1}})
        EXPECT_EQ(loadImage(runLengthBitmap(8, 6, 3, runs)).code(), -EBADMSG) << int{runs[0]};
    // some programs code the padding of a row
    for (const Bytes &runs :
         {Bytes{8, 2, 0, 0, 1, 1, 0, 1}, Bytes{0, 7, 2, 2, 2, 2, 2, 2, 2, 0, 0, 0, 1, 1, 0, 1}}) {
        const Result<Image> cut = loadImage(runLengthBitmap(8, 6, 3, runs));
        ASSERT_TRUE(cut);
        EXPECT_EQ(pixel(cut.value(), 5, 2), (Colour{0, 200, 0}));
        EXPECT_EQ(pixel(cut.value(), 0, 1), (Colour{200, 0, 0}));
        EXPECT_EQ(pixel(cut.value(), 1, 1), (Colour{0, 0, 0}));
    }
    // colours that are not in the palette are black, as other readers have it
    const Result<Image> image = loadImage(runLengthBitmap(8, 6, 3, {6, 200, 0, 1}));
    ASSERT_TRUE(image);
    EXPECT_EQ(pixel(image.value(), 3, 2), (Colour{0, 0, 0}));
}

TEST_F(UnusualSourceTest, runLengthBitmapCutOffIsAnError)
{
    const Bytes whole = runLengthBitmap(8, 6, 3, {6, 1, 0, 0, 6, 2, 0, 0, 0, 6, 1, 1, 1, 1, 1, 1});
    EXPECT_TRUE(loadImage(whole)); // the mark of the end may be missing when all is there
    for (std::size_t size = 54; size + 1 < whole.size(); ++size) {
        const GuardedBuffer cut(ByteView(whole).first(size));
        EXPECT_EQ(loadImage(cut.view()).code(), -EBADMSG) << size;
    }
}

TEST_F(UnusualSourceTest, runLengthBitmapOfNothingButSizeIsRefused)
{
    EXPECT_EQ(loadImage(runLengthBitmap(8, 20'000, 19'000, {0, 1})).code(), -EBADMSG);
    EXPECT_EQ(loadImage(runLengthBitmap(4, 20'000, 19'000, {0, 1})).code(), -EBADMSG);
}

// ---- transparency ----

TEST_F(UnusualSourceTest, transparencyOfATiffIsOnWhiteAsThatOfAPng)
{
    Image image(4, 4, PixelFormat::Rgb24);
    for (int i = 0; i < 16; ++i) {
        image.pixels()[3 * i] = 200;
        image.pixels()[3 * i + 1] = 40;
    }
    for (const int percent : {50, 0}) {
        const Colour expected = percent == 0 ? Colour{255, 255, 255} : Colour{227, 147, 127};
        for (const std::string kind : {"associated", "unassociated"}) {
            for (const std::string depth : {"8", "16"}) {
                const Result<Image> loaded = loadImage(transparentTiff(
                    image, percent, kind, {"-type", "TrueColorAlpha", "-depth", depth}));
                ASSERT_TRUE(loaded) << loaded.error().text;
                for (std::size_t i = 0; i < 3; ++i)
                    EXPECT_NEAR(pixel(loaded.value(), 1, 1)[i], expected[i], 2) << kind << depth;
            }
        }
        // with a gamma libpng mixes in linear light
        const Result<Image> png = loadImage(converted(
            image,
            {"-alpha", "set", "-channel", "A", "-evaluate", "set", std::to_string(percent) + "%",
             "+channel", "-define", "png:exclude-chunks=gAMA"},
            "png32:" + path("a.png")));
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(pixel(png.value(), 1, 1)[i], expected[i], 2);
    }
}

TEST_F(UnusualSourceTest, transparencyOfAGrayTiffIsOnWhite)
{
    Image gray(4, 4, PixelFormat::Gray8);
    std::fill_n(gray.pixels(), 16, std::uint8_t{100});
    for (const std::string kind : {"associated", "unassociated"}) {
        const Result<Image> loaded =
            loadImage(transparentTiff(gray, 50, kind, {"-type", "GrayscaleAlpha", "-depth", "8"}));
        ASSERT_TRUE(loaded) << loaded.error().text;
        EXPECT_NEAR(pixel(loaded.value(), 1, 1)[0], 177, 2) << kind;
    }
}

// ---- orientation ----

TEST_F(UnusualSourceTest, orientationOfAPngIsApplied)
{
    const Image image = pictures::numbered(40, 30, PixelFormat::Rgb24);
    MemorySink sink;
    ASSERT_TRUE(writePng(image, {100}, sink));
    const Bytes exif = {0,    0, 0, 26, 'e', 'X', 'I', 'f', 'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 1,
                        0x12, 0, 3, 0,  0,   0,   1,   0,   6,   0,   0, 0,  0, 0, 0, 1, 2, 3, 4};
    Bytes png = sink.take();
    const Bytes plain = png;
    png.insert(png.begin() + 33, exif.begin(), exif.end());
    const Result<Image> damaged = loadImage(png); // the checksum is wrong: no reader believes it
    ASSERT_TRUE(damaged) << damaged.error().text;
    EXPECT_TRUE(pictures::same(damaged.value(), image));
    png = fuzz::withRightChecksums(png);
    const Result<Image> turned = loadImage(png);
    ASSERT_TRUE(turned) << turned.error().text;
    EXPECT_TRUE(pictures::same(turned.value(), applyOrientation(image, 6)));
    // it may also stand behind the picture's data
    Bytes behind = plain;
    behind.insert(behind.end() - 12, exif.begin(), exif.end());
    const Result<Image> late = loadImage(fuzz::withRightChecksums(behind));
    ASSERT_TRUE(late);
    EXPECT_EQ(late.value().width(), 30);
}

TEST_F(UnusualSourceTest, pngOrientationInAChunkCutOffIsNotReadPastItsEnd)
{
    Bytes png;
    MemorySink sink;
    ASSERT_TRUE(writePng(pictures::numbered(8, 8, PixelFormat::Gray8), {100}, sink));
    png = sink.take();
    const Bytes head = {0x7F, 0xFF, 0xFF, 0xFF, 'e', 'X', 'I', 'f', 'M', 'M', 0, 42};
    png.insert(png.begin() + 33, head.begin(), head.end());
    for (std::size_t size = 33; size < png.size(); ++size) {
        const GuardedBuffer cut(ByteView(png).first(size));
        EXPECT_EQ(loadImage(cut.view()).code(), -EBADMSG);
    }
}

// ---- pictures of several in one JPEG ----

namespace {

Bytes withIndex(Bytes jpeg)
{
    const Bytes index = {0xFF, 0xE2, 0, 16, 'M', 'P', 'F', 0, 'I', 'I', 42, 0, 8, 0, 0, 0, 0, 0};
    jpeg.insert(jpeg.begin() + 20, index.begin(), index.end());
    return jpeg;
}

bool contains(const Bytes &bytes, const std::string &text)
{
    return std::search(bytes.begin(), bytes.end(), text.begin(), text.end()) != bytes.end();
}

} // namespace

TEST_F(UnusualSourceTest, indexOfSecondPicturesGoesWithThem)
{
    const Bytes single = pictures::jpegOf(pictures::page(64, 48));
    Bytes both = withIndex(withIndex(single));
    append(both, single);
    pictures::writeBytes(path("both.jpg"), both);
    ASSERT_TRUE(convertImage(path("both.jpg"), path("a.jpg"), 95));
    EXPECT_EQ(pictures::readBytes(path("a.jpg")), single);
    ASSERT_TRUE(convertImage(path("both.jpg"), path("a.pdf"), 95));
    EXPECT_FALSE(contains(pictures::readBytes(path("a.pdf")), "MPF"));
    ASSERT_TRUE(convertImage(path("both.jpg"), path("a.tif"), 95));
    EXPECT_FALSE(contains(pictures::readBytes(path("a.tif")), "MPF"));
}
