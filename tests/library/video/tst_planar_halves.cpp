// Video pictures that are coded in two halves, compared with the same ones coded in one piece.
#include "library/jpeg/jpeg.h"
#include "library/jpeg/jpeg_trap.h"
#include "library/photograph/photograph.h"
#include "library/video/jpeg_halves.h"
#include "library/video/planar_jpeg.h"
#include "tests/library/support/folder_entries.h"
#include "tests/library/support/guarded_buffer.h"
#include "tests/library/support/pictures.h"
#include "tests/library/support/sample_pictures.h"
#include "tests/library/support/wait.h"

#include <array>
#include <cerrno>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

using namespace korv;
using testing_support::threadCount;
using testing_support::threadCountAtRest;

namespace {

constexpr int kQuality = 95;
constexpr int kAlways = 1;
constexpr int kNever = std::numeric_limits<int>::max();

/// A picture and its bytes, which are noise: every sample counts, and the JPEG is longer than any
/// guess.
struct Noise
{
    Bytes bytes;
    VideoPicture picture;

    Noise(VideoLayout layout, int width, int height)
        : picture{{}, layout, width, height, leastStride(layout, width) + 6, false}
    {
        bytes.resize(videoPictureSize(picture));
        std::uint32_t state = 1;
        for (std::uint8_t &byte : bytes) {
            state = state * 1664525 + 1013904223;
            byte = static_cast<std::uint8_t>(state >> 24);
        }
        picture.bytes = bytes;
    }
};

/// What a decoder that reports every doubt has to say.
struct Decoded
{
    bool complete = false;
    long warnings = 0;
    unsigned restartInterval = 0;
};

Decoded decodedStrictly(ByteView data)
{
    Decoded result;
    jpeg::ErrorTrap trap;
    jpeg_decompress_struct state{};
    state.err = trap.manager();
    std::vector<JSAMPLE> row;
    result.complete = trap.run([&] {
        jpeg_create_decompress(&state);
        state.client_data = &trap;
        jpeg_mem_src(&state, data.data, static_cast<unsigned long>(data.size));
        jpeg_read_header(&state, TRUE);
        result.restartInterval = state.restart_interval;
        jpeg_start_decompress(&state);
        row.resize(std::size_t{state.output_width} * 3);
        while (state.output_scanline < state.output_height) {
            JSAMPROW out = row.data();
            jpeg_read_scanlines(&state, &out, 1);
        }
        jpeg_finish_decompress(&state);
    });
    result.warnings = trap.manager()->num_warnings;
    jpeg_destroy_decompress(&state);
    return result;
}

/// Markers RST0 to RST7; coded data have none of these by chance (T.81, F.1.2.3), nor has what
/// libjpeg writes in front of them.
int restartMarkers(ByteView jpeg)
{
    int count = 0;
    for (std::size_t i = 0; i + 1 < jpeg.size; ++i)
        count += jpeg[i] == 0xFF && (jpeg[i + 1] & 0xF8) == 0xD0 ? 1 : 0;
    return count;
}

int mcuHeight(VideoLayout layout)
{
    if (layout == VideoLayout::Nv12 || layout == VideoLayout::Yu12 || layout == VideoLayout::Rgb24)
        return 16;
    return 8;
}

Bytes copyOf(const Result<ByteView> &jpeg)
{
    return jpeg ? Bytes(jpeg.value().begin(), jpeg.value().end()) : Bytes();
}

class PlanarHalves : public testing::TestWithParam<VideoLayout>
{
};

INSTANTIATE_TEST_SUITE_P(Layouts, PlanarHalves,
                         testing::Values(VideoLayout::Yuyv, VideoLayout::Uyvy, VideoLayout::Nv12,
                                         VideoLayout::Yu12, VideoLayout::Rgb24, VideoLayout::Gray));

} // namespace

TEST_P(PlanarHalves, pixelsAreThoseOfOnePieceWhateverTheSizesInARow)
{
    PlanarJpegEncoder halves(kQuality, kAlways);
    PlanarJpegEncoder one(kQuality, kNever);
    for (const auto &[width, height] : std::vector<std::array<int, 2>>{{64, 64},
                                                                       {1, 1},
                                                                       {1, 17},
                                                                       {17, 8},
                                                                       {17, 9},
                                                                       {16, 16},
                                                                       {33, 18},
                                                                       {33, 24},
                                                                       {40, 25},
                                                                       {31, 47},
                                                                       {300, 33},
                                                                       {66, 49},
                                                                       {2, 200},
                                                                       {321, 240}}) {
        SCOPED_TRACE(testing::Message() << width << "x" << height);
        const Noise noise(GetParam(), width, height);
        const GuardedBuffer guarded(noise.picture.bytes);
        VideoPicture picture = noise.picture;
        picture.bytes = guarded.view();
        const Bytes jpeg = copyOf(halves.encode(picture));
        const Bytes whole = copyOf(one.encode(picture));
        const bool hasTwo = height > mcuHeight(GetParam());
        EXPECT_EQ(restartMarkers(jpeg), hasTwo ? 1 : 0);
        EXPECT_EQ(restartMarkers(whole), 0);
        EXPECT_EQ(testing_support::jpegEnd(jpeg).value(), jpeg.size());
        const Decoded decoded = decodedStrictly(jpeg);
        EXPECT_TRUE(decoded.complete);
        EXPECT_EQ(decoded.warnings, 0);
        EXPECT_EQ(decoded.restartInterval != 0, hasTwo);
        EXPECT_EQ(decodedStrictly(whole).restartInterval, 0U);
        const Result<Image> expected = jpeg::decode(whole);
        ASSERT_TRUE(expected);
        EXPECT_TRUE(pictures::same(jpeg::decode(jpeg).value(), expected.value()));
    }
}

TEST_P(PlanarHalves, jpegLongerThanTheRoomTakenForIt)
{
    const Noise noise(GetParam(), 400, 300);
    PlanarJpegEncoder halves(100, kAlways);
    PlanarJpegEncoder one(100, kNever);
    const Bytes jpeg = copyOf(halves.encode(noise.picture));
    EXPECT_GT(jpeg.size(), 2 * (noise.bytes.size() / 4 + 4096));
    EXPECT_EQ(decodedStrictly(jpeg).warnings, 0);
    EXPECT_TRUE(pictures::same(jpeg::decode(jpeg).value(),
                               jpeg::decode(one.encode(noise.picture).value()).value()));
    EXPECT_EQ(copyOf(halves.encode(noise.picture)), jpeg); // and now that the room is there
}

TEST_P(PlanarHalves, pictureThatIsRefusedChangesNothing)
{
    const Noise noise(GetParam(), 64, 64);
    PlanarJpegEncoder halves(kQuality, kAlways);
    const Bytes jpeg = copyOf(halves.encode(noise.picture));
    VideoPicture wrong = noise.picture;
    wrong.bytes.size -= 1;
    EXPECT_EQ(halves.encode(wrong).code(), -EBADMSG);
    wrong = noise.picture;
    wrong.stride = leastStride(GetParam(), 64) - 1;
    EXPECT_EQ(halves.encode(wrong).code(), -EINVAL);
    EXPECT_EQ(copyOf(halves.encode(noise.picture)), jpeg);
}

TEST(PlanarHalvesLimits, restartIntervalIsAllThatTwoBytesCanSay)
{
    // 257 blocks in a row, and 255 rows of them are 65535
    PlanarJpegEncoder encoder(50, kAlways);
    for (const auto &[height, interval] :
         {std::array<unsigned, 2>{4080, 65535}, {4081, 0}, {4073, 65535}, {4064, 65278}}) {
        const int rows = static_cast<int>(height);
        const Bytes bytes(std::size_t{2056} * height, 100);
        const Result<ByteView> jpeg =
            encoder.encode({bytes, VideoLayout::Gray, 2056, rows, 2056, true});
        ASSERT_TRUE(jpeg);
        EXPECT_EQ(restartMarkers(jpeg.value()), interval == 0 ? 0 : 1);
        const Decoded decoded = decodedStrictly(jpeg.value());
        EXPECT_EQ(decoded.restartInterval, interval);
        EXPECT_TRUE(decoded.complete && decoded.warnings == 0) << height;
        EXPECT_EQ(jpeg::readInfo(jpeg.value()).value().height, rows);
    }
}

TEST(PlanarHalvesLimits, smallPicturesStayInOnePieceAndTakeNoThread)
{
    const Noise large(VideoLayout::Yuyv, 1280, 720);
    const Noise small(VideoLayout::Yuyv, 320, 240);
    const std::ptrdiff_t before = threadCountAtRest();
    {
        PlanarJpegEncoder encoder(kQuality);
        EXPECT_EQ(restartMarkers(encoder.encode(small.picture).value()), 0);
        EXPECT_EQ(threadCount(), before);
        EXPECT_EQ(restartMarkers(encoder.encode(large.picture).value()), 1);
        EXPECT_EQ(restartMarkers(encoder.encode(small.picture).value()), 0);
        EXPECT_EQ(restartMarkers(encoder.encode(large.picture).value()), 1);
        EXPECT_LE(threadCount(), before + 1);
    }
    EXPECT_TRUE(testing_support::becomesTrue([=] { return threadCount() == before; }));
}

TEST(PlanarHalvesPhotograph, keepsEveryByteWhenNothingIsToBeChanged)
{
    const Bytes frame = pictures::jpegInHalves(pictures::page(160, 120));
    ASSERT_EQ(restartMarkers(frame), 1);
    EXPECT_EQ(makePhotograph(frame, {}).value(), frame);
}

TEST(PlanarHalvesPhotograph, changedOneIsTheSameFileAsFromOnePiece)
{
    // turned and coarser without a decode, and with one where the edge is no whole block
    for (const int width : {320, 333}) {
        const Image page = pictures::page(width, 240);
        const Bytes halves = pictures::jpegInHalves(page);
        const Bytes whole = pictures::jpegOf(page);
        ASSERT_EQ(restartMarkers(halves), 1);
        ASSERT_EQ(restartMarkers(whole), 0);
        for (const Rotation rotation : {Rotation::None, Rotation::Left90, Rotation::Half}) {
            for (const ColourStyle colour :
                 {ColourStyle::Colour, ColourStyle::Gray, ColourStyle::Lineart}) {
                for (const int quality : {95, 40}) {
                    PhotographOptions options;
                    options.rotation = rotation;
                    options.colour = colour;
                    options.quality = quality;
                    if (rotation == Rotation::None && colour == ColourStyle::Colour
                        && quality == 95)
                        continue; // passes through
                    const Result<Bytes> photograph = makePhotograph(halves, options);
                    ASSERT_TRUE(photograph);
                    EXPECT_EQ(decodedStrictly(photograph.value()).restartInterval, 0U);
                    EXPECT_EQ(photograph.value(), makePhotograph(whole, options).value());
                }
            }
        }
    }
}

TEST(JoinHalves, whatIsNoJpegIsRefused)
{
    const Bytes bytes(100, 0xFF);
    const Bytes good = pictures::jpegOf(pictures::page(16, 16));
    jpeg::ByteDestination upper(0);
    EXPECT_EQ(jpeg::joinHalves(upper, good, 32).code(), -EBADMSG);
    upper.append(good);
    EXPECT_EQ(jpeg::joinHalves(upper, bytes, 32).code(), -EBADMSG);
    EXPECT_EQ(Bytes(upper.written().begin(), upper.written().end()), good);
}
