#include "library/jpeg/jpeg_structure.h"

#include "library/exif/exif_writer.h"
#include "library/jpeg/rework/jpeg_transform.h"
#include "tests/library/support/guarded_buffer.h"
#include "tests/library/support/pictures.h"
#include "tests/library/support/sample_pictures.h"

#include <cerrno>
#include <gtest/gtest.h>

using namespace korv;

namespace {

std::size_t markerAt(const Bytes &data, std::uint8_t marker)
{
    for (std::size_t i = 0; i + 1 < data.size(); ++i) {
        if (data[i] == 0xFF && data[i + 1] == marker)
            return i;
    }
    return data.size();
}

} // namespace

TEST(JpegFindEnd, endIsBehindTheEndMarkerWhateverFollows)
{
    Bytes data = pictures::jpegOf(pictures::page(160, 120));
    const std::size_t size = data.size();
    for (const int padding : {0x00, 0xFF, 0xD9}) {
        data.resize(size);
        data.insert(data.end(), 100, static_cast<std::uint8_t>(padding));
        const Result<std::size_t> end = testing_support::jpegEnd(data);
        ASSERT_TRUE(end);
        EXPECT_EQ(end.value(), size);
    }
}

TEST(JpegFindEnd, neverReadsPastTheLimit)
{
    const Bytes data = pictures::jpegOf(pictures::page(64, 48));
    for (std::size_t size = 0; size < data.size(); ++size) {
        const GuardedBuffer cut(ByteView(data).first(size));
        EXPECT_EQ(testing_support::jpegEnd(cut.view()).code(), -EBADMSG) << size;
        jpeg::readInfo(cut.view()).code();
    }
    const GuardedBuffer whole{ByteView(data)};
    ASSERT_TRUE(testing_support::jpegEnd(whole.view()));
    EXPECT_EQ(testing_support::jpegEnd(whole.view()).value(), data.size());
}

TEST(JpegFindEnd, videoFrameWithoutTablesIsComplete)
{
    const Bytes frame = pictures::videoFrame(pictures::page(160, 120));
    const Result<std::size_t> end = testing_support::jpegEnd(frame);
    ASSERT_TRUE(end);
    EXPECT_EQ(end.value(), frame.size() - 37);
}

TEST(JpegFindEnd, halfAFrameFollowedByTheNextIsRefused)
{
    const Bytes data = pictures::jpegOf(pictures::page(160, 120));
    Bytes half(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(data.size() / 2));
    half.insert(half.end(), data.begin(), data.end());
    EXPECT_EQ(testing_support::jpegEnd(half).code(), -EBADMSG);
}

TEST(JpegFindEnd, endMarkerInsideASegmentIsNotTheEnd)
{
    Bytes data = pictures::jpegOf(pictures::page(64, 48));
    const Bytes comment = {0xFF, 0xFE, 0, 6, 0xFF, 0xD9, 0xFF, 0xD9};
    data.insert(data.begin() + 20, comment.begin(), comment.end());
    const Result<std::size_t> end = testing_support::jpegEnd(data);
    ASSERT_TRUE(end);
    EXPECT_EQ(end.value(), data.size());
}

TEST(JpegFindEnd, brokenStructuresAreRefused)
{
    const Bytes good = pictures::jpegOf(pictures::page(64, 48));
    Bytes noScan(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(markerAt(good, 0xDA)));
    noScan.push_back(0xFF);
    noScan.push_back(0xD9);
    EXPECT_EQ(testing_support::jpegEnd(noScan).code(), -EBADMSG);

    Bytes longSegment = good;
    longSegment[4] = 0xFF;
    EXPECT_EQ(testing_support::jpegEnd(longSegment).code(), -EBADMSG);

    Bytes shortSegment = good;
    shortSegment[4] = 0;
    shortSegment[5] = 1;
    EXPECT_EQ(testing_support::jpegEnd(shortSegment).code(), -EBADMSG);

    Bytes noSize = good;
    const std::size_t frame = markerAt(good, 0xC0);
    for (std::size_t i = 5; i < 9; ++i)
        noSize[frame + i] = 0;
    EXPECT_EQ(testing_support::jpegEnd(noSize).code(), -EBADMSG);

    EXPECT_EQ(testing_support::jpegEnd(ByteView()).code(), -EBADMSG);
    EXPECT_EQ(testing_support::jpegEnd(Bytes(1000, 0xFF)).code(), -EBADMSG);
    EXPECT_EQ(testing_support::jpegEnd(Bytes{0xFF, 0xD8, 0xFF, 0xD9}).code(), -EBADMSG);
}

TEST(JpegReadInfo, sizeComponentsSamplingAndDensity)
{
    Image image = pictures::page(321, 123);
    image.setResolution(300);
    const Result<Bytes> encoded = jpeg::encode(image, {80, jpeg::Subsampling::S422});
    ASSERT_TRUE(encoded);
    const Result<jpeg::Info> info = jpeg::readInfo(encoded.value());
    ASSERT_TRUE(info);
    EXPECT_EQ(info.value().width, 321);
    EXPECT_EQ(info.value().height, 123);
    EXPECT_EQ(info.value().components, 3);
    EXPECT_EQ(info.value().resolution, 300);
    EXPECT_EQ(info.value().lumaHorizontal, 2);
    EXPECT_EQ(info.value().lumaVertical, 1);
    EXPECT_TRUE(info.value().plainChroma);
    EXPECT_FALSE(info.value().progressive);
    EXPECT_EQ(jpeg::keptSubsampling(info.value(), {}), jpeg::Subsampling::S422);
}

TEST(JpegStructure, offsetsAreWhereTheValuesLie)
{
    const Bytes data = pictures::jpegOf(pictures::page(321, 517));
    const jpeg::Structure structure = jpeg::readHeaders(data).value();
    const std::size_t height = structure.heightBytes;
    EXPECT_EQ(data[height] << 8 | data[height + 1], 517);
    EXPECT_EQ(data[structure.samplingByte], 0x22);
    EXPECT_EQ(structure.scanStart, markerAt(data, 0xDA));
    // of three components: marker, length, count, two bytes each, three more (T.81, B.2.3)
    EXPECT_EQ(structure.scanData, structure.scanStart + 2 + 2 + 1 + 3 * 2 + 3);
}

TEST(JpegReadInfo, densityPerCentimetreBecomesDpi)
{
    Image image = pictures::page(32, 32);
    image.setResolution(100);
    Bytes data = pictures::jpegOf(image);
    data[13] = 2; // the unit byte of JFIF: dots per centimetre
    const Result<jpeg::Info> info = jpeg::readInfo(data);
    ASSERT_TRUE(info);
    EXPECT_DOUBLE_EQ(info.value().resolution.x, 254);
    data[13] = 0; // an aspect ratio only
    EXPECT_EQ(jpeg::readInfo(data).value().resolution, 0);
}

TEST(JpegStructure, coarsenessFollowsTheQualityOfEncoding)
{
    for (const int quality : {10, 40, 75, 95}) {
        const Bytes data = pictures::jpegOf(pictures::page(64, 64), quality);
        const Result<jpeg::Structure> structure = jpeg::readStructure(data);
        ASSERT_TRUE(structure);
        EXPECT_TRUE(jpeg::isAsCoarseAs(structure.value(), quality)) << quality;
        EXPECT_TRUE(jpeg::isAsCoarseAs(structure.value(), quality + 5)) << quality;
        EXPECT_FALSE(jpeg::isAsCoarseAs(structure.value(), quality - 5)) << quality;
    }
}

TEST(JpegStructure, wideReadabilityNeedsEightBitsHuffmanAndUprightness)
{
    const Bytes good = pictures::jpegOf(pictures::page(64, 48));
    EXPECT_TRUE(jpeg::isWidelyReadable(jpeg::readStructure(good).value()));
    const std::size_t frame = markerAt(good, 0xC0);
    Bytes twelveBits = good;
    twelveBits[frame + 4] = 12;
    EXPECT_FALSE(jpeg::isWidelyReadable(jpeg::readStructure(twelveBits).value()));
    Bytes arithmetic = good;
    arithmetic[frame + 1] = 0xC9;
    EXPECT_FALSE(jpeg::isWidelyReadable(jpeg::readStructure(arithmetic).value()));
}

TEST(JpegReadInfo, decimalsOfTheDensityComeFromExifWhereItAgreesWithJfif)
{
    Image image = pictures::page(64, 32);
    image.setResolution({282.9, 150.3});
    const auto infoOf = [&](const Resolution &inExif) {
        const Bytes exif = exifPayload({1'700'000'000, ""}, 64, 32, inExif);
        jpeg::EncodeOptions options;
        options.exif = exif;
        return jpeg::readInfo(jpeg::encode(image, options).value()).value().resolution;
    };
    EXPECT_NEAR(infoOf({282.9, 150.3}).x, 282.9, 1e-4);
    EXPECT_NEAR(infoOf({282.9, 150.3}).y, 150.3, 1e-4);
    EXPECT_TRUE(infoOf({282.9, 150.3}).exact);
    for (const Resolution &other :
         {Resolution(72), Resolution(282.9, 100), Resolution(1, 150.3), Resolution(283, 150)}) {
        EXPECT_EQ(infoOf(other), Resolution(283, 150)) << other.x;
        EXPECT_FALSE(infoOf(other).exact) << other.x;
    }
}
