#include "settings/backupsetting.h"

#include "tests/support/qt_printing.h"
#include "tests/support/temp_home.h"

#include <QDateTime>
#include <QFile>
#include <QPoint>
#include <gmock/gmock.h>
#include <memory>
#include <sys/stat.h>

namespace {

class BackupSetting : public testing::Test
{
protected:
    QString typeIn(const char *otherGroup, const char *otherwise = "default")
    {
        return backupSetting(file)
            .value(QString::fromUtf8(otherGroup), key, QString::fromUtf8(otherwise))
            .toString();
    }

    support::TempHome home;
    const QString file = QString::fromStdString((home.scratch() / "a*1.ini").string());
    const QString group = QStringLiteral("file");
    const QString key = QStringLiteral("type");
};

} // namespace

TEST_F(BackupSetting, pathIsTheFileName)
{
    EXPECT_EQ(backupSetting(file).path(), file);
}

TEST_F(BackupSetting, missingFileYieldsDefaultsAndIsNotCreated)
{
    EXPECT_EQ(typeIn("file", "jpg"), QStringLiteral("jpg"));
    EXPECT_FALSE(backupSetting(file).isContain(group, key));
    EXPECT_FALSE(QFile::exists(file));
}

TEST_F(BackupSetting, destructionWritesTheFile)
{
    {
        backupSetting settings(file);
        settings.setValue(group, key, QStringLiteral("pdf"));
        EXPECT_EQ(settings.value(group, key, QString()), QVariant(QStringLiteral("pdf")));
        EXPECT_FALSE(QFile::exists(file));
    }
    EXPECT_EQ(support::readFile(file.toStdString()), "[file]\ntype=pdf\n");
    EXPECT_EQ(typeIn("file"), QStringLiteral("pdf"));
}

TEST_F(BackupSetting, groupsKeepKeysApart)
{
    {
        backupSetting settings(file);
        settings.setValue(QStringLiteral("a"), key, 1);
        settings.setValue(QStringLiteral("b"), key, 2);
    }
    EXPECT_EQ(typeIn("a"), QStringLiteral("1"));
    EXPECT_EQ(typeIn("b"), QStringLiteral("2"));
    EXPECT_EQ(typeIn(""), QStringLiteral("default"));
}

TEST_F(BackupSetting, operationsLeaveNoGroupOpen)
{
    backupSetting settings(file);
    settings.setValue(group, key, 1);
    settings.isContain(group, key);
    settings.value(group, key, 0);
    settings.remove(group, QStringLiteral("other"));
    settings.setValue(QStringLiteral("image"), QStringLiteral("color"), 2);
    settings.sync();
    EXPECT_EQ(support::readFile(file.toStdString()), "[file]\ntype=1\n\n[image]\ncolor=2\n");
}

TEST_F(BackupSetting, removeForgetsOneKey)
{
    backupSetting settings(file);
    settings.setValue(group, key, QStringLiteral("pdf"));
    settings.setValue(group, QStringLiteral("path"), QStringLiteral("/a"));
    settings.remove(group, key);
    EXPECT_FALSE(settings.isContain(group, key));
    EXPECT_TRUE(settings.isContain(group, QStringLiteral("path")));
    EXPECT_EQ(settings.value(group, key, QStringLiteral("jpg")).toString(), QStringLiteral("jpg"));
}

TEST_F(BackupSetting, syncMeetsOtherWriters)
{
    backupSetting one(file);
    backupSetting other(file);
    one.setValue(group, key, QStringLiteral("ofd"));
    one.sync();
    other.sync();
    EXPECT_EQ(other.value(group, key, QString()).toString(), QStringLiteral("ofd"));
}

TEST_F(BackupSetting, textsOutsideAsciiComeBackUnchanged)
{
    const QStringList texts{QStringLiteral("无"),         QStringLiteral("左旋90度"),
                            QStringLiteral("自动裁切"),   QStringLiteral("a, b;\"c\"=\\%1\t"),
                            QStringLiteral("@Invalid()"), QStringLiteral(" 前后 ")};
    {
        backupSetting settings(file);
        for (int i = 0; i < texts.size(); ++i)
            settings.setValue(group, QString::number(i), texts[i]);
    }
    backupSetting settings(file);
    for (int i = 0; i < texts.size(); ++i)
        EXPECT_EQ(settings.value(group, QString::number(i), QString()).toString(), texts[i]);
}

TEST_F(BackupSetting, valuesOfEveryTypeComeBack)
{
    for (const QVariant &value :
         {QVariant(QPoint(3, 4)), QVariant(2.5F), QVariant(QDate(2026, 1, 2)),
          QVariant(QDateTime(QDate(2026, 1, 2), QTime(3, 4))), QVariant(QVariantMap{{key, 5}})}) {
        SCOPED_TRACE(value.typeName());
        QFile::remove(file);
        backupSetting(file).setValue(group, key, value);
        EXPECT_EQ(backupSetting(file).value(group, key, QVariant()), value);
    }
}

TEST_F(BackupSetting, writeErrorsAreSilent)
{
    // a folder stands where the file should be
    const QString blocked = QString::fromStdString(home.scratch().string());
    {
        backupSetting settings(blocked);
        settings.setValue(group, key, 1);
    }
    EXPECT_FALSE(backupSetting(blocked).isContain(group, key));
}

TEST_F(BackupSetting, organizationsFilesAreReachedToo)
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope,
                       QString::fromStdString(home.scratch().string()));
    {
        backupSetting settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("org"),
                               QStringLiteral("app"), nullptr);
        EXPECT_EQ(settings.path(),
                  QString::fromStdString((home.scratch() / "org" / "app.ini").string()));
        settings.setValue(group, key, 1);
    }
    EXPECT_EQ(support::readFile(home.scratch() / "org" / "app.ini"), "[file]\ntype=1\n");
}

TEST_F(BackupSetting, parentMayBeFaster)
{
    auto parent = std::make_unique<QObject>();
    const backupSetting settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("org"),
                                 QStringLiteral("app"), parent.get());
    EXPECT_EQ(parent->children().size(), 1);
    parent.reset();
}
