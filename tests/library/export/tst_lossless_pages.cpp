// Pages that keep every pixel, and pages of dots that fax coding would blow up.
#include "library/export/convert.h"
#include "library/files/memory_sink.h"
#include "library/formats/packed_bits.h"
#include "library/formats/png_writer.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <filesystem>
#include <gmock/gmock.h>

using namespace korv;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

namespace {

Image dots(int width, int height)
{
    Image image(width, height, PixelFormat::Gray8);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.row(y)[x] = (x + y) % 2 == 0 ? 0 : 255;
    }
    image.setBilevel(true);
    return image;
}

class LosslessPagesTest : public testing::Test
{
protected:
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }
    std::string convert(const Image &image, const std::string &name, int quality)
    {
        MemorySink png;
        EXPECT_TRUE(writePng(image, {100}, png));
        pictures::writeBytes(path("source.png"), png.bytes());
        const Result<void> converted = convertImage(path("source.png"), path(name), quality);
        EXPECT_TRUE(converted) << converted.error().text;
        return path(name);
    }
    static Image read(const std::vector<std::string> &command)
    {
        const ProgramResult result = runProgram(command);
        EXPECT_EQ(result.status, 0) << result.errors;
        return pictures::toRgb(pictures::fromPnm(result.output));
    }
    /// The picture in a PDF, taken out by poppler.
    Image pictureIn(const std::string &pdf) const
    {
        EXPECT_EQ(runProgram({"qpdf", "--check", pdf}).status, 0);
        EXPECT_EQ(runProgram({"pdfimages", "-png", pdf, path("out")}).status, 0);
        return read({"convert", path("out-000.png"), "-depth", "8", "-type", "TrueColor", "ppm:-"});
    }

    support::TempHome m_home;
};

} // namespace

TEST_F(LosslessPagesTest, pngKeepsItsPixelsInPdfAtTheHighestQuality)
{
    for (const Image &image : {pictures::numbered(123, 77, PixelFormat::Rgb24),
                               pictures::numbered(123, 77, PixelFormat::Gray8)}) {
        const std::string pdf = convert(image, "a.pdf", 100);
        EXPECT_TRUE(pictures::same(pictureIn(pdf), pictures::toRgb(image)));
        EXPECT_THAT(runProgram({"pdfimages", "-list", pdf}).output, Not(HasSubstr("jpeg")));
        ASSERT_EQ(runProgram({"mutool", "draw", "-q", "-A", "0", "-w", "123", "-h", "77", "-c",
                              "rgb", "-o", path("a.ppm"), pdf})
                      .status,
                  0);
        const Image drawn = pictures::toRgb(pictures::fromPnm(support::readFile(path("a.ppm"))));
        EXPECT_LT(pictures::difference(drawn, pictures::toRgb(image)), 1);
        fs::remove(pdf);
    }
    EXPECT_THAT(
        runProgram({"pdfimages", "-list", convert(pictures::page(123, 77), "b.pdf", 95)}).output,
        HasSubstr("jpeg"));
}

TEST_F(LosslessPagesTest, pngKeepsItsPixelsInTiffAndOfdAtTheHighestQuality)
{
    for (const Image &image : {pictures::numbered(123, 77, PixelFormat::Rgb24),
                               pictures::numbered(123, 77, PixelFormat::Gray8)}) {
        const std::string tiff = convert(image, "a.tif", 100);
        EXPECT_TRUE(
            pictures::same(read({"convert", tiff, "-depth", "8", "-type", "TrueColor", "ppm:-"}),
                           pictures::toRgb(image)));
        EXPECT_THAT(runProgram({"tiffinfo", tiff}).output, HasSubstr("AdobeDeflate"));
        const std::string ofd = convert(image, "a.ofd", 100);
        const ProgramResult png = runProgram({"unzip", "-p", ofd, "Doc_0/Res/image_0.png"});
        pictures::writeBytes(path("in.png"), {png.output.data(), png.output.size()});
        EXPECT_TRUE(pictures::same(
            read({"convert", path("in.png"), "-depth", "8", "-type", "TrueColor", "ppm:-"}),
            pictures::toRgb(image)));
        fs::remove(tiff);
        fs::remove(ofd);
    }
}

TEST_F(LosslessPagesTest, pageOfDotsIsNoLargerThanItsBits)
{
    const Image image = dots(800, 600);
    const std::uintmax_t bits = packedStride(800) * 600;
    const std::string pdf = convert(image, "dots.pdf", 95);
    EXPECT_LT(fs::file_size(pdf), bits);
    EXPECT_TRUE(pictures::same(pictureIn(pdf), pictures::toRgb(image)));
    const std::string tiff = convert(image, "dots.tif", 95);
    EXPECT_LT(fs::file_size(tiff), bits);
    EXPECT_TRUE(
        pictures::same(read({"convert", tiff, "-depth", "8", "-type", "TrueColor", "ppm:-"}),
                       pictures::toRgb(image)));
    EXPECT_THAT(runProgram({"tiffinfo", tiff}).output, HasSubstr("Bits/Sample: 1"));
}

TEST_F(LosslessPagesTest, pageOfLinesStaysInFaxCoding)
{
    const Image image = pictures::lineart(800, 600);
    for (const int quality : {95, 100}) {
        const std::string pdf = convert(image, std::to_string(quality) + ".pdf", quality);
        EXPECT_THAT(runProgram({"pdfimages", "-list", pdf}).output, HasSubstr("ccitt"));
    }
}
