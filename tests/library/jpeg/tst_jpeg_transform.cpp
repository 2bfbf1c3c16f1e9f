#include "library/jpeg/rework/jpeg_transform.h"

#include "library/image/colour.h"
#include "library/image/rotate.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>

using namespace korv;
using jpeg::Subsampling;
using jpeg::Transform;

namespace {

Bytes encoded(int width, int height, Subsampling subsampling, int quality = 95)
{
    return jpeg::encode(pictures::page(width, height), {quality, subsampling}).value();
}

Result<Bytes> run(const Bytes &jpeg, const Transform &transform)
{
    return jpeg::transformed(jpeg, jpeg::readStructure(jpeg).value(), transform, 150);
}

bool can(const Bytes &jpeg, const Transform &transform)
{
    return jpeg::canTransform(jpeg::readStructure(jpeg).value(), transform);
}

/// Largest difference of any channel; 1000 when the sizes or kinds differ.
int largestDifference(const Image &a, const Image &b)
{
    if (a.width() != b.width() || a.height() != b.height() || a.format() != b.format())
        return 1000;
    int largest = 0;
    for (std::size_t i = 0; i < a.stride() * static_cast<std::size_t>(a.height()); ++i)
        largest = std::max(largest, std::abs(int{a.pixels()[i]} - int{b.pixels()[i]}));
    return largest;
}

class TurnTest : public testing::TestWithParam<int>
{
};

INSTANTIATE_TEST_SUITE_P(Orientations, TurnTest, testing::Range(1, 9));

} // namespace

TEST_P(TurnTest, coefficientsTurnAsPixelsDo)
{
    for (const Subsampling subsampling : {Subsampling::S444, Subsampling::S422, Subsampling::S420,
                                          Subsampling::S440, Subsampling::S411}) {
        const Bytes jpeg = encoded(128, 96, subsampling);
        const Transform transform{Turn::ofOrientation(GetParam()), false, 0};
        ASSERT_TRUE(can(jpeg, transform));
        const Result<Bytes> turned = run(jpeg, transform);
        ASSERT_TRUE(turned) << turned.error().text;
        const Image expected = applyOrientation(jpeg::decode(jpeg).value(), GetParam());
        // chroma is interpolated differently along a row and along a column
        EXPECT_LT(pictures::difference(jpeg::decode(turned.value()).value(), expected), 1.0);
        const Image gray = applyOrientation(jpeg::decode(jpeg, {true}).value(), GetParam());
        EXPECT_LE(largestDifference(jpeg::decode(turned.value(), {true}).value(), gray), 1);
    }
}

TEST_P(TurnTest, turningBackGivesTheSameCoefficients)
{
    const Bytes jpeg = encoded(96, 64, Subsampling::S422);
    const Turn turn = Turn::ofOrientation(GetParam());
    Turn back;
    for (int other = 1; other <= 8; ++other) {
        if (turn.then(Turn::ofOrientation(other)).isNone())
            back = Turn::ofOrientation(other);
    }
    ASSERT_TRUE(turn.then(back).isNone());
    const Bytes once = run(jpeg, {turn, false, 0}).value();
    const Bytes twice = run(once, {back, false, 0}).value();
    EXPECT_EQ(twice, run(jpeg, {}).value());
}

TEST_P(TurnTest, sameResultAsAnIndependentProgram)
{
    // jpegtran's name of each turn
    const std::vector<std::vector<std::string>> options = {
        {"-copy", "none"}, {"-flip", "horizontal"}, {"-rotate", "180"}, {"-flip", "vertical"},
        {"-transpose"},    {"-rotate", "90"},       {"-transverse"},    {"-rotate", "270"}};
    const support::TempHome home;
    const Bytes jpeg = encoded(160, 112, Subsampling::S420);
    const std::string file = (home.scratch() / "in.jpg").string();
    pictures::writeBytes(file, jpeg);
    std::vector<std::string> command = {"jpegtran"};
    for (const std::string &option : options[static_cast<std::size_t>(GetParam() - 1)])
        command.push_back(option);
    command.push_back(file);
    const ProgramResult done = runProgram(command);
    ASSERT_EQ(done.status, 0) << done.errors;
    const Bytes theirs(done.output.begin(), done.output.end());
    const Bytes ours = run(jpeg, {Turn::ofOrientation(GetParam()), false, 0}).value();
    EXPECT_TRUE(pictures::same(jpeg::decode(ours).value(), jpeg::decode(theirs).value()));
}

TEST(JpegTransform, noPixelRowIsLostAtEdgesThatDoNotDivide)
{
    const Bytes jpeg = encoded(100, 75, Subsampling::S420);
    for (int orientation = 2; orientation <= 8; ++orientation) {
        const bool mirrors = orientation != 5;
        EXPECT_EQ(can(jpeg, {Turn::ofOrientation(orientation), false, 0}), !mirrors) << orientation;
    }
    // only the mirrored side must divide
    const Bytes wide = encoded(96, 75, Subsampling::S420);
    EXPECT_TRUE(can(wide, {{false, true, false}, false, 0}));
    EXPECT_FALSE(can(wide, {{false, false, true}, false, 0}));
    EXPECT_TRUE(can(wide, {Turn::of(Rotation::Left90), false, 0}));
    EXPECT_FALSE(can(wide, {Turn::of(Rotation::Right90), false, 0}));
    const Image turned =
        jpeg::decode(run(wide, {Turn::of(Rotation::Left90), false, 0}).value()).value();
    EXPECT_LT(pictures::difference(turned, rotate(jpeg::decode(wide).value(), Rotation::Left90)),
              1);
    // luma alone has smaller blocks
    EXPECT_TRUE(can(encoded(104, 72, Subsampling::S420), {Turn::of(Rotation::Half), true, 0}));
    EXPECT_FALSE(can(encoded(104, 72, Subsampling::S420), {Turn::of(Rotation::Half), false, 0}));
}

TEST_P(TurnTest, everySizeThatCanBeTurnedKeepsItsPixels)
{
    const Turn turn = Turn::ofOrientation(GetParam());
    int done = 0;
    for (const Subsampling subsampling : {Subsampling::S444, Subsampling::S422, Subsampling::S420,
                                          Subsampling::S440, Subsampling::S411}) {
        // an odd number of blocks, a block that is not whole, and neither
        for (const int width : {8, 16, 24, 33, 96}) {
            for (const int height : {8, 16, 40, 57}) {
                const Bytes jpeg = encoded(width, height, subsampling);
                if (!can(jpeg, {turn, false, 0}))
                    continue;
                const Result<Bytes> turned = run(jpeg, {turn, false, 0});
                ASSERT_TRUE(turned) << width << "x" << height << ": " << turned.error().text;
                const Image gray = applyOrientation(jpeg::decode(jpeg, {true}).value(), GetParam());
                EXPECT_LE(largestDifference(jpeg::decode(turned.value(), {true}).value(), gray), 1)
                    << width << "x" << height;
                ++done;
            }
        }
    }
    EXPECT_GE(done, 12);
}

TEST(JpegTransform, grayKeepsLumaExactly)
{
    for (const Subsampling subsampling : {Subsampling::S420, Subsampling::S422}) {
        const Bytes jpeg = encoded(150, 101, subsampling);
        const Bytes gray = run(jpeg, {{}, true, 0}).value();
        EXPECT_EQ(jpeg::readInfo(gray).value().components, 1);
        EXPECT_EQ(jpeg::readInfo(gray).value().lumaHorizontal, 1);
        EXPECT_TRUE(pictures::same(jpeg::decode(gray).value(), jpeg::decode(jpeg, {true}).value()));
    }
}

TEST(JpegTransform, coarserStepsAreThoseOfTheQuality)
{
    const Bytes jpeg = encoded(150, 101, Subsampling::S422, 97);
    const Image original = jpeg::decode(jpeg).value();
    for (const int quality : {85, 60, 30}) {
        const Bytes coarse = run(jpeg, {{}, false, quality}).value();
        const Bytes usual = encoded(150, 101, Subsampling::S422, quality);
        const jpeg::Structure structure = jpeg::readStructure(coarse).value();
        EXPECT_TRUE(jpeg::isAsCoarseAs(structure, quality));
        EXPECT_FALSE(jpeg::isAsCoarseAs(structure, quality - 5));
        EXPECT_EQ(structure.info.lumaHorizontal, 2);
        EXPECT_EQ(structure.info.lumaVertical, 1);
        EXPECT_NEAR(static_cast<double>(coarse.size()), static_cast<double>(usual.size()),
                    0.1 * static_cast<double>(usual.size()));
        const double ours = pictures::difference(jpeg::decode(coarse).value(), original);
        const double theirs = pictures::difference(jpeg::decode(usual).value(), original);
        EXPECT_LT(ours, theirs * 1.1 + 0.2) << quality;
    }
}

TEST(JpegTransform, stepsNeverBecomeFiner)
{
    const Bytes jpeg = encoded(64, 64, Subsampling::S420, 40);
    EXPECT_EQ(run(jpeg, {{}, false, 90}).value(), run(jpeg, {}).value());
}

TEST(JpegTransform, densityIsStatedAndExifIsGone)
{
    Bytes jpeg = encoded(64, 64, Subsampling::S420);
    const Bytes exif = {0xFF, 0xE1, 0, 34,   'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, 8,
                        0,    1,    1, 0x12, 0,   3,   0,   0,   0, 1, 0,   6,   0, 0,  0, 0, 0, 0};
    jpeg.insert(jpeg.begin() + 2, exif.begin(), exif.end());
    ASSERT_EQ(jpeg::readInfo(jpeg).value().orientation, 6);
    const Bytes turned = run(jpeg, {Turn::ofOrientation(6), false, 0}).value();
    const jpeg::Info info = jpeg::readInfo(turned).value();
    EXPECT_EQ(info.orientation, 1);
    EXPECT_EQ(info.resolution, 150);
}

TEST(JpegTransform, colourProfilesStayAsLongAsTheColours)
{
    Bytes jpeg = encoded(64, 48, Subsampling::S420);
    const std::string profile("ICC_PROFILE\0\1\1three colours", 27);
    Bytes marker = {0xFF, 0xE2, 0, static_cast<std::uint8_t>(profile.size() + 2)};
    marker.insert(marker.end(), profile.begin(), profile.end());
    jpeg.insert(jpeg.begin() + 2 + 18, marker.begin(), marker.end()); // behind JFIF
    const auto hasProfile = [&](const Bytes &made) {
        return std::search(made.begin(), made.end(), profile.begin(), profile.end()) != made.end();
    };
    const Turn half = Turn::of(Rotation::Half);
    EXPECT_TRUE(hasProfile(run(jpeg, {half, false, 50}).value()));
    EXPECT_FALSE(hasProfile(run(jpeg, {half, true, 0}).value()));
}

TEST(JpegTransform, twoLevelsStayMarked)
{
    const Bytes jpeg = pictures::jpegOf(pictures::lineart(64, 48));
    const Bytes turned = run(jpeg, {Turn::of(Rotation::Right90), false, 0}).value();
    EXPECT_TRUE(jpeg::decode(turned).value().isBilevel());
    EXPECT_FALSE(can(jpeg, {{}, false, 50}));
}

TEST(JpegTransform, framesWithoutTablesAreTurned)
{
    const Bytes video = pictures::videoFrame(pictures::page(160, 120));
    const jpeg::Structure structure = jpeg::readStructure(video).value();
    const Transform transform{Turn::of(Rotation::Half), false, 0};
    ASSERT_TRUE(jpeg::canTransform(structure, transform));
    const Bytes turned =
        jpeg::transformed(ByteView(video).first(structure.end), structure, transform, 100).value();
    EXPECT_EQ(jpeg::readStructure(turned).value().missingDcTables, 0);
    EXPECT_LT(pictures::difference(jpeg::decode(turned).value(),
                                   rotate(jpeg::decode(video).value(), Rotation::Half)),
              1.0);
}

TEST(JpegTransform, picturesWithAdobesMarkKeepTheirColours)
{
    Bytes jpeg = encoded(64, 48, Subsampling::S444);
    jpeg.erase(jpeg.begin() + 2, jpeg.begin() + 2 + 18); // JFIF
    const Bytes adobe = {0xFF, 0xEE, 0, 14, 'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, 1};
    jpeg.insert(jpeg.begin() + 2, adobe.begin(), adobe.end());
    const Transform transform{Turn::of(Rotation::Half), false, 0};
    ASSERT_TRUE(jpeg::readStructure(jpeg).value().hasAdobe);
    ASSERT_TRUE(can(jpeg, transform));
    const Bytes turned = run(jpeg, transform).value();
    EXPECT_LT(pictures::difference(jpeg::decode(turned).value(),
                                   rotate(jpeg::decode(jpeg).value(), Rotation::Half)),
              1);
    // with transform 0 the components are red, green and blue: those are left to the pixels
    jpeg[2 + 15] = 0;
    EXPECT_FALSE(can(jpeg, transform));
}

TEST(JpegTransform, cutDataAreErrors)
{
    const Bytes jpeg = encoded(128, 96, Subsampling::S420);
    const jpeg::Structure structure = jpeg::readStructure(jpeg).value();
    for (std::size_t size = structure.scanStart; size + 40 < jpeg.size(); size += 97) {
        for (const Transform &transform :
             {Transform{Turn::of(Rotation::Half), false, 0}, Transform{{}, true, 50}}) {
            EXPECT_EQ(
                jpeg::transformed(ByteView(jpeg).first(size), structure, transform, 100).code(),
                -EBADMSG)
                << size;
        }
    }
}

TEST(Turn, composesAsPixelsDo)
{
    const Image image = pictures::numbered(7, 5, PixelFormat::Rgb24);
    for (int first = 1; first <= 8; ++first) {
        for (int second = 1; second <= 8; ++second) {
            const Image expected = applyOrientation(applyOrientation(image, first), second);
            const Turn both = Turn::ofOrientation(first).then(Turn::ofOrientation(second));
            int same = 0;
            for (int one = 1; one <= 8; ++one) {
                const Turn turn = Turn::ofOrientation(one);
                if (turn.transpose == both.transpose && turn.mirrorX == both.mirrorX
                    && turn.mirrorY == both.mirrorY)
                    same = one;
            }
            ASSERT_GT(same, 0);
            EXPECT_TRUE(pictures::same(applyOrientation(image, same), expected));
        }
    }
}
