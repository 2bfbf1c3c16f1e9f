#include "library/jpeg/jpeg.h"
#include "library/jpeg/jpeg_structure.h"
#include "library/jpeg/rework/jpeg_transform.h"

#include "tests/library/support/guarded_buffer.h"
#include "tests/library/support/pictures.h"
#include "tests/library/support/program.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/support/temp_home.h"

#include <cerrno>
#include <gtest/gtest.h>

using namespace korv;

TEST(JpegCodec, colourComesBackNearlyEqual)
{
    const Image picture = pictures::page(203, 151);
    for (const auto subsampling :
         {jpeg::Subsampling::S444, jpeg::Subsampling::S422, jpeg::Subsampling::S420}) {
        const Result<Bytes> encoded = jpeg::encode(picture, {95, subsampling});
        ASSERT_TRUE(encoded);
        EXPECT_EQ(jpeg::keptSubsampling(jpeg::readInfo(encoded.value()).value(), {}), subsampling);
        const Result<Image> decoded = jpeg::decode(encoded.value());
        ASSERT_TRUE(decoded);
        EXPECT_LT(pictures::difference(decoded.value(), picture), 3);
    }
}

TEST(JpegCodec, independentDecoderSeesTheSamePixels)
{
    const support::TempHome home;
    const std::string path = (home.scratch() / "page.jpg").string();
    const Bytes encoded = pictures::jpegOf(pictures::page(203, 151));
    pictures::writeBytes(path, encoded);
    const ProgramResult read = runProgram({"djpeg", "-ppm", path});
    ASSERT_EQ(read.status, 0) << read.errors;
    EXPECT_TRUE(pictures::same(pictures::fromPnm(read.output), jpeg::decode(encoded).value()));
}

TEST(JpegCodec, qualityChangesTheSize)
{
    const Image picture = pictures::page(200, 200);
    EXPECT_LT(pictures::jpegOf(picture, 30).size(), pictures::jpegOf(picture, 80).size());
    EXPECT_LT(pictures::jpegOf(picture, 80).size(), pictures::jpegOf(picture, 100).size());
}

TEST(JpegCodec, grayPictureIsOneComponentWithPlainSampling)
{
    Image picture(90, 60, PixelFormat::Gray8);
    for (int y = 0; y < 60; ++y) {
        for (int x = 0; x < 90; ++x)
            picture.row(y)[x] = static_cast<std::uint8_t>(2 * x + y);
    }
    const Bytes encoded = pictures::jpegOf(picture);
    const jpeg::Info info = jpeg::readInfo(encoded).value();
    EXPECT_EQ(info.components, 1);
    EXPECT_EQ(info.lumaHorizontal, 1);
    EXPECT_EQ(info.lumaVertical, 1);
    EXPECT_LT(pictures::difference(jpeg::decode(encoded).value(), picture), 2);
}

TEST(JpegCodec, grayDecodingIsTheLumaOfTheColours)
{
    const Bytes encoded = pictures::jpegOf(pictures::page(120, 90));
    jpeg::DecodeOptions gray;
    gray.gray = true;
    const Image luma = jpeg::decode(encoded, gray).value();
    const Image colour = jpeg::decode(encoded).value();
    ASSERT_EQ(luma.format(), PixelFormat::Gray8);
    double sum = 0;
    for (int y = 0; y < 90; ++y) {
        for (int x = 0; x < 120; ++x) {
            const std::uint8_t *pixel = colour.row(y) + 3 * x;
            sum +=
                std::abs(0.299 * pixel[0] + 0.587 * pixel[1] + 0.114 * pixel[2] - luma.row(y)[x]);
        }
    }
    EXPECT_LT(sum / (120 * 90), 1.5);
}

TEST(JpegCodec, bilevelPictureComesBackExactly)
{
    const Image picture = pictures::lineart(300, 200);
    const Bytes encoded = pictures::jpegOf(picture, 90);
    EXPECT_TRUE(jpeg::readInfo(encoded).value().bilevel);
    const Image decoded = jpeg::decode(encoded).value();
    EXPECT_TRUE(decoded.isBilevel());
    EXPECT_TRUE(pictures::same(decoded, picture));
}

TEST(JpegCodec, densityTravelsInTheHeader)
{
    Image picture = pictures::page(50, 40);
    picture.setResolution(279);
    EXPECT_EQ(jpeg::decode(pictures::jpegOf(picture)).value().resolution(), 279);
    picture.setResolution(0);
    EXPECT_EQ(jpeg::decode(pictures::jpegOf(picture)).value().resolution(), 0);
}

TEST(JpegCodec, pictureCutOffIsNeverHalfDecoded)
{
    const Bytes encoded = pictures::jpegOf(pictures::page(160, 120));
    const std::size_t scan = jpeg::readStructure(encoded).value().scanStart;
    for (std::size_t size = scan + 20; size + 2 < encoded.size(); size += 97) {
        const GuardedBuffer cut(ByteView(encoded).first(size));
        EXPECT_EQ(jpeg::decode(cut.view()).code(), -EBADMSG) << size;
        Bytes closed(encoded.begin(), encoded.begin() + static_cast<std::ptrdiff_t>(size));
        closed.insert(closed.end(), {0xFF, 0xD9});
        EXPECT_EQ(jpeg::decode(closed).code(), -EBADMSG) << size;
    }
}

TEST(JpegCodec, lyingSizeIsRefusedBeforeMemoryIsTaken)
{
    Bytes encoded = pictures::jpegOf(pictures::page(64, 64));
    const std::size_t sizeAt = jpeg::readStructure(encoded).value().samplingByte - 6;
    const auto setSize = [&](unsigned height, unsigned width) {
        encoded[sizeAt] = static_cast<std::uint8_t>(height >> 8);
        encoded[sizeAt + 1] = static_cast<std::uint8_t>(height);
        encoded[sizeAt + 2] = static_cast<std::uint8_t>(width >> 8);
        encoded[sizeAt + 3] = static_cast<std::uint8_t>(width);
    };
    setSize(65535, 65535);
    EXPECT_EQ(jpeg::decode(encoded).code(), -EFBIG);
    setSize(65500, 6000);
    EXPECT_EQ(jpeg::decode(encoded).code(), -EBADMSG);
}

TEST(JpegCodec, progressivePictureIsRead)
{
    const support::TempHome home;
    const Bytes encoded = pictures::jpegOf(pictures::page(160, 120));
    const std::string path = (home.scratch() / "page.jpg").string();
    pictures::writeBytes(path, encoded);
    const ProgramResult made = runProgram({"jpegtran", "-progressive", path});
    ASSERT_EQ(made.status, 0) << made.errors;
    const Bytes progressive(made.output.begin(), made.output.end());
    EXPECT_TRUE(jpeg::readInfo(progressive).value().progressive);
    EXPECT_EQ(testing_support::jpegEnd(progressive).value(), progressive.size());
    EXPECT_TRUE(pictures::same(jpeg::decode(progressive).value(), jpeg::decode(encoded).value()));
}

TEST(JpegCodec, endlessScansAreRefused)
{
    const support::TempHome home;
    const std::string path = (home.scratch() / "page.jpg").string();
    pictures::writeBytes(path, pictures::jpegOf(pictures::page(64, 64)));
    const ProgramResult made = runProgram({"jpegtran", "-progressive", path});
    ASSERT_EQ(made.status, 0) << made.errors;
    Bytes bomb(made.output.begin(), made.output.end());
    const std::size_t first = jpeg::readStructure(bomb).value().scanStart;
    // the last scan again and again: each costs a pass over the picture
    std::size_t last = first;
    for (std::size_t i = first; i + 1 < bomb.size(); ++i) {
        if (bomb[i] == 0xFF && bomb[i + 1] == 0xDA)
            last = i;
    }
    const Bytes scan(bomb.begin() + static_cast<std::ptrdiff_t>(last), bomb.end() - 2);
    bomb.resize(bomb.size() - 2);
    for (int i = 0; i < 3000; ++i)
        bomb.insert(bomb.end(), scan.begin(), scan.end());
    bomb.insert(bomb.end(), {0xFF, 0xD9});
    EXPECT_TRUE(testing_support::jpegEnd(bomb));
    EXPECT_EQ(jpeg::decode(bomb).code(), -EBADMSG);
}
