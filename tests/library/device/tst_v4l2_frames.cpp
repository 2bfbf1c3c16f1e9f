#include "library/device/v4l2/v4l2_frames.h"

#include "library/jpeg/jpeg.h"
#include "library/jpeg/jpeg_structure.h"
#include "tests/library/support/pictures.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <thread>

using namespace korv;
using testing_support::colourAt;
using testing_support::isNear;

namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;

V4l2Format jpegFormat()
{
    V4l2Format format;
    format.pixelFormat = V4L2_PIX_FMT_MJPEG;
    format.width = kWidth;
    format.height = kHeight;
    return format;
}

Bytes good()
{
    return testing_support::jpegOf(testing_support::wavyImage(kWidth, kHeight));
}

/// Without its DHT segments, as many cameras send it.
Bytes withoutHuffmanTables(const Bytes &jpeg)
{
    Bytes result(jpeg.begin(), jpeg.begin() + 2);
    std::size_t at = 2;
    while (jpeg[at + 1] != 0xDA) {
        const std::size_t length = 2 + (std::size_t{jpeg[at + 2]} << 8 | jpeg[at + 3]);
        if (jpeg[at + 1] != 0xC4)
            result.insert(result.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(at),
                          jpeg.begin() + static_cast<std::ptrdiff_t>(at + length));
        at += length;
    }
    result.insert(result.end(), jpeg.begin() + static_cast<std::ptrdiff_t>(at), jpeg.end());
    return result;
}

Bytes firstPart(const Bytes &bytes, std::size_t size)
{
    return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
}

} // namespace

TEST(V4l2Frames, completeJpegIsHandedOnWithoutACopy)
{
    V4l2Frames frames(jpegFormat());
    const Bytes jpeg = good();
    const Result<Frame> frame = frames.make(jpeg);
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame.value().jpeg.data, jpeg.data());
    EXPECT_EQ(frame.value().jpeg.size, jpeg.size());
    EXPECT_EQ(frame.value().width, kWidth);
    EXPECT_EQ(frame.value().height, kHeight);
}

TEST(V4l2Frames, paddingBehindThePictureIsCutOff)
{
    V4l2Frames frames(jpegFormat());
    const Bytes jpeg = good();
    for (const int padding : {0x00, 0xFF}) {
        Bytes padded = jpeg;
        padded.insert(padded.end(), 1000, static_cast<std::uint8_t>(padding));
        const Result<Frame> frame = frames.make(padded);
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame.value().jpeg.size, jpeg.size());
    }
}

TEST(V4l2Frames, missingHuffmanTablesArePutIn)
{
    V4l2Frames frames(jpegFormat());
    const Bytes bare = withoutHuffmanTables(good());
    ASSERT_EQ(jpeg::readStructure(bare).value().missingDcTables, 3);
    const Result<Frame> frame = frames.make(bare);
    ASSERT_TRUE(frame);
    const auto structure = jpeg::readStructure(frame.value().jpeg);
    ASSERT_TRUE(structure);
    EXPECT_EQ(structure.value().missingDcTables, 0);
    EXPECT_EQ(structure.value().missingAcTables, 0);
    const auto picture = jpeg::decode(frame.value().jpeg);
    ASSERT_TRUE(picture);
    EXPECT_TRUE(isNear(colourAt(picture.value(), 100, 100),
                       colourAt(testing_support::wavyImage(kWidth, kHeight), 100, 100)));
}

TEST(V4l2Frames, incompletePicturesAreRefused)
{
    V4l2Frames frames(jpegFormat());
    const Bytes jpeg = good();
    EXPECT_EQ(frames.make({}).code(), -EBADMSG);
    for (const std::size_t size :
         {std::size_t{1}, std::size_t{3}, std::size_t{100}, jpeg.size() / 2, jpeg.size() - 1})
        EXPECT_EQ(frames.make(firstPart(jpeg, size)).code(), -EBADMSG) << size;
    Bytes brokenStart = jpeg;
    brokenStart[0] = 0;
    EXPECT_EQ(frames.make(brokenStart).code(), -EBADMSG);
    Bytes halfAndNext = firstPart(jpeg, jpeg.size() / 2);
    halfAndNext.insert(halfAndNext.end(), jpeg.begin(), jpeg.end());
    EXPECT_EQ(frames.make(halfAndNext).code(), -EBADMSG);
    EXPECT_EQ(frames.make(Bytes(1000, 0)).code(), -EBADMSG);
}

TEST(V4l2Frames, pictureIsLabelledWithTheSizeInItsHeader)
{
    V4l2Format format = jpegFormat();
    format.width = 640;
    format.height = 480;
    V4l2Frames frames(format);
    const Bytes jpeg = good();
    const Result<Frame> frame = frames.make(jpeg);
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame.value().width, kWidth);
    EXPECT_EQ(frame.value().height, kHeight);
}

TEST(V4l2Frames, frameLongerThanItsPictureIsRefused)
{
    V4l2Frames frames(jpegFormat());
    Bytes jpeg = good();
    const Bytes comment = [] {
        Bytes segment{0xFF, 0xFE, 0xFF, 0xFF};
        segment.resize(2 + 0xFFFF, 'x');
        return segment;
    }();
    for (int i = 0; i < 4; ++i)
        jpeg.insert(jpeg.begin() + 2, comment.begin(), comment.end());
    ASSERT_GT(jpeg.size(), std::size_t{kWidth} * kHeight * 3);
    EXPECT_EQ(frames.make(jpeg).code(), -EBADMSG);
}

TEST(V4l2Frames, shortRawPictureIsRefusedAndAWholeOneEncoded)
{
    V4l2Format format = jpegFormat();
    format.pixelFormat = V4L2_PIX_FMT_YUYV;
    V4l2Frames frames(format);
    Bytes gray;
    for (int i = 0; i < kWidth * kHeight; ++i) {
        gray.push_back(180);
        gray.push_back(128);
    }
    EXPECT_EQ(frames.make(firstPart(gray, gray.size() - 4)).code(), -EBADMSG);
    const Result<Frame> frame = frames.make(gray);
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame.value().width, kWidth);
    const auto picture = jpeg::decode(frame.value().jpeg);
    ASSERT_TRUE(picture);
    // BT.601: (180 - 16) * 255 / 219
    EXPECT_TRUE(isNear(colourAt(picture.value(), 10, 10), {191, 191, 191}, 2));
}

TEST(V4l2Frames, largeRawPicturesOfTwoCamerasAreEncodedAtTheSameTime)
{
    V4l2Format format;
    format.pixelFormat = V4L2_PIX_FMT_YUYV;
    format.width = 1280;
    format.height = 722;
    const auto run = [&](std::uint8_t luma) {
        V4l2Frames frames(format);
        Bytes bytes(std::size_t{1280} * 722 * 2, 128);
        for (std::size_t i = 0; i < bytes.size(); i += 2)
            bytes[i] = luma;
        for (int i = 0; i < 5; ++i) {
            const Result<Frame> frame = frames.make(bytes);
            ASSERT_TRUE(frame);
            const auto picture = jpeg::decode(frame.value().jpeg);
            ASSERT_TRUE(picture);
            const int level = (luma - 16) * 255 / 219;
            for (const int y : {0, 360, 361, 367, 368, 721})
                EXPECT_TRUE(isNear(colourAt(picture.value(), 640, y), {level, level, level}, 2));
        }
    };
    std::thread other([&] { run(60); });
    run(180);
    other.join();
}
