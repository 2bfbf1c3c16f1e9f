#include "settings/foreignvalues.h"

#include "settings/backupsetting.h"
#include "tests/support/qt_printing.h"
#include "tests/support/temp_home.h"

#include <QFile>
#include <filesystem>
#include <gmock/gmock.h>
#include <vector>

namespace {

// a list of texts that is 2 147 483 647 entries long
constexpr char kHugeList[] =
    R"([file]
type=@Variant(\0\0\0\xb\x7f\xff\xff\xff)
)";

class ForeignValues : public testing::Test
{
protected:
    QString stored(const std::string &content)
    {
        return QString::fromStdString(home.write("a*1.ini", content).string());
    }

    static QString typeIn(const QString &file)
    {
        backupSetting settings(foreignvalues::putAside(file));
        return settings.value(QStringLiteral("file"), QStringLiteral("type"), QStringLiteral("jpg"))
            .toString();
    }

    support::TempHome home;
};

} // namespace

TEST_F(ForeignValues, hugeListInASettingsFileTakesNoMemory)
{
    const QString file = stored(kHugeList);
    EXPECT_EQ(typeIn(file), QStringLiteral("jpg"));
    EXPECT_EQ(support::readFile((file + QStringLiteral(".bad")).toStdString()), kHugeList);
    EXPECT_FALSE(QFile::exists(file));
}

TEST_F(ForeignValues, settingsStartAnewBesideTheBadFile)
{
    const QString file = stored(kHugeList);
    {
        backupSetting settings(foreignvalues::putAside(file));
        EXPECT_EQ(settings.path(), file);
        settings.setValue(QStringLiteral("file"), QStringLiteral("type"), QStringLiteral("pdf"));
    }
    EXPECT_EQ(typeIn(file), QStringLiteral("pdf"));
    // a second bad file takes the first one's place
    stored(kHugeList);
    EXPECT_EQ(typeIn(file), QStringLiteral("jpg"));
    EXPECT_FALSE(QFile::exists(file));
}

TEST_F(ForeignValues, areSeenThroughEscapesQuotesAndLists)
{
    for (const char *ini : {
             "a=@Variant(x)",
             "a = \"@Variant(x)\"",
             "a=b, @Variant(x)",
             R"(a=\x40Variant(x))",
             R"(a=\100Variant(x))",
             R"(a=@\x56\x61riant(x))",
             R"(a=\x10040Variant(x))",
             R"(a=@\qVariant(x))",
             "a=@Vari\\\nant(x)",
             "a=@Vari\\\r\nant(x)",
             "a=\"@Vari\" ant(x)",
             "a=@DateTime(x)",
         })
        EXPECT_TRUE(foreignvalues::areIn(ini)) << ini;
}

TEST_F(ForeignValues, ownValuesAreNotMistakenForThem)
{
    {
        backupSetting settings(QString::fromStdString((home.scratch() / "own.ini").string()));
        int number = 0;
        for (const QVariant &value :
             {QVariant(QStringLiteral("@Variant(x)")), QVariant(QStringLiteral("/a@Variant(x)")),
              QVariant(QStringLiteral("保存@DateTime(")), QVariant(true), QVariant(95),
              QVariant(QStringLiteral("a,b;\"c\"=\\@"))})
            settings.setValue(QStringLiteral("file"), QString::number(++number), value);
    }
    const QByteArray written =
        QByteArray::fromStdString(support::readFile(home.scratch() / "own.ini"));
    EXPECT_TRUE(written.contains("@@Variant(x)")) << written.toStdString();
    EXPECT_FALSE(foreignvalues::areIn(written)) << written.toStdString();
    for (const char *ini : {"", "\\", "a=\\", "a=\\x", "a=@variant(", "a=@Variant", "a=x@Variant(",
                            "a=@Vari\nant(", "a=@Vari\\aant("})
        EXPECT_FALSE(foreignvalues::areIn(ini)) << ini;
}

TEST_F(ForeignValues, fileThatCannotBeRenamedIsNotRead)
{
    const QString file = stored(kHugeList);
    // a folder that holds something cannot be replaced
    std::filesystem::create_directories((file + QStringLiteral(".bad/full")).toStdString());
    EXPECT_EQ(typeIn(file), QStringLiteral("jpg"));
    EXPECT_EQ(support::readFile(file.toStdString()), kHugeList);
}
