// Every format that is written, read by two programs that are not ours, compared by pixels.
#include "library/export/convert.h"
#include "library/export/image_loader.h"
#include "library/image/colour.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <gtest/gtest.h>

using namespace korv;

namespace {

enum class Kind { Colour, Gray, Lineart, Halves };

constexpr int kWidth = 320;
constexpr int kHeight = 240;

Image original(Kind kind)
{
    switch (kind) {
    case Kind::Gray:
        return toGray(pictures::page(kWidth, kHeight));
    case Kind::Lineart:
        return pictures::lineart(kWidth, kHeight);
    case Kind::Colour:
    case Kind::Halves:
        break;
    }
    return pictures::page(kWidth, kHeight);
}

Bytes jpegOf(Kind kind)
{
    return kind == Kind::Halves ? pictures::jpegInHalves(original(kind))
                                : pictures::jpegOf(original(kind));
}

class ReadersTest : public testing::TestWithParam<std::tuple<const char *, Kind>>
{
protected:
    void SetUp() override
    {
        const auto [extension, kind] = GetParam();
        const std::string source = path("source");
        pictures::writeBytes(source, jpegOf(kind));
        m_expected = pictures::toRgb(loadImage(pictures::readBytes(source)).value());
        m_made = path(std::string("made.") + extension);
        const Result<void> converted = convertImage(source, m_made, 95);
        ASSERT_TRUE(converted) << converted.error().text;
    }
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }

    /// What a program made of the file, as RGB.
    void expectSame(const std::vector<std::string> &command, const std::string &output) const
    {
        const ProgramResult result = runProgram(command);
        ASSERT_EQ(result.status, 0) << result.errors;
        const std::string pnm = output.empty() ? result.output : support::readFile(output);
        EXPECT_LT(pictures::difference(pictures::toRgb(pictures::fromPnm(pnm)), m_expected), 1.5);
    }
    void expectMutoolSees(const std::string &file) const
    {
        const std::string out = path("mutool.ppm");
        expectSame({"mutool", "draw", "-q", "-A", "0", "-c", "rgb", "-w", std::to_string(kWidth),
                    "-h", std::to_string(kHeight), "-F", "ppm", "-o", out, file},
                   out);
    }
    void expectMagickSees(const std::string &file) const
    {
        expectSame(
            {"convert", file, "+set", "comment", "-depth", "8", "-type", "TrueColor", "ppm:-"}, "");
    }

    support::TempHome m_home;
    Image m_expected;
    std::string m_made;
};

using PictureReadersTest = ReadersTest;
using PdfReadersTest = ReadersTest;
using OfdReadersTest = ReadersTest;

const auto kKinds = testing::Values(Kind::Colour, Kind::Gray, Kind::Lineart, Kind::Halves);

INSTANTIATE_TEST_SUITE_P(Kinds, PictureReadersTest,
                         testing::Combine(testing::Values("jpg", "png", "bmp", "tiff"), kKinds));
INSTANTIATE_TEST_SUITE_P(Kinds, PdfReadersTest, testing::Combine(testing::Values("pdf"), kKinds));
INSTANTIATE_TEST_SUITE_P(Kinds, OfdReadersTest, testing::Combine(testing::Values("ofd"), kKinds));

} // namespace

TEST_P(PictureReadersTest, twoProgramsSeeTheSourcesPixels)
{
    expectMagickSees(m_made);
    expectMutoolSees(m_made);
}

TEST_P(PictureReadersTest, lineartTakesOneBitWhereTheFormatHasIt)
{
    const auto [extension, kind] = GetParam();
    const std::string format = extension;
    const int bits = kind == Kind::Lineart && format != "jpg" ? 1 : 8;
    if (format == "png") // IHDR's bit depth; ImageMagick tells what it made of it
        EXPECT_EQ(pictures::readBytes(m_made)[24], bits);
    else
        EXPECT_EQ(runProgram({"identify", "-format", "%z", m_made}).output, std::to_string(bits));
}

TEST_P(PdfReadersTest, twoProgramsSeeTheSourcesPixels)
{
    expectMutoolSees(m_made);
    // poppler lets a picture grow by up to one pixel of the rendering: the middles of larger ones
    constexpr int kScale = 5;
    const ProgramResult large =
        runProgram({"pdftoppm", "-scale-to-x", std::to_string(kWidth * kScale), "-scale-to-y",
                    std::to_string(kHeight * kScale), m_made});
    ASSERT_EQ(large.status, 0) << large.errors;
    const Image rendered = pictures::toRgb(pictures::fromPnm(large.output));
    ASSERT_EQ(rendered.width(), kWidth * kScale);
    ASSERT_EQ(rendered.height(), kHeight * kScale);
    Image middles(kWidth, kHeight, PixelFormat::Rgb24);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x)
            std::copy_n(rendered.row(y * kScale + kScale / 2) + 3 * (x * kScale + kScale / 2), 3,
                        middles.row(y) + 3 * x);
    }
    EXPECT_LT(pictures::difference(middles, m_expected), 1.5);
}

TEST_P(PdfReadersTest, lineartIsCcitt)
{
    const std::string list = runProgram({"pdfimages", "-list", m_made}).output;
    const bool lineart = std::get<Kind>(GetParam()) == Kind::Lineart;
    EXPECT_EQ(list.find("ccitt") != std::string::npos, lineart) << list;
    EXPECT_EQ(list.find("jpeg") != std::string::npos, !lineart) << list;
}

TEST_P(OfdReadersTest, pictureInThePackageIsTheSource)
{
    const bool lineart = std::get<Kind>(GetParam()) == Kind::Lineart;
    const std::string name = std::string("Doc_0/Res/image_0.") + (lineart ? "png" : "jpg");
    const ProgramResult picture = runProgram({"unzip", "-p", m_made, name});
    ASSERT_EQ(picture.status, 0) << picture.errors;
    const std::string file = path(lineart ? "picture.png" : "picture.jpg");
    pictures::writeBytes(file, {picture.output.data(), picture.output.size()});
    expectMagickSees(file);
    expectMutoolSees(file);
    if (lineart) {
        EXPECT_EQ(pictures::readBytes(file)[24], 1); // IHDR's bit depth
    }
}
