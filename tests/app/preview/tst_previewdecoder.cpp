#include "app/preview/previewdecoder.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QPainter>

#include <random>

namespace {

QImage drawing(QSize size, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(size, format);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.fillRect(0, 0, size.width() / 2, size.height() / 2, Qt::red);
    painter.fillRect(size.width() / 2, size.height() / 2, size.width(), size.height(), Qt::blue);
    painter.setPen(Qt::black);
    for (int y = 5; y < size.height(); y += 17)
        painter.drawLine(0, y, size.width(), y / 2);
    return image;
}

QByteArray jpegOf(const QImage &image, int quality = 85)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPG", quality);
    return bytes;
}

bool fullVerdict(const QByteArray &bytes)
{
    return !QImage::fromData(bytes, "JPG").isNull();
}

bool ourVerdict(const QByteArray &bytes, QSize least = {640, 480})
{
    QImage image;
    return previewdecoder::decode(bytes.constData(), bytes.size(), least, image);
}

} // namespace

TEST(PreviewDecoder, takesTheSmallestReductionThatIsNotSmallerThanAskedFor)
{
    const QByteArray bytes = jpegOf(drawing({1600, 1200}));
    const struct
    {
        QSize least;
        QSize decoded;
    } rows[] = {
        {{}, {200, 150}},         {{200, 150}, {200, 150}},     {{201, 150}, {400, 300}},
        {{200, 151}, {400, 300}}, {{400, 300}, {400, 300}},     {{640, 480}, {800, 600}},
        {{801, 1}, {1600, 1200}}, {{1600, 1200}, {1600, 1200}}, {{4000, 3000}, {1600, 1200}},
    };
    for (const auto &row : rows) {
        QImage image;
        ASSERT_TRUE(previewdecoder::decode(bytes.constData(), bytes.size(), row.least, image));
        EXPECT_EQ(image.size(), row.decoded) << row.least.width() << "x" << row.least.height();
    }
}

TEST(PreviewDecoder, coloursAreThoseOfTheFullDecode)
{
    const QByteArray bytes = jpegOf(drawing({800, 600}), 95);
    QImage image;
    ASSERT_TRUE(previewdecoder::decode(bytes.constData(), bytes.size(), {800, 600}, image));
    const QImage full = QImage::fromData(bytes, "JPG").convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(image.size(), full.size());
    for (const QPoint point : {QPoint(100, 90), QPoint(600, 500), QPoint(700, 60)}) {
        EXPECT_NEAR(qRed(image.pixel(point)), qRed(full.pixel(point)), 6);
        EXPECT_NEAR(qGreen(image.pixel(point)), qGreen(full.pixel(point)), 6);
        EXPECT_NEAR(qBlue(image.pixel(point)), qBlue(full.pixel(point)), 6);
        EXPECT_EQ(qAlpha(image.pixel(point)), 255);
    }
}

TEST(PreviewDecoder, grayPictureIsDecoded)
{
    const QByteArray bytes = jpegOf(drawing({320, 240}, QImage::Format_Grayscale8));
    QImage image;
    ASSERT_TRUE(previewdecoder::decode(bytes.constData(), bytes.size(), {320, 240}, image));
    EXPECT_EQ(image.format(), QImage::Format_RGB32);
    EXPECT_EQ(qRed(image.pixel(10, 10)), qBlue(image.pixel(10, 10)));
}

TEST(PreviewDecoder, memoryIsUsedAgainForTheNextFrame)
{
    const QByteArray bytes = jpegOf(drawing({640, 480}));
    QImage image;
    ASSERT_TRUE(previewdecoder::decode(bytes.constData(), bytes.size(), {640, 480}, image));
    const uchar *pixels = image.constBits();
    ASSERT_TRUE(previewdecoder::decode(bytes.constData(), bytes.size(), {640, 480}, image));
    EXPECT_EQ(image.constBits(), pixels);
}

TEST(PreviewDecoder, pictureSomebodyStillHoldsIsNotOverwritten)
{
    const QByteArray bytes = jpegOf(drawing({64, 64}));
    QImage image;
    ASSERT_TRUE(previewdecoder::decode(bytes.constData(), bytes.size(), {64, 64}, image));
    const QImage held = image;
    const QImage before = held.copy();
    const QByteArray other = jpegOf(drawing({64, 64}).mirrored());
    ASSERT_TRUE(previewdecoder::decode(other.constData(), other.size(), {64, 64}, image));
    EXPECT_EQ(held, before);
}

TEST(PreviewDecoder, whatIsNoJpegIsRefused)
{
    QImage image;
    EXPECT_FALSE(previewdecoder::decode(nullptr, 100, {}, image));
    EXPECT_FALSE(ourVerdict(QByteArray()));
    EXPECT_FALSE(ourVerdict(QByteArray("\xff\xd8", 2)));
    EXPECT_FALSE(ourVerdict(QByteArray(1000, '\0')));
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    drawing({32, 32}).save(&buffer, "PNG");
    EXPECT_EQ(ourVerdict(png), fullVerdict(png));
    EXPECT_FALSE(ourVerdict(png));
}

// Many cameras put stray bytes before the end of every frame: a line for each would fill the terminal.
TEST(PreviewDecoder, damageIsPassedOverInSilence)
{
    static int messages;
    messages = 0;
    const QtMessageHandler before = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &) { ++messages; });
    testing::internal::CaptureStderr();
    QByteArray bytes = jpegOf(drawing({160, 120}));
    bytes.insert(bytes.size() - 2, "\x12\x34\x56", 3);
    EXPECT_TRUE(ourVerdict(bytes));
    EXPECT_TRUE(ourVerdict(bytes.left(bytes.size() / 2)));
    EXPECT_FALSE(ourVerdict(bytes.left(40)));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    qInstallMessageHandler(before);
    EXPECT_EQ(messages, 0);
}

// Truncation and damage mostly still decode; what counts is that both decoders agree.
TEST(PreviewDecoder, verdictAgreesWithAFullDecodeOnDamagedFrames)
{
    const QByteArray sources[] = {jpegOf(drawing({160, 120})), jpegOf(drawing({33, 17}), 30),
                                  jpegOf(drawing({64, 64}, QImage::Format_Grayscale8))};
    std::mt19937 random(20240601);
    int valid = 0;
    int invalid = 0;
    for (const QByteArray &source : sources) {
        for (int round = 0; round < 700; ++round) {
            QByteArray bytes = source;
            const auto below = [&random](int limit) {
                return static_cast<int>(random() % static_cast<unsigned>(limit));
            };
            if (round % 4 == 0)
                bytes.truncate(below(bytes.size()));
            // Headers decide most verdicts, so most of the damage goes there.
            const int area = round % 3 == 0 ? bytes.size() : qMin(bytes.size(), 640);
            for (int change = below(4); change >= 0 && area > 0; --change)
                bytes[below(area)] = static_cast<char>(random());
            const bool expected = fullVerdict(bytes);
            ASSERT_EQ(ourVerdict(bytes, {80, 60}), expected) << "round " << round;
            ASSERT_EQ(ourVerdict(bytes, {}), expected) << "round " << round;
            (expected ? valid : invalid) += 1;
        }
    }
    EXPECT_GT(valid, 100);
    EXPECT_GT(invalid, 100);
}
