#include "library/image/colour_profile.h"

#include "library/documents/pdf/srgb_profile.h"
#include "library/export/convert.h"
#include "library/export/image_loader.h"
#include "library/export/pending_document.h"
#include "library/files/memory_sink.h"
#include "library/formats/png_writer.h"
#include "library/jpeg/jpeg_segments.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <lcms2.h>

using namespace korv;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

Bytes saved(cmsHPROFILE profile)
{
    cmsUInt32Number size = 0;
    EXPECT_TRUE(cmsSaveProfileToMem(profile, nullptr, &size));
    Bytes bytes(size);
    EXPECT_TRUE(cmsSaveProfileToMem(profile, bytes.data(), &size));
    cmsCloseProfile(profile);
    return bytes;
}

/// Adobe RGB (1998): its primaries, D65, and a power of 2.2.
Bytes wideProfile()
{
    const cmsCIExyY white = {0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1}, {0.21, 0.71, 1}, {0.15, 0.06, 1}};
    cmsToneCurve *curve = cmsBuildGamma(nullptr, 563 / 256.0);
    cmsToneCurve *curves[] = {curve, curve, curve};
    cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsFreeToneCurve(curve);
    return saved(profile);
}

Bytes linearGrayProfile()
{
    cmsToneCurve *curve = cmsBuildGamma(nullptr, 1);
    cmsHPROFILE profile = cmsCreateGrayProfile(cmsD50_xyY(), curve);
    cmsFreeToneCurve(curve);
    return saved(profile);
}

Image filled(int red, int green, int blue)
{
    Image image(32, 16, PixelFormat::Rgb24);
    for (int i = 0; i < 32 * 16; ++i) {
        image.pixels()[3 * i] = static_cast<std::uint8_t>(red);
        image.pixels()[3 * i + 1] = static_cast<std::uint8_t>(green);
        image.pixels()[3 * i + 2] = static_cast<std::uint8_t>(blue);
    }
    return image;
}

void expectColour(const Image &image, int red, int green, int blue, int tolerance)
{
    ASSERT_EQ(image.format(), PixelFormat::Rgb24);
    EXPECT_NEAR(image.row(5)[15], red, tolerance);
    EXPECT_NEAR(image.row(5)[16], green, tolerance);
    EXPECT_NEAR(image.row(5)[17], blue, tolerance);
}

/// The profile in as many pieces as asked for, behind the JFIF head.
Bytes withProfile(Bytes jpeg, const Bytes &profile, std::size_t pieces = 1)
{
    Bytes segments;
    const std::size_t step = (profile.size() + pieces - 1) / pieces;
    for (std::size_t i = 0; i < pieces; ++i) {
        const std::size_t begin = i * step;
        const std::size_t end = std::min(profile.size(), begin + step);
        const std::size_t length = 2 + 14 + end - begin;
        const std::string name("ICC_PROFILE\0", 12);
        segments.insert(segments.end(),
                        {0xFF, 0xE2, static_cast<std::uint8_t>(length >> 8),
                         static_cast<std::uint8_t>(length)});
        segments.insert(segments.end(), name.begin(), name.end());
        segments.push_back(static_cast<std::uint8_t>(i + 1));
        segments.push_back(static_cast<std::uint8_t>(pieces));
        segments.insert(segments.end(), profile.begin() + static_cast<std::ptrdiff_t>(begin),
                        profile.begin() + static_cast<std::ptrdiff_t>(end));
    }
    jpeg.insert(jpeg.begin() + 20, segments.begin(), segments.end());
    return jpeg;
}

class ColourProfileTest : public testing::Test
{
protected:
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }
    Bytes magickMade(const std::vector<std::string> &command, const std::string &file) const
    {
        const ProgramResult made = runProgram(command);
        EXPECT_EQ(made.status, 0) << made.errors;
        return pictures::readBytes(file);
    }
    /// The wide green as a file of another program, with its profile.
    Bytes wideFile(const std::string &name)
    {
        MemorySink png;
        EXPECT_TRUE(writePng(filled(93, 159, 62), {100}, png));
        pictures::writeBytes(path("from.png"), png.bytes());
        pictures::writeBytes(path("wide.icc"), m_wide);
        return magickMade({"convert", path("from.png"), "-profile", path("wide.icc"), path(name)},
                          path(name));
    }

    support::TempHome m_home;
    Bytes m_wide = wideProfile();
    Bytes m_wideJpeg = withProfile(
        jpeg::encode(filled(93, 159, 62), {100, jpeg::Subsampling::S444}).value(), m_wide);
};

bool contains(const Bytes &bytes, const Bytes &part)
{
    return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
}

} // namespace

TEST_F(ColourProfileTest, coloursOfDecodedPicturesBecomeSrgb)
{
    expectColour(loadImage(m_wideJpeg).value(), 30, 160, 50, 4);
    for (const std::string name : {"a.png", "a.tif"}) {
        const Result<Image> loaded = loadImage(wideFile(name));
        ASSERT_TRUE(loaded) << loaded.error().text;
        expectColour(loaded.value(), 30, 160, 50, 4);
    }
    pictures::writeBytes(path("wide.jpg"), m_wideJpeg);
    for (const std::string name : {"b.png", "b.bmp"}) {
        ASSERT_TRUE(convertImage(path("wide.jpg"), path(name), 95));
        expectColour(loadImage(pictures::readBytes(path(name))).value(), 30, 160, 50, 4);
    }
}

TEST_F(ColourProfileTest, coloursOfABitmapBecomeSrgb)
{
    Bytes file = {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 138, 0, 0, 0,  124,
                  0,   0,   0, 6, 0, 0, 0, 6, 0, 0, 0,   1, 0, 24, 0};
    file.resize(138);
    file[14 + 56] = 'D';
    file[14 + 57] = 'E';
    file[14 + 58] = 'B';
    file[14 + 59] = 'M';
    const std::size_t at = 124 + 6 * 20;
    file[14 + 112] = static_cast<std::uint8_t>(at);
    file[14 + 116] = static_cast<std::uint8_t>(m_wide.size());
    file[14 + 117] = static_cast<std::uint8_t>(m_wide.size() >> 8);
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 6; ++x)
            file.insert(file.end(), {62, 159, 93});
        file.insert(file.end(), {0, 0});
    }
    file.insert(file.end(), m_wide.begin(), m_wide.end());
    const Result<Image> loaded = loadImage(file);
    ASSERT_TRUE(loaded) << loaded.error().text;
    expectColour(loaded.value(), 30, 160, 50, 4);
    file.resize(file.size() - 1);
    const Result<Image> cut = loadImage(file);
    ASSERT_TRUE(cut);
    expectColour(cut.value(), 93, 159, 62, 0);
}

TEST_F(ColourProfileTest, srgbAndWhatIsNoProfileChangeNothing)
{
    const Image colours = pictures::numbered(40, 30, PixelFormat::Rgb24);
    for (const Bytes &profile :
         {srgbProfile(), saved(cmsCreate_sRGBProfile()), linearGrayProfile(), Bytes(),
          Bytes(500, 7), Bytes(m_wide.begin(), m_wide.begin() + 200)}) {
        Image image = colours;
        convertToSrgb(image, profile);
        EXPECT_TRUE(pictures::same(image, colours)) << profile.size();
    }
}

TEST_F(ColourProfileTest, grayIsConvertedByItsOwnKindOfProfile)
{
    Image gray(4, 4, PixelFormat::Gray8);
    std::fill_n(gray.pixels(), 16, std::uint8_t{55}); // of linear light
    convertToSrgb(gray, m_wide);
    EXPECT_EQ(gray.row(1)[1], 55);
    convertToSrgb(gray, linearGrayProfile());
    EXPECT_NEAR(gray.row(1)[1], 128, 1);
}

TEST_F(ColourProfileTest, inksBecomeSrgbByTheirProfile)
{
    // any profile of inks would do; this one comes with Ghostscript
    const std::string inks = "/usr/share/color/icc/ghostscript/default_cmyk.icc";
    if (pictures::readBytes(inks).empty())
        GTEST_SKIP() << "no profile of inks here";
    MemorySink png;
    ASSERT_TRUE(writePng(filled(110, 130, 150), {100}, png));
    pictures::writeBytes(path("from.png"), png.bytes());
    pictures::writeBytes(path("srgb.icc"), saved(cmsCreate_sRGBProfile()));
    const Bytes jpeg = magickMade({"convert", path("from.png"), "-profile", path("srgb.icc"),
                                   "-profile", inks, "-quality", "100", path("inks.jpg")},
                                  path("inks.jpg"));
    ASSERT_EQ(jpeg::readInfo(jpeg).value().components, 4);
    const Result<Image> loaded = loadImage(jpeg);
    ASSERT_TRUE(loaded) << loaded.error().text;
    expectColour(loaded.value(), 110, 130, 150, 6);
}

TEST_F(ColourProfileTest, piecesAreOnlyAProfileWhenAllAreThere)
{
    const Bytes plain = pictures::jpegOf(pictures::page(16, 16));
    const auto profileIn = [](const Bytes &jpeg) {
        return jpeg::profileOf(jpeg, jpeg::readStructure(jpeg).value());
    };
    EXPECT_TRUE(profileIn(plain).empty());
    EXPECT_EQ(profileIn(withProfile(plain, m_wide)), m_wide);
    const Bytes pieces = withProfile(plain, m_wide, 3);
    EXPECT_EQ(profileIn(pieces), m_wide);
    Bytes missing = pieces;
    const std::size_t length = std::size_t{missing[22]} << 8 | missing[23];
    missing.erase(missing.begin() + 20, missing.begin() + 22 + static_cast<std::ptrdiff_t>(length));
    EXPECT_TRUE(profileIn(missing).empty());
    Bytes twice = pieces;
    twice[36] = 2; // the first one's number
    EXPECT_TRUE(profileIn(twice).empty());
    twice[36] = 0;
    EXPECT_TRUE(profileIn(twice).empty());
}

TEST_F(ColourProfileTest, profilesOfOtherPixelsOrKindsAreNotUsed)
{
    EXPECT_FALSE(usableProfile(m_wide, ProfilePixels::Rgb).empty());
    EXPECT_TRUE(usableProfile(m_wide, ProfilePixels::Gray).empty());
    EXPECT_TRUE(usableProfile(m_wide, ProfilePixels::Cmyk).empty());
    Bytes link = m_wide;
    std::copy_n("link", 4, link.begin() + 12);
    EXPECT_TRUE(usableProfile(link, ProfilePixels::Rgb).empty());
    Bytes padded = m_wide;
    padded.resize(padded.size() + 1000);
    EXPECT_EQ(usableProfile(padded, ProfilePixels::Rgb).size, m_wide.size());
    Bytes huge = m_wide;
    huge.resize(kMaxProfileSize + 1);
    huge[0] = 0;
    huge[1] = 0x40;
    huge[2] = 0;
    huge[3] = 1;
    EXPECT_TRUE(usableProfile(huge, ProfilePixels::Rgb).empty());
}

TEST_F(ColourProfileTest, garbledProfilesDoNoHarm)
{
    std::uint32_t random = 1;
    const auto next = [&] { return random = random * 1664525 + 1013904223; };
    for (int round = 0; round < 300; ++round) {
        Bytes profile = m_wide;
        for (unsigned i = 0; i < 1 + next() % 4; ++i)
            profile[next() % profile.size()] = static_cast<std::uint8_t>(next() >> 24);
        Image image = filled(93, 159, 62);
        convertToSrgb(image, profile);
    }
}

TEST_F(ColourProfileTest, passedThroughJpegBringsItsProfileIntoEveryDocument)
{
    pictures::writeBytes(path("wide.jpg"), m_wideJpeg);
    pictures::writeBytes(path("srgb.icc"), saved(cmsCreate_sRGBProfile()));
    for (const std::string name : {"a.pdf", "a.tif", "a.ofd", "a.jpg"}) {
        ASSERT_TRUE(convertImage(path("wide.jpg"), path(name), 95)) << name;
        const Bytes made = pictures::readBytes(path(name));
        EXPECT_TRUE(contains(made, m_wideJpeg)) << name;
    }
    EXPECT_THAT(runProgram({"pdfimages", "-list", path("a.pdf")}).output, HasSubstr(" icc "));
    EXPECT_EQ(runProgram({"qpdf", "--check", path("a.pdf")}).status, 0);
    // Debian's mupdf leaves profiles out
    const ProgramResult drawn = runProgram({"pdftoppm", "-r", "72", path("a.pdf")});
    ASSERT_EQ(drawn.status, 0) << drawn.errors;
    expectColour(pictures::fromPnm(drawn.output), 30, 160, 50, 4);
    EXPECT_THAT(runProgram({"tiffinfo", path("a.tif")}).output,
                HasSubstr("ICC Profile: <present>"));
    const ProgramResult converted = runProgram(
        {"convert", path("a.tif"), "-profile", path("srgb.icc"), "-depth", "8", "ppm:-"});
    ASSERT_EQ(converted.status, 0) << converted.errors;
    expectColour(pictures::fromPnm(converted.output), 30, 160, 50, 4);
}

TEST_F(ColourProfileTest, pagesOfADocumentShareTheirProfile)
{
    const std::vector<std::string> names = {"0.jpg", "1.jpg", "2.jpg"};
    PendingDocument document;
    for (const std::string &name : names) {
        pictures::writeBytes(path(name), m_wideJpeg);
        ASSERT_TRUE(document.add(path(name)));
    }
    ASSERT_TRUE(document.combine(path("a.pdf"), 95));
    const std::string pdf = support::readFile(path("a.pdf"));
    std::size_t profiles = 0;
    for (std::size_t at = 0; (at = pdf.find("/Alternate /DeviceRGB", at)) != std::string::npos;
         ++at)
        ++profiles;
    EXPECT_EQ(profiles, 1U);
    EXPECT_THAT(runProgram({"pdfinfo", path("a.pdf")}).output, HasSubstr("Pages:           3"));
}

TEST_F(ColourProfileTest, whatIsNoProfileOfThePicturesColoursIsNotBroughtIn)
{
    const Bytes plain = pictures::jpegOf(pictures::page(64, 48));
    for (const Bytes &profile : {Bytes(400, 9), linearGrayProfile()}) {
        pictures::writeBytes(path("odd.jpg"), withProfile(plain, profile));
        ASSERT_TRUE(convertImage(path("odd.jpg"), path("b.pdf"), 95));
        EXPECT_EQ(support::readFile(path("b.pdf")).find("ICCBased"), std::string::npos);
        ASSERT_TRUE(convertImage(path("odd.jpg"), path("b.tif"), 95));
        EXPECT_EQ(runProgram({"tiffinfo", path("b.tif")}).output.find("ICC Profile"),
                  std::string::npos);
        fs::remove(path("b.pdf"));
        fs::remove(path("b.tif"));
    }
}
