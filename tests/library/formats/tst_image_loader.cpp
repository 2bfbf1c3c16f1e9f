#include "library/export/image_loader.h"

#include "library/files/memory_sink.h"
#include "library/formats/bmp_writer.h"
#include "library/formats/png_writer.h"
#include "tests/library/support/guarded_buffer.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <gtest/gtest.h>

using namespace korv;

namespace {

Bytes pngOf(const Image &image, double dpi = 100)
{
    MemorySink sink;
    EXPECT_TRUE(writePng(image, {dpi}, sink));
    return sink.take();
}

Bytes bmpOf(const Image &image, double dpi = 100)
{
    MemorySink sink;
    EXPECT_TRUE(writeBmp(image, {dpi}, sink));
    return sink.take();
}

Bytes withOrientation(Bytes jpeg, int orientation)
{
    const Bytes exif = {0xFF,
                        0xE1,
                        0,
                        34,
                        'E',
                        'x',
                        'i',
                        'f',
                        0,
                        0,
                        'I',
                        'I',
                        42,
                        0,
                        8,
                        0,
                        0,
                        0,
                        1,
                        0,
                        0x12,
                        1,
                        3,
                        0,
                        1,
                        0,
                        0,
                        0,
                        static_cast<std::uint8_t>(orientation),
                        0,
                        0,
                        0,
                        0,
                        0,
                        0,
                        0};
    jpeg.insert(jpeg.begin() + 20, exif.begin(), exif.end());
    return jpeg;
}

/// The picture in a TIFF that libtiff's own tool made from one of ours.
Bytes tiffOf(const Image &image, const std::vector<std::string> &options)
{
    const support::TempHome home;
    const std::string ppm = (home.scratch() / "a.pnm").string();
    const std::string plain = (home.scratch() / "plain.tif").string();
    const std::string tiff = (home.scratch() / "a.tif").string();
    const bool gray = image.format() == PixelFormat::Gray8;
    std::string pnm = std::string(gray ? "P5 " : "P6 ") + std::to_string(image.width()) + " "
        + std::to_string(image.height()) + " 255\n";
    pnm.append(reinterpret_cast<const char *>(image.pixels()),
               image.stride() * static_cast<std::size_t>(image.height()));
    pictures::writeBytes(ppm, ByteView(pnm.data(), pnm.size()));
    EXPECT_EQ(runProgram({"ppm2tiff", ppm, plain}).status, 0);
    std::vector<std::string> command = {"tiffcp"};
    command.insert(command.end(), options.begin(), options.end());
    command.insert(command.end(), {plain, tiff});
    const ProgramResult made = runProgram(command);
    EXPECT_EQ(made.status, 0) << made.errors;
    return pictures::readBytes(tiff);
}

} // namespace

TEST(ImageLoader, formatIsRecognisedByContent)
{
    EXPECT_EQ(recogniseFormat(pictures::jpegOf(pictures::page(8, 8))), SourceFormat::Jpeg);
    EXPECT_EQ(recogniseFormat(pngOf(pictures::page(8, 8))), SourceFormat::Png);
    EXPECT_EQ(recogniseFormat(bmpOf(pictures::page(8, 8))), SourceFormat::Bmp);
    EXPECT_EQ(recogniseFormat(Bytes{'I', 'I', 42, 0}), SourceFormat::Tiff);
    EXPECT_EQ(recogniseFormat(Bytes{'M', 'M', 0, 43}), SourceFormat::Tiff);
    for (const Bytes &other : {Bytes{}, Bytes{'%', 'P', 'D', 'F'}, Bytes{0xFF}, Bytes(100, 0)}) {
        EXPECT_EQ(recogniseFormat(other), SourceFormat::Unknown);
        EXPECT_EQ(loadImage(other).code(), -EBADMSG);
        EXPECT_EQ(checkImage(other).code(), -EBADMSG);
    }
}

TEST(ImageLoader, pngAndBmpComeBackExactly)
{
    for (const int width : {1, 7, 8, 33, 250}) {
        for (Image image :
             {pictures::numbered(width, 19, PixelFormat::Rgb24),
              pictures::numbered(width, 19, PixelFormat::Gray8), pictures::lineart(width, 19)}) {
            image.setResolution(150);
            for (const Bytes &file : {pngOf(image, 150), bmpOf(image, 150)}) {
                ASSERT_TRUE(checkImage(file));
                const Result<Image> loaded = loadImage(file);
                ASSERT_TRUE(loaded) << loaded.error().text;
                EXPECT_TRUE(pictures::same(loaded.value(), image));
                EXPECT_EQ(loaded.value().isBilevel(), image.isBilevel());
                EXPECT_NEAR(loaded.value().resolution().x, 150, 0.1);
            }
        }
    }
}

TEST(ImageLoader, orientationOfAJpegIsApplied)
{
    const Bytes jpeg = pictures::jpegOf(pictures::page(48, 32));
    const Bytes turned = withOrientation(jpeg, 6);
    ASSERT_TRUE(checkImage(turned));
    const Result<Image> loaded = loadImage(turned);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded.value().width(), 32);
    EXPECT_EQ(loaded.value().height(), 48);
    const Image plain = loadImage(jpeg).value();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(loaded.value().row(0)[3 * 31 + i], plain.row(0)[i]);
}

TEST(ImageLoader, tiffsOfOtherProgramsComeBackExactly)
{
    const Image colour = pictures::numbered(101, 67, PixelFormat::Rgb24);
    const Image gray = pictures::numbered(101, 67, PixelFormat::Gray8);
    for (const std::vector<std::string> &options : {std::vector<std::string>{"-c", "none"},
                                                    {"-c", "lzw", "-r", "10"},
                                                    {"-c", "zip", "-p", "separate"},
                                                    {"-c", "packbits", "-B"},
                                                    {"-t", "-w", "32", "-l", "16", "-c", "zip"},
                                                    {"-8", "-c", "lzw"}}) {
        for (const Image &image : {colour, gray}) {
            const Bytes file = tiffOf(image, options);
            ASSERT_TRUE(checkImage(file));
            const Result<Image> loaded = loadImage(file);
            ASSERT_TRUE(loaded) << options[1] << loaded.error().text;
            EXPECT_TRUE(pictures::same(loaded.value(), image)) << options[1];
        }
    }
}

TEST(ImageLoader, otherBitmapsAreRead)
{
    // 32 bits, top row first, two pixels: red above blue
    Bytes file = bmpOf(pictures::page(1, 2));
    file.resize(54);
    file[22] = 0xFE;
    file[23] = file[24] = file[25] = 0xFF;
    file[28] = 32;
    const Bytes pixels = {0, 0, 200, 9, 210, 0, 0, 9};
    file.insert(file.end(), pixels.begin(), pixels.end());
    const Result<Image> loaded = loadImage(file);
    ASSERT_TRUE(loaded) << loaded.error().text;
    EXPECT_EQ(loaded.value().row(0)[0], 200);
    EXPECT_EQ(loaded.value().row(1)[2], 210);

    file[30] = 1; // run-length coding
    EXPECT_EQ(loadImage(file).code(), -EBADMSG);
}

TEST(ImageLoader, headersThatPromiseTooMuchAreRefused)
{
    Bytes png = pngOf(pictures::page(16, 16));
    png[16] = 0x7F;
    EXPECT_EQ(loadImage(png).code(), -EFBIG);
    EXPECT_EQ(checkImage(png).code(), -EFBIG);

    Bytes bmp = bmpOf(pictures::page(16, 16));
    bmp[20] = 0x7F;
    EXPECT_EQ(loadImage(bmp).code(), -EFBIG);
    bmp[20] = 0;
    bmp[19] = 0x10;
    EXPECT_EQ(loadImage(bmp).code(), -EBADMSG);
    bmp[25] = 0x80; // the most negative height has no positive counterpart in 32 bits
    bmp[22] = bmp[23] = bmp[24] = 0;
    EXPECT_EQ(loadImage(bmp).code(), -EFBIG);
}

TEST(ImageLoader, filesCutOffAreErrors)
{
    const Image image = pictures::page(60, 40);
    for (const Bytes &file : {pngOf(image), bmpOf(image), pictures::jpegOf(image),
                              tiffOf(image, {"-c", "lzw"}), tiffOf(image, {"-c", "none"})}) {
        for (std::size_t size = 0; size + 20 < file.size(); size += 1 + file.size() / 60) {
            const GuardedBuffer cut(ByteView(file).first(size));
            const int code = loadImage(cut.view()).code();
            EXPECT_TRUE(code == -EBADMSG || code == -EFBIG) << size << ' ' << code;
            checkImage(cut.view()).code();
        }
    }
}
