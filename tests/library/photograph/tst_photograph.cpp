#include "library/photograph/photograph.h"

#include "library/device/simulated/drawing/paper.h"
#include "library/jpeg/jpeg_structure.h"
#include "library/jpeg/rework/jpeg_transform.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <gmock/gmock.h>
#include <opencv2/imgproc.hpp>
#include <vector>

using namespace korv;

namespace {

const Bytes &frame()
{
    static const Bytes bytes = pictures::jpegOf(pictures::page(333, 221), 90);
    return bytes;
}

} // namespace

TEST(Photograph, nothingToChangeKeepsEveryByte)
{
    Bytes padded = frame();
    padded.insert(padded.end(), 100, 0);
    const Result<Bytes> photograph = makePhotograph(padded, {});
    ASSERT_TRUE(photograph);
    EXPECT_EQ(photograph.value(), frame());
}

TEST(Photograph, videoFrameIsMendedWithoutCodingItAgain)
{
    const Bytes video = pictures::videoFrame(pictures::page(160, 120));
    const Result<Bytes> photograph = makePhotograph(video, {});
    ASSERT_TRUE(photograph);
    EXPECT_TRUE(
        pictures::same(jpeg::decode(photograph.value()).value(), jpeg::decode(video).value()));
    EXPECT_EQ(photograph.value()[6], 'J');
}

TEST(Photograph, lowerQualityMakesASmallerFile)
{
    PhotographOptions options;
    options.quality = 30;
    const Result<Bytes> photograph = makePhotograph(frame(), options);
    ASSERT_TRUE(photograph);
    EXPECT_LT(photograph.value().size(), frame().size() * 2 / 3);
    EXPECT_LT(pictures::difference(jpeg::decode(photograph.value()).value(),
                                   jpeg::decode(frame()).value()),
              12);
}

TEST(Photograph, rotationsTurnThePicture)
{
    const Image original = jpeg::decode(frame()).value();
    for (const Rotation rotation : {Rotation::Left90, Rotation::Right90, Rotation::Half}) {
        PhotographOptions options;
        options.rotation = rotation;
        const Result<Bytes> photograph = makePhotograph(frame(), options);
        ASSERT_TRUE(photograph);
        EXPECT_LT(pictures::difference(jpeg::decode(photograph.value()).value(),
                                       rotate(original, rotation)),
                  3);
    }
}

TEST(Photograph, rotationAloneLosesNothing)
{
    const Bytes whole = pictures::jpegOf(pictures::page(320, 240), 90);
    PhotographOptions options;
    options.rotation = Rotation::Left90;
    const Bytes turned = makePhotograph(whole, options).value();
    options.rotation = Rotation::Right90;
    const Bytes back = makePhotograph(turned, options).value();
    EXPECT_TRUE(pictures::same(jpeg::decode(back).value(), jpeg::decode(whole).value()));
}

TEST(Photograph, orientationIsAppliedOnceAndRemoved)
{
    Bytes tagged = pictures::jpegOf(pictures::page(320, 240));
    const Image original = jpeg::decode(tagged).value();
    const Bytes exif = {0xFF, 0xE1, 0, 34,   'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, 8,
                        0,    1,    1, 0x12, 0,   3,   0,   0,   0, 1, 0,   6,   0, 0,  0, 0, 0, 0};
    tagged.insert(tagged.begin() + 2, exif.begin(), exif.end());
    for (const Rotation rotation : {Rotation::None, Rotation::Left90, Rotation::Half}) {
        PhotographOptions options;
        options.rotation = rotation;
        const Bytes photograph = makePhotograph(tagged, options).value();
        EXPECT_EQ(jpeg::readInfo(photograph).value().orientation, 1);
        const Image expected = rotate(rotate(original, Rotation::Right90), rotation);
        EXPECT_LT(pictures::difference(jpeg::decode(photograph).value(), expected), 1);
    }
}

TEST(Photograph, lowerQualityKeepsTheSampling)
{
    const Image page = pictures::page(333, 221);
    for (const jpeg::Subsampling subsampling :
         {jpeg::Subsampling::S422, jpeg::Subsampling::S444, jpeg::Subsampling::S420}) {
        const Bytes fine = jpeg::encode(page, {98, subsampling}).value();
        for (const CropMode crop : {CropMode::Off, CropMode::Auto}) {
            PhotographOptions options;
            options.quality = 60;
            options.crop = crop;
            const Bytes coarse = makePhotograph(fine, options).value();
            EXPECT_EQ(jpeg::keptSubsampling(jpeg::readInfo(coarse).value(), {}), subsampling);
            EXPECT_TRUE(jpeg::isAsCoarseAs(jpeg::readStructure(coarse).value(), 60));
        }
    }
}

TEST(Photograph, coarseFrameStaysAsItIsWhateverTheQuality)
{
    const Bytes coarse = pictures::jpegOf(pictures::page(333, 221), 40);
    PhotographOptions options;
    options.quality = 60;
    EXPECT_EQ(makePhotograph(coarse, options).value(), coarse);
}

TEST(Photograph, grayIsTheFramesOwnLuma)
{
    PhotographOptions options;
    options.colour = ColourStyle::Gray;
    const Bytes gray = makePhotograph(frame(), options).value();
    EXPECT_TRUE(pictures::same(jpeg::decode(gray).value(), jpeg::decode(frame(), {true}).value()));
}

TEST(Photograph, grayIsOneComponent)
{
    PhotographOptions options;
    options.colour = ColourStyle::Gray;
    const Result<Bytes> photograph = makePhotograph(frame(), options);
    ASSERT_TRUE(photograph);
    EXPECT_EQ(jpeg::readInfo(photograph.value()).value().components, 1);
}

TEST(Photograph, lineartIsOfTwoLevels)
{
    PhotographOptions options;
    options.colour = ColourStyle::Lineart;
    options.rotation = Rotation::Right90;
    const Result<Bytes> photograph = makePhotograph(frame(), options);
    ASSERT_TRUE(photograph);
    const Image image = jpeg::decode(photograph.value()).value();
    EXPECT_TRUE(image.isBilevel());
    EXPECT_EQ(image.width(), 2 * 221);
    EXPECT_EQ(image.height(), 2 * 333);
}

TEST(Photograph, lineartIsDoubledOnlyWhereItsDotsAreCoarse)
{
    PhotographOptions options;
    options.colour = ColourStyle::Lineart;
    const auto infoOf = [&](int width, int height) {
        const Bytes page = pictures::jpegOf(pictures::page(width, height));
        return jpeg::readInfo(makePhotograph(page, options).value()).value();
    };
    const jpeg::Info coarse = infoOf(2900, 400);
    EXPECT_EQ(coarse.width, 5800);
    EXPECT_EQ(coarse.resolution, 496);
    const jpeg::Info fine = infoOf(2930, 400);
    EXPECT_EQ(fine.width, 2930);
    EXPECT_EQ(fine.resolution, 251);

    // a desk that was measured: 600 pixels are 50 mm there, which is fine enough
    options.scale = 12;
    const jpeg::Info measured = infoOf(600, 400);
    EXPECT_EQ(measured.width, 600);
    EXPECT_NEAR(measured.resolution.x, 304.8, 0.5);
    options.scale = 6;
    EXPECT_EQ(infoOf(600, 400).width, 1200);
    EXPECT_NEAR(infoOf(600, 400).resolution.x, 304.8, 0.5);
}

TEST(Photograph, wholeFrameIsKeptWhenNoSheetIsFound)
{
    PhotographOptions options;
    options.crop = CropMode::Auto;
    const Bytes plain = pictures::jpegOf(pictures::numbered(200, 150, PixelFormat::Rgb24));
    const Result<Bytes> photograph = makePhotograph(plain, options);
    ASSERT_TRUE(photograph);
    const jpeg::Info info = jpeg::readInfo(photograph.value()).value();
    EXPECT_EQ(info.width, 200);
    EXPECT_EQ(info.height, 150);
}

TEST(Photograph, remadePhotographStatesTheA4Density)
{
    PhotographOptions options;
    options.rotation = Rotation::Half;
    const Result<Bytes> photograph =
        makePhotograph(pictures::jpegOf(pictures::page(1169, 600)), options);
    ASSERT_TRUE(photograph);
    EXPECT_EQ(jpeg::readInfo(photograph.value()).value().resolution, 100);
}

TEST(Photograph, madeAnewItTellsItsDateCameraAndResolution)
{
    const support::TempHome home;
    const std::string path = (home.scratch() / "a.jpg").string();
    PhotographOptions crop;
    crop.crop = CropMode::Auto;
    PhotographOptions turn;
    turn.rotation = Rotation::Left90;
    PhotographOptions lineart;
    lineart.colour = ColourStyle::Lineart;
    const Bytes whole = pictures::jpegOf(pictures::page(1168, 592), 90);
    ::setenv("TZ", "CST-8", 1);
    ::tzset();
    for (PhotographOptions options : {crop, turn, lineart}) {
        options.details = {1'700'000'000, "Desk 1"};
        const Bytes photograph = makePhotograph(whole, options).value();
        EXPECT_EQ(jpeg::readInfo(photograph).value().orientation, 1);
        pictures::writeBytes(path, photograph);
        const ProgramResult told = runProgram({"identify", "-format", "%[EXIF:*]", path});
        EXPECT_EQ(told.status, 0) << told.errors;
        EXPECT_EQ(told.errors, "");
        const int width = jpeg::readInfo(photograph).value().width;
        // lineart has twice the pixels
        const std::string dpi = options.colour == ColourStyle::Lineart ? "200" : "100";
        for (const std::string &line :
             {std::string("exif:DateTime=2023:11:15 06:13:20\n"),
              std::string("exif:DateTimeOriginal=2023:11:15 06:13:20\n"),
              std::string("exif:OffsetTimeOriginal=+08:00\n"), std::string("exif:Model=Desk 1\n"),
              "exif:XResolution=" + dpi + "00/100\n",
              "exif:PixelXDimension=" + std::to_string(width) + "\n"})
            EXPECT_NE((told.output + "\n").find(line), std::string::npos) << line << told.output;
    }
    ::unsetenv("TZ");
    ::tzset();
}

TEST(Photograph, framesBytesStayAsTheyAreWhateverIsKnown)
{
    PhotographOptions options;
    options.details = {1'700'000'000, "Desk"};
    EXPECT_EQ(makePhotograph(frame(), options).value(), frame());
}

TEST(Photograph, brokenFramesAreErrors)
{
    EXPECT_EQ(makePhotograph(ByteView(), {}).code(), -EBADMSG);
    const ByteView half = ByteView(frame()).first(frame().size() / 2);
    for (const ColourStyle colour :
         {ColourStyle::Colour, ColourStyle::Gray, ColourStyle::Lineart}) {
        PhotographOptions options;
        options.colour = colour;
        EXPECT_EQ(makePhotograph(half, options).code(), -EBADMSG);
        EXPECT_EQ(makePhotograph(Bytes(5000, 0x80), options).code(), -EBADMSG);
    }
}

namespace {

/// A page whose right half lies in a shadow.
Bytes shadedFrame()
{
    Image page = pictures::page(900, 1200);
    for (int y = 0; y < page.height(); ++y) {
        for (int x = 450; x < page.width(); ++x) {
            const double light = 1 - 0.5 * std::min(1.0, (x - 450) / 60.0);
            for (int i = 0; i < 3; ++i) {
                std::uint8_t &level = page.row(y)[3 * x + i];
                level = static_cast<std::uint8_t>(level * light);
            }
        }
    }
    return pictures::jpegOf(page);
}

/// Of the brightest tenth of the pixels in a strip at the left or the right border.
double paperLevel(const Bytes &photograph, bool right)
{
    const Image image = jpeg::decode(photograph).value();
    std::vector<int> levels;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < 100; ++x)
            levels.push_back(image.row(y)[image.channels() * (right ? image.width() - 1 - x : x)]);
    }
    const auto rank = static_cast<std::ptrdiff_t>(levels.size() * 9 / 10);
    std::nth_element(levels.begin(), levels.begin() + rank, levels.end());
    return levels[static_cast<std::size_t>(rank)];
}

} // namespace

TEST(Photograph, cleanEvensOutTheLightInColourAndGray)
{
    const Bytes shaded = shadedFrame();
    EXPECT_LT(paperLevel(shaded, true), 0.6 * paperLevel(shaded, false));
    for (const ColourStyle colour : {ColourStyle::Colour, ColourStyle::Gray}) {
        PhotographOptions options;
        options.colour = colour;
        options.clean = true;
        const Bytes photograph = makePhotograph(shaded, options).value();
        EXPECT_NEAR(paperLevel(photograph, true), paperLevel(photograph, false), 8);
    }
}

TEST(Photograph, reportsBlurredWritingOnlyWhereItIsAskedTo)
{
    Paper paper(1200, 1600);
    for (int line = 0; line < 24; ++line)
        paper.text(60, 80 + 50 * line, 14, "Total of the measured values, paid at once");
    Image page = paper.image();
    cv::Mat pixels(page.height(), page.width(), CV_8UC3, page.pixels());
    const Bytes sharp = pictures::jpegOf(page);
    cv::GaussianBlur(pixels, pixels, cv::Size(), 6);
    const Bytes blurred = pictures::jpegOf(page);
    const auto saidOf = [](const Bytes &frame, PhotographOptions options) {
        testing::internal::CaptureStderr();
        EXPECT_TRUE(makePhotograph(frame, options));
        return testing::internal::GetCapturedStderr();
    };
    PhotographOptions options;
    EXPECT_EQ(saidOf(blurred, options), "");
    options.reportFocus = true;
    for (const ColourStyle colour :
         {ColourStyle::Colour, ColourStyle::Gray, ColourStyle::Lineart}) {
        options.colour = colour;
        EXPECT_THAT(saidOf(blurred, options), testing::HasSubstr("out of focus"));
        EXPECT_EQ(saidOf(sharp, options), "");
    }
}
