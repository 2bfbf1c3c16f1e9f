#include "settings/workarguments.h"

#include "settings/captureoptions.h"
#include "tests/support/qt_printing.h"
#include "tests/support/temp_home.h"

#include <QDir>
#include <gmock/gmock.h>

namespace {

class WorkArguments : public testing::Test
{
protected:
    WorkArguments() { argv.typelist = captureoptions::fileTypes(); }

    void readBack()
    {
        backupSetting settings(file);
        workarguments::read(settings, argv);
    }

    void store(const char *group, const char *key, const QVariant &value)
    {
        backupSetting(file).setValue(QString::fromUtf8(group), QString::fromUtf8(key), value);
    }

    void expectDefaults()
    {
        EXPECT_EQ(argv.type, QStringLiteral("jpg"));
        EXPECT_FALSE(argv.multpage);
        EXPECT_EQ(argv.quality, 95);
        EXPECT_EQ(argv.path.toStdString(), home.home().string());
        EXPECT_EQ(argv.crop_type, QStringLiteral("无"));
        EXPECT_EQ(argv.color, 0);
        EXPECT_EQ(argv.rotate, QStringLiteral("无"));
    }

    support::TempHome home;
    const QString file = workarguments::settingsFileName(
        QString::fromStdString(home.scratch().string()), 0x1b17, 0x0211);
    const workarguments::Shown shown{
        QStringLiteral("1920*1080"), QStringLiteral("/保存"),   QStringLiteral("pdf"), true, 2,
        QStringLiteral("自动裁切"),  QStringLiteral("右旋90度")};
    _tag_file_argv argv;
};

} // namespace

TEST_F(WorkArguments, fileIsNamedByIdsInLowerCaseHexadecimal)
{
    using workarguments::settingsFileName;
    const QString folder = QStringLiteral("/h/.config/vexalin/plixo-base//backup");
    EXPECT_EQ(settingsFileName(folder, 0x1B17, 0x0211), folder + "/1b17*211.ini");
    EXPECT_EQ(settingsFileName(folder, 0x0A, 0x1), folder + "/a*1.ini");
    EXPECT_EQ(settingsFileName(folder, 0, 0), folder + "/0*0.ini");
    EXPECT_EQ(settingsFileName(QStringLiteral("/%1%2"), 10, 11), QStringLiteral("/%1%2/a*b.ini"));
}

TEST_F(WorkArguments, nineKeysAreWritten)
{
    {
        backupSetting settings(file);
        workarguments::write(settings, 0x0A, 0x1, shown);
    }
    // Chinese texts in the escapes of the INI format, digits behind one as well
    EXPECT_EQ(support::readFile(file.toStdString()),
              "[device]\n"
              "pid=1\n"
              "res=1920*1080\n"
              "vid=a\n"
              "\n"
              "[file]\n"
              "multpage=true\n"
              "path=/\\x4fdd\\x5b58\n"
              "type=pdf\n"
              "\n"
              "[image]\n"
              "color=2\n"
              "crop-type=\\x81ea\\x52a8\\x88c1\\x5207\n"
              "rotate=\\x53f3\\x65cb\\x39\\x30\\x5ea6\n");
}

TEST_F(WorkArguments, everythingWrittenIsReadBack)
{
    {
        backupSetting settings(file);
        workarguments::write(settings, 0x0A, 0x1, shown);
    }
    readBack();
    EXPECT_EQ(argv.type, shown.type);
    EXPECT_TRUE(argv.multpage);
    EXPECT_EQ(argv.path, shown.path);
    EXPECT_EQ(argv.crop_type, shown.cropType);
    EXPECT_EQ(argv.color, 2);
    EXPECT_EQ(argv.rotate, shown.rotate);
    backupSetting settings(file);
    EXPECT_EQ(workarguments::savedResolution(settings), shown.resolution);
}

TEST_F(WorkArguments, emptySelectorsAreWrittenAsEmptyTexts)
{
    {
        backupSetting settings(file);
        workarguments::write(settings, 1, 2, {});
    }
    backupSetting settings(file);
    EXPECT_TRUE(settings.isContain(QStringLiteral("device"), QStringLiteral("res")));
    EXPECT_EQ(workarguments::savedResolution(settings), QString());
    workarguments::read(settings, argv);
    EXPECT_EQ(argv.type, QStringLiteral("jpg"));
    // present, if empty: not the default
    EXPECT_EQ(argv.crop_type, QString());
    EXPECT_EQ(argv.path, QString());
}

TEST_F(WorkArguments, qualityIsNeverWritten)
{
    store("file", "quality", 40);
    {
        backupSetting settings(file);
        workarguments::write(settings, 1, 2, shown);
    }
    readBack();
    EXPECT_EQ(argv.quality, 40);
}

TEST_F(WorkArguments, unknownModelGetsTheDefaults)
{
    argv.multpage = true;
    argv.quality = 1;
    argv.color = 2;
    argv.type = argv.path = argv.crop_type = argv.rotate = QStringLiteral("stale");
    readBack();
    expectDefaults();
    backupSetting settings(file);
    EXPECT_EQ(workarguments::savedResolution(settings), QString());
}

TEST_F(WorkArguments, pathIsEmptyWithoutAHome)
{
    const support::ScopedVariable without{"HOME", std::nullopt};
    readBack();
    EXPECT_EQ(argv.path, QString());
}

TEST_F(WorkArguments, typeThatIsNotOfferedBecomesTheFirst)
{
    store("file", "type", QStringLiteral("gif"));
    readBack();
    EXPECT_EQ(argv.type, QStringLiteral("jpg"));
    store("file", "type", QStringLiteral("PDF"));
    readBack();
    EXPECT_EQ(argv.type, QStringLiteral("jpg"));
    store("file", "type", QStringLiteral("tiff"));
    readBack();
    EXPECT_EQ(argv.type, QStringLiteral("tiff"));
}

TEST_F(WorkArguments, withoutOfferedTypesThereIsNone)
{
    argv.typelist.clear();
    store("file", "type", QStringLiteral("pdf"));
    readBack();
    EXPECT_EQ(argv.type, QString());
}

TEST_F(WorkArguments, valuesOfTheWrongTypeAreConverted)
{
    store("file", "quality", QStringLiteral("much"));
    store("file", "multpage", QStringLiteral("1"));
    store("image", "color", QStringLiteral("7"));
    readBack();
    EXPECT_EQ(argv.quality, 0);
    EXPECT_TRUE(argv.multpage);
    EXPECT_EQ(argv.color, 7);
}

TEST_F(WorkArguments, readingTouchesNothingElse)
{
    argv.thumkey = 5;
    argv.fileno = 6;
    argv.thumlist.push_back({1, QStringLiteral("0001"), QStringLiteral("/a")});
    readBack();
    EXPECT_EQ(argv.thumkey, 5);
    EXPECT_EQ(argv.fileno, 6);
    EXPECT_EQ(argv.thumlist.size(), 1U);
    EXPECT_FALSE(QFile::exists(file));
}

TEST_F(WorkArguments, camerasOfOneModelShareTheLastSaved)
{
    workarguments::Shown second = shown;
    second.type = QStringLiteral("png");
    for (const auto &each : {shown, second}) {
        backupSetting settings(file);
        workarguments::write(settings, 0x1b17, 0x0211, each);
    }
    readBack();
    EXPECT_EQ(argv.type, QStringLiteral("png"));
    EXPECT_EQ(QDir(QString::fromStdString(home.scratch().string())).entryList(QDir::Files).size(),
              1);
}
