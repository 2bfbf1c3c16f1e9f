#include "library/export/convert.h"
#include "library/image/rotate.h"
#include "library/jpeg/jpeg.h"
#include "library/photograph/photograph.h"
#include "tests/library/support/desk.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdio>

using namespace korv;
using testing::HasSubstr;

namespace {

constexpr double kScale = 2.7; ///< pixels per millimetre of the drawn desks

/// A sheet of so many millimetres in the middle of a desk, turned by some degrees.
Bytes frameWith(double width, double height, double degrees = 0)
{
    desk::Scene scene;
    scene.width = 1200;
    scene.height = 900;
    const double angle = degrees * 3.14159265358979 / 180;
    desk::Sheet sheet;
    const double signs[4][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
    for (std::size_t i = 0; i < 4; ++i) {
        const double x = signs[i][0] * width * kScale / 2;
        const double y = signs[i][1] * height * kScale / 2;
        sheet.corners[i] = {scene.width / 2.0 + x * std::cos(angle) - y * std::sin(angle),
                            scene.height / 2.0 + x * std::sin(angle) + y * std::cos(angle)};
    }
    scene.sheets = {sheet};
    return pictures::jpegOf(desk::draw(scene), 92);
}

class PageSizes : public testing::Test
{
protected:
    std::string path(const std::string &name) const { return (m_home.scratch() / name).string(); }

    /// What `pdfinfo` says of the page, and the boxes of the OFD, of a photograph as documents.
    std::string sizesOf(const Bytes &photograph)
    {
        pictures::writeBytes(path("a.jpg"), photograph);
        return sizesOf(path("a.jpg"));
    }
    std::string sizesOf(const std::string &source, int quality = 95)
    {
        for (const std::string name : {"a.pdf", "a.ofd", "a.tif"}) {
            std::remove(path(name).c_str());
            EXPECT_TRUE(convertImage(source, path(name), quality)) << name;
        }
        const std::string pdf = support::readFile(path("a.pdf"));
        const std::string ofd =
            runProgram({"unzip", "-p", path("a.ofd"), "Doc_0/Pages/Page_0/Content.xml"}).output;
        return between(pdf, "/MediaBox [0 0 ", "]") + ", "
            + between(ofd, "<ofd:PhysicalBox>0 0 ", "<");
    }
    static std::string between(const std::string &text, const std::string &from,
                               const std::string &to)
    {
        const std::size_t start = text.find(from);
        if (start == std::string::npos)
            return "nothing";
        const std::size_t first = start + from.size();
        return text.substr(first, text.find(to, first) - first);
    }

    static Bytes photographOf(const Bytes &frame, PhotographOptions options)
    {
        options.details = {1'700'000'000, "Desk"};
        const Result<Bytes> made = makePhotograph(frame, options);
        EXPECT_TRUE(made);
        return made ? made.value() : Bytes();
    }
    static PhotographOptions cropping(double scale = 0)
    {
        PhotographOptions options;
        options.crop = CropMode::Auto;
        options.scale = scale;
        return options;
    }

    support::TempHome m_home;
};

} // namespace

TEST_F(PageSizes, sheetOfAKnownShapeHasItsSizeExactly)
{
    EXPECT_EQ(sizesOf(photographOf(frameWith(210, 297, 4), cropping())), "595.28 841.89, 210 297");
    EXPECT_EQ(sizesOf(photographOf(frameWith(297, 210), cropping())), "841.89 595.28, 297 210");
    EXPECT_EQ(sizesOf(photographOf(frameWith(215.9, 279.4), cropping())), "612 792, 215.9 279.4");
    EXPECT_EQ(sizesOf(photographOf(frameWith(171.2, 107.96), cropping())),
              "242.65 153.01, 85.6 53.98");
}

TEST_F(PageSizes, sizeSurvivesRotationColourAndCoarserDocuments)
{
    PhotographOptions options = cropping();
    options.rotation = Rotation::Right90;
    options.colour = ColourStyle::Gray;
    EXPECT_EQ(sizesOf(photographOf(frameWith(210, 297), options)), "841.89 595.28, 297 210");
    options.colour = ColourStyle::Lineart;
    EXPECT_EQ(sizesOf(photographOf(frameWith(210, 297), options)), "841.89 595.28, 297 210");
    EXPECT_EQ(sizesOf(path("a.jpg"), 60), "841.89 595.28, 297 210");
    EXPECT_THAT(runProgram({"tiffinfo", path("a.tif")}).output, HasSubstr("Resolution: "));
}

TEST_F(PageSizes, otherShapesAndWholeFramesAreAsLongAsAnA4Sheet)
{
    const Bytes strip = photographOf(frameWith(100, 250), cropping());
    const std::string sizes = sizesOf(strip);
    EXPECT_NEAR(std::stod(sizes.substr(sizes.find(' '))), 841.9, 4) << sizes;
    PhotographOptions turned;
    turned.rotation = Rotation::Half;
    EXPECT_EQ(sizesOf(photographOf(frameWith(210, 297), turned)),
              "838.835 629.1262, 295.922 221.942");
}

TEST_F(PageSizes, frameIsMeasuredWhenTheDeskIs)
{
    PhotographOptions whole;
    whole.scale = 3;
    // 1200 x 900 pixels
    const Bytes frame = frameWith(210, 297);
    EXPECT_EQ(sizesOf(photographOf(frame, whole)), "1133.86 850.39, 400 300");
    const Bytes photograph = pictures::readBytes(path("a.jpg"));
    const jpeg::Info info = jpeg::readInfo(photograph).value();
    EXPECT_NEAR(info.resolution.x, 76.2, 0.001);
    const Image decoded = jpeg::decode(photograph).value();
    EXPECT_EQ(pictures::difference(decoded, jpeg::decode(frame).value()), 0);
    whole.rotation = Rotation::Left90;
    EXPECT_EQ(sizesOf(photographOf(frame, whole)), "850.39 1133.86, 300 400");
}

TEST_F(PageSizes, sheetsAreMeasuredWhenTheDeskIs)
{
    struct Sheet
    {
        double width;
        double height;
    };
    const Sheet sheets[] = {{210, 297},      {148, 210}, {215.9, 279.4},
                            {171.2, 107.96}, {80, 200},  {150, 100}};
    int scenes = 0;
    int right = 0;
    for (const Sheet &sheet : sheets) {
        for (const double degrees : {0.0, 7.0, -9.0}) {
            const Bytes photograph =
                photographOf(frameWith(sheet.width, sheet.height, degrees), cropping(kScale));
            const jpeg::Info info = jpeg::readInfo(photograph).value();
            const double width = info.width * 25.4 / info.resolution.x;
            const double height = info.height * 25.4 / info.resolution.y;
            ++scenes;
            if (std::abs(width / sheet.width - 1) <= 0.03
                && std::abs(height / sheet.height - 1) <= 0.03)
                ++right;
            else
                std::printf("%g x %g mm, %g degrees: %.1f x %.1f\n", sheet.width, sheet.height,
                            degrees, width, height);
        }
    }
    EXPECT_EQ(scenes, 18);
    EXPECT_GE(right, 16);
    EXPECT_EQ(sizesOf(photographOf(frameWith(148, 210, 7), cropping(kScale))),
              "419.53 595.28, 148 210");
}

TEST_F(PageSizes, unequalResolutionKeepsItsShape)
{
    Image fax = pictures::lineart(1728, 1100);
    fax.setResolution({204, 98});
    ASSERT_TRUE(writeImage(fax, path("fax.tif"), 95));
    EXPECT_THAT(runProgram({"tiffinfo", path("fax.tif")}).output,
                HasSubstr("Resolution: 204, 98 pixels/inch"));
    // 8.47 x 11.22 inches
    EXPECT_EQ(sizesOf(path("fax.tif")), "609.8824 808.1633, 215.153 285.102");
    EXPECT_THAT(runProgram({"tiffinfo", path("a.tif")}).output,
                HasSubstr("Resolution: 204, 98 pixels/inch"));
    for (const std::string type : {"png", "bmp", "jpg"}) {
        const std::string single = path("fax." + type);
        ASSERT_TRUE(convertImage(path("fax.tif"), single, 95)) << type;
        const std::string sizes = sizesOf(single);
        EXPECT_NEAR(std::stod(sizes), 609.9, 1) << type << ": " << sizes;
        EXPECT_NEAR(std::stod(sizes.substr(sizes.find(' '))), 808.2, 5) << type << ": " << sizes;
    }
}

TEST_F(PageSizes, turnedPictureOfUnequalResolutionKeepsItsShape)
{
    Image page = pictures::page(400, 300);
    page.setResolution({200, 100});
    const Image turned = rotate(page, Rotation::Left90);
    EXPECT_EQ(turned.resolution(), Resolution(100, 200));
    EXPECT_EQ(rotate(page, Rotation::Half).resolution(), Resolution(200, 100));
}

TEST_F(PageSizes, photographsResolutionIsBelievedUpToAnA2Page)
{
    Image page = pictures::page(1600, 1100);
    page.setResolution(70); // 22.9 x 15.7 inches: A2 has 23.4 x 16.5
    EXPECT_EQ(sizesOf(pictures::jpegOf(page)), "1645.7143 1131.4286, 580.571 399.143");
    page.setResolution(60);
    EXPECT_EQ(sizesOf(pictures::jpegOf(page)), "840.8759 578.1022, 296.642 203.942");
    // scanned plans are as large as they say
    page.setResolution(60);
    ASSERT_TRUE(writeImage(page, path("plan.tif"), 100));
    EXPECT_EQ(sizesOf(path("plan.tif"), 100), "1920 1320, 677.333 465.667");
}
