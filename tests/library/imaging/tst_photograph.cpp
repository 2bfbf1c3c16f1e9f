#include "library/imaging/photograph.h"

#include "library/imaging/jpeg.h"
#include "tests/library/imaging/pictures.h"

#include <cerrno>
#include <gtest/gtest.h>

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
    EXPECT_EQ(image.width(), 221);
    EXPECT_EQ(image.height(), 333);
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
    EXPECT_EQ(jpeg::readInfo(photograph.value()).value().dpi, 100);
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
