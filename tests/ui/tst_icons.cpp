#include <QDir>
#include <QFile>
#include <QIcon>
#include <QImage>
#include <QResource>
#include <gmock/gmock.h>
#include <set>

namespace {

class Icons : public testing::TestWithParam<const char *>
{
protected:
    const QString path = QString::fromLatin1(GetParam());
};

} // namespace

TEST_P(Icons, isAnUncompressedJfifFile)
{
    const QResource resource(path);
    ASSERT_TRUE(resource.isValid());
    EXPECT_EQ(resource.compressionAlgorithm(), QResource::NoCompression);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray content = file.readAll();
    // start of image, application segment 0 with its name: JFIF 1.02, "JFIF file syntax"
    EXPECT_EQ(content.left(4).toHex(), "ffd8ffe0");
    EXPECT_EQ(content.mid(6, 5), QByteArray("JFIF\0", 5));
}

TEST_P(Icons, showsSomethingAtButtonSize)
{
    const QImage image =
        QIcon(path).pixmap(30, 30).toImage().convertToFormat(QImage::Format_Grayscale8);
    ASSERT_EQ(image.size(), QSize(30, 30));
    int bright = 0;
    int dark = 0;
    for (int y = 0; y < 30; ++y) {
        for (int x = 0; x < 30; ++x) {
            bright += qGray(image.pixel(x, y)) > 200 ? 1 : 0;
            dark += qGray(image.pixel(x, y)) < 120 ? 1 : 0;
        }
    }
    // a drawing in light on dark: plenty of both
    EXPECT_GT(bright, 90);
    EXPECT_GT(dark, 90);
}

INSTANTIATE_TEST_SUITE_P(All, Icons,
                         testing::Values(":/icon/title.jpg", ":/icon/setting", ":/icon/save.jpeg",
                                         ":/icon/photograph"),
                         [](const auto &test) {
                             std::string name = test.param + std::string(":/icon/").size();
                             return name.substr(0, name.find('.'));
                         });

TEST(IconFolder, holdsTheFourPicturesAndNothingElse)
{
    const QStringList names = QDir(QStringLiteral(":/icon")).entryList();
    EXPECT_EQ(std::set<QString>(names.begin(), names.end()),
              (std::set<QString>{QStringLiteral("title.jpg"), QStringLiteral("setting"),
                                 QStringLiteral("save.jpeg"), QStringLiteral("photograph")}));
}
