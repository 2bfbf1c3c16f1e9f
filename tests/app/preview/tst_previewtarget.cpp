#include "app/preview/previewrenderer.h"
#include "tests/support/qt_printing.h"

#include <QBuffer>
#include <QImage>
#include <gtest/gtest.h>

using previewgeometry::Turn;

namespace {

QByteArray jpegOf(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::blue);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPG");
    return bytes;
}

} // namespace

TEST(PreviewTarget, startsWithoutAnArea)
{
    EXPECT_TRUE(PreviewTarget().get().area.isEmpty());
}

TEST(PreviewTarget, keepsWhatItWasTold)
{
    PreviewTarget target;
    for (const Turn turn : {Turn::None, Turn::Left90, Turn::Right90, Turn::Half}) {
        for (const double density : {1.0, 1.25, 1.5, 2.0, 3.0}) {
            target.set({turn, QSize(686, 508), density});
            EXPECT_EQ(target.get().turn, turn);
            EXPECT_EQ(target.get().area, QSize(686, 508));
            EXPECT_EQ(target.get().density, density);
        }
    }
}

TEST(PreviewTarget, boundsWhatNoScreenHas)
{
    PreviewTarget target;
    target.set({Turn::Half, QSize(70000, -3), 1e9});
    EXPECT_EQ(target.get().turn, Turn::Half);
    EXPECT_EQ(target.get().area, QSize(65535, 0));
    EXPECT_EQ(target.get().density, 64);
    target.set({Turn::None, QSize(10, 10), 0});
    EXPECT_GT(target.get().density, 0);
}

TEST(PreviewTarget, roundedDensityIsTheSameAgain)
{
    PreviewTarget target;
    target.set({Turn::None, QSize(640, 480), 1.1});
    const PreviewTarget::Value once = target.get();
    target.set(once);
    EXPECT_EQ(target.get().density, once.density);
    EXPECT_NEAR(once.density, 1.1, 0.005);
}

TEST(PreviewRendererDensity, pictureHasThePixelsOfTheScreen)
{
    const QByteArray frame = jpegOf({1600, 1200});
    const QSize reported(1600, 1200);
    PreviewRenderer renderer;
    PreviewPicture picture;
    for (const auto &[density, pixels] : std::vector<std::pair<double, QSize>>{
             {1, {640, 480}}, {1.5, {960, 720}}, {2, {1280, 960}}}) {
        const PreviewTarget::Value target{Turn::None, QSize(640, 480), density};
        ASSERT_TRUE(renderer.render(frame.constData(), frame.size(), reported, target, picture));
        EXPECT_EQ(picture.image.size(), pixels);
        EXPECT_EQ(picture.area, QSize(640, 480));
        EXPECT_TRUE(picture.isMadeFor(reported, target));
    }
}

TEST(PreviewRendererDensity, pictureOfAnotherDensityIsMadeAnew)
{
    const QByteArray frame = jpegOf({64, 48});
    PreviewRenderer renderer;
    PreviewPicture picture;
    PreviewTarget::Value target{Turn::Right90, QSize(300, 300), 2};
    ASSERT_TRUE(renderer.render(frame.constData(), frame.size(), {64, 48}, target, picture));
    EXPECT_EQ(picture.image.size(),
              previewgeometry::fitted({64, 48}, target.turn, target.area).size() * 2);
    target.density = 1;
    EXPECT_FALSE(picture.isMadeFor({64, 48}, target));
}
