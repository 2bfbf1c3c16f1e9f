#include "library/jpeg/rework/jpeg_repair.h"

#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <gtest/gtest.h>

using namespace korv;

namespace {

Result<Bytes> mended(const Bytes &data, double dpi = 0)
{
    const Result<jpeg::Structure> structure = jpeg::readStructure(data);
    if (!structure)
        return structure.error();
    return jpeg::repair(data, structure.value(), dpi);
}

} // namespace

TEST(JpegRepair, completeFileNeedsNothing)
{
    const Bytes data = pictures::jpegOf(pictures::page(64, 48));
    EXPECT_FALSE(jpeg::needsRepair(jpeg::readStructure(data).value()));
    const Result<Bytes> result = mended(data);
    ASSERT_TRUE(result);
    EXPECT_EQ(result.value(), data);
}

TEST(JpegRepair, videoFrameGetsTablesAndJfifHeadAndLosesItsPadding)
{
    const Image picture = pictures::page(160, 120);
    const Bytes frame = pictures::videoFrame(picture);
    ASSERT_TRUE(jpeg::needsRepair(jpeg::readStructure(frame).value()));
    const Result<Bytes> result = mended(frame, 200);
    ASSERT_TRUE(result);

    const Result<jpeg::Structure> structure = jpeg::readStructure(result.value());
    ASSERT_TRUE(structure);
    EXPECT_FALSE(jpeg::needsRepair(structure.value()));
    EXPECT_EQ(structure.value().jfif, 2U);
    EXPECT_EQ(structure.value().aviHead, 0U);
    EXPECT_EQ(structure.value().info.resolution, 200);
    EXPECT_EQ(structure.value().end, result.value().size());
    // the same coefficients: pixel for pixel what the frame itself decodes to
    EXPECT_TRUE(pictures::same(jpeg::decode(frame).value(), jpeg::decode(result.value()).value()));
    EXPECT_LT(pictures::difference(jpeg::decode(result.value()).value(), picture), 4);
}

TEST(JpegRepair, densityFollowsTheA4RuleWhenNoneIsKnown)
{
    const Result<Bytes> result = mended(pictures::videoFrame(pictures::page(1169, 800)));
    ASSERT_TRUE(result);
    EXPECT_EQ(jpeg::readInfo(result.value()).value().resolution, 100);
}

TEST(JpegRepair, independentDecoderReadsTheMendedFrame)
{
    const support::TempHome home;
    const Bytes frame = pictures::videoFrame(pictures::page(160, 120));
    const std::string path = (home.scratch() / "mended.jpg").string();
    pictures::writeBytes(path, mended(frame).value());
    const ProgramResult read = runProgram({"djpeg", "-ppm", path});
    ASSERT_EQ(read.status, 0) << read.errors;
    EXPECT_TRUE(read.errors.empty()) << read.errors;
    EXPECT_TRUE(pictures::same(pictures::fromPnm(read.output), jpeg::decode(frame).value()));
}

TEST(JpegRepair, graySamplingFactorsBecomePlain)
{
    Bytes data = pictures::jpegOf(pictures::numbered(70, 50, PixelFormat::Gray8));
    const Image before = jpeg::decode(data).value();
    const std::size_t sampling = jpeg::readStructure(data).value().samplingByte;
    ASSERT_EQ(data[sampling], 0x11);
    data[sampling] = 0x22;
    ASSERT_TRUE(jpeg::needsRepair(jpeg::readStructure(data).value()));
    const Result<Bytes> result = mended(data);
    ASSERT_TRUE(result);
    EXPECT_EQ(jpeg::readInfo(result.value()).value().lumaHorizontal, 1);
    EXPECT_TRUE(pictures::same(jpeg::decode(result.value()).value(), before));
}

TEST(JpegRepair, jfifHeadIsNotPutBeforeAnAdobeMarker)
{
    Bytes data = pictures::jpegOf(pictures::page(32, 32));
    // JFIF's APP0 becomes Adobe's APP14 with transform 0: the components are RGB
    const Bytes adobe = {0xFF, 0xEE, 0, 14, 'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, 0};
    data.erase(data.begin() + 2, data.begin() + 20);
    data.insert(data.begin() + 2, adobe.begin(), adobe.end());
    const Result<jpeg::Structure> structure = jpeg::readStructure(data);
    ASSERT_TRUE(structure);
    EXPECT_EQ(structure.value().info.colourModel, jpeg::ColourModel::Rgb);
    EXPECT_FALSE(jpeg::needsRepair(structure.value()));
    EXPECT_EQ(mended(data).value(), data);
}

TEST(JpegRepair, tableWithoutAStandardIsAnError)
{
    Bytes frame = pictures::videoFrame(pictures::page(32, 32));
    const std::size_t scan = jpeg::readStructure(frame).value().scanStart;
    frame[scan + 6] = 0x22; // tables 2 and 2, which no standard knows
    EXPECT_EQ(mended(frame).code(), -EBADMSG);
}
