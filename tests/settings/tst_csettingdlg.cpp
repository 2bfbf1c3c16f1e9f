#include "settings/csettingdlg.h"

#include "tests/support/qt_printing.h"
#include "tests/support/surroundings.h"
#include "tests/support/temp_home.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMetaMethod>
#include <QPushButton>
#include <QSlider>
#include <QTabWidget>
#include <QTimer>
#include <QtTest/QtTest>
#include <functional>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uid_t kSomebodyElse = 65534;
constexpr const char *kNobodyElse =
    "this name space has no user but root, to whom a folder could belong";

class SettingDlg : public testing::Test
{
protected:
    template <typename Widget> Widget *child(const char *name)
    {
        auto *found = dialog.findChild<Widget *>(QString::fromLatin1(name));
        if (found == nullptr)
            throw std::runtime_error(name);
        return found;
    }

    QString shownPath() { return child<QLineEdit>("filepathEdit")->text(); }
    QString homePath() const { return QString::fromStdString(home.home().string()); }

    QString folder(const std::string &name, mode_t mode)
    {
        const auto path = home.scratch() / name;
        std::filesystem::create_directories(path);
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        return QString::fromStdString(path.string());
    }

    static bool canHaveForeignFolder() { return geteuid() != 0 || support::hasUser(kSomebodyElse); }
    /// A folder that belongs to somebody else.
    QString foreignFolder()
    {
        if (geteuid() != 0)
            return QStringLiteral("/");
        const QString path = folder("foreign", 0777);
        EXPECT_EQ(chown(path.toUtf8().constData(), kSomebodyElse, kSomebodyElse), 0);
        return path;
    }

    /// Presses the button that opens the chooser and lets `act` work on it.
    void choose(const std::function<void(QFileDialog &)> &act)
    {
        bool acted = false;
        QTimer::singleShot(0, &dialog, [&] {
            auto *chooser = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            acted = chooser != nullptr;
            if (acted)
                act(*chooser);
        });
        QTest::mouseClick(child<QPushButton>("openfiledlgbtn"), Qt::LeftButton);
        EXPECT_TRUE(acted);
    }

    static void pressOpen(QFileDialog &chooser)
    {
        auto *button = chooser.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open);
        ASSERT_TRUE(button->isEnabled());
        QTest::mouseClick(button, Qt::LeftButton);
    }

    /// What exec() returns when `act` runs in the open dialog.
    int executed(const std::function<void()> &act)
    {
        QTimer::singleShot(0, &dialog, act);
        return dialog.exec();
    }

    support::TempHome home;
    CSettingDlg dialog{nullptr};
};

class QualityToIndex : public SettingDlg, public testing::WithParamInterface<std::pair<int, int>>
{
};

class IndexToQuality : public SettingDlg, public testing::WithParamInterface<std::pair<int, int>>
{
};

} // namespace

TEST_F(SettingDlg, slotsAreDeclaredInTheirOrder)
{
    const QMetaObject &meta = CSettingDlg::staticMetaObject;
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 3);
    EXPECT_EQ(meta.method(meta.methodOffset()).methodSignature(), "onSaveFilePath()");
    EXPECT_EQ(meta.method(meta.methodOffset() + 1).methodSignature(), "onOkBtn()");
    EXPECT_EQ(meta.method(meta.methodOffset() + 2).methodSignature(), "onCancelBtn()");
}

TEST_F(SettingDlg, opensWithTheDefaults)
{
    EXPECT_EQ(dialog.filePath(), homePath());
    EXPECT_EQ(shownPath(), homePath());
    EXPECT_EQ(child<QComboBox>("imgPressB")->currentIndex(), 0);
    EXPECT_EQ(dialog.ImgQuality(), 95);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("设置"));
    EXPECT_FALSE(dialog.windowIcon().isNull());
    EXPECT_EQ(child<QLabel>("softnamevaluelable")->text(),
              QStringLiteral("棱湾拍摄仪数字化采集系统"));
    EXPECT_EQ(child<QLabel>("softinfovaluelable")->text(), QStringLiteral("PlixoBase 202101"));
    EXPECT_EQ(child<QTabWidget>("settingWidget")->currentIndex(), 2);
}

TEST_F(SettingDlg, sizeIsFixed)
{
    EXPECT_EQ(dialog.minimumSize(), QSize(692, 448));
    EXPECT_EQ(dialog.maximumSize(), QSize(692, 448));
    EXPECT_EQ(dialog.size(), QSize(692, 448));
}

TEST_F(SettingDlg, withoutAHomeThePathIsEmpty)
{
    const support::ScopedVariable without{"HOME", std::nullopt};
    CSettingDlg other{nullptr};
    EXPECT_EQ(other.filePath(), QString());
}

TEST_F(SettingDlg, initGoesBackToTheDefaults)
{
    const QString own = folder("own", 0700);
    ASSERT_EQ(dialog.SetFilePath(own), 0);
    dialog.SetImgQuality(30);
    dialog.init();
    EXPECT_EQ(dialog.filePath(), homePath());
    EXPECT_EQ(shownPath(), homePath());
    EXPECT_EQ(dialog.ImgQuality(), 95);
}

TEST_F(SettingDlg, ownWritableFolderIsTaken)
{
    const QString own = folder("图片 夹", 0700);
    EXPECT_EQ(dialog.SetFilePath(own), 0);
    EXPECT_EQ(dialog.filePath(), own);
    EXPECT_EQ(shownPath(), own);
}

TEST_F(SettingDlg, refusedFolderKeepsThePreviousOne)
{
    if (!canHaveForeignFolder())
        GTEST_SKIP() << kNobodyElse;
    for (const QString &refused :
         {foreignFolder(), folder("locked", 0577),
          QString::fromStdString((home.scratch() / "none").string()), QString()}) {
        EXPECT_EQ(dialog.SetFilePath(refused), -1) << refused.toStdString();
        EXPECT_EQ(dialog.filePath(), homePath());
        EXPECT_EQ(shownPath(), homePath());
    }
}

TEST_F(SettingDlg, writableMeansOwnedAndOwnerWritable)
{
    if (!canHaveForeignFolder())
        GTEST_SKIP() << kNobodyElse;
    const auto writable = [&](const QString &path) {
        return dialog.checkWritable(path.toUtf8().constData());
    };
    EXPECT_EQ(writable(folder("own", 0200)), 0);
    EXPECT_EQ(writable(folder("others", 0077)), -1);
    EXPECT_EQ(writable(foreignFolder()), -1);
    EXPECT_EQ(writable(QString::fromStdString(home.write("file", "").string())), 0);
    EXPECT_EQ(dialog.checkWritable("/none/such"), -1);
    EXPECT_EQ(dialog.checkWritable(nullptr), -1);
}

TEST_P(QualityToIndex, qualitySelectsItsEntry)
{
    child<QComboBox>("imgPressB")->setCurrentIndex(-1);
    dialog.SetImgQuality(GetParam().first);
    EXPECT_EQ(child<QComboBox>("imgPressB")->currentIndex(), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Thresholds, QualityToIndex,
                         testing::Values(std::pair{1000, 0}, std::pair{100, 0}, std::pair{95, 0},
                                         std::pair{90, 0}, std::pair{89, 1}, std::pair{70, 1},
                                         std::pair{69, 2}, std::pair{50, 2}, std::pair{49, 3},
                                         std::pair{30, 3}, std::pair{29, 4}, std::pair{0, 4},
                                         std::pair{-1, 4}));

TEST_P(IndexToQuality, entryYieldsItsQuality)
{
    child<QComboBox>("imgPressB")->setCurrentIndex(GetParam().first);
    EXPECT_EQ(dialog.ImgQuality(), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Entries, IndexToQuality,
                         testing::Values(std::pair{0, 95}, std::pair{1, 70}, std::pair{2, 50},
                                         std::pair{3, 30}, std::pair{4, 10}, std::pair{-1, 10}));

TEST_F(SettingDlg, qualityIsRoundedByShowingIt)
{
    dialog.SetImgQuality(80);
    EXPECT_EQ(dialog.ImgQuality(), 70);
    dialog.SetImgQuality(100);
    EXPECT_EQ(dialog.ImgQuality(), 95);
}

TEST_F(SettingDlg, okAccepts)
{
    EXPECT_EQ(executed([&] { QTest::mouseClick(child<QPushButton>("okBtn"), Qt::LeftButton); }),
              QDialog::Accepted);
}

TEST_F(SettingDlg, cancelRejects)
{
    EXPECT_EQ(executed([&] { QTest::mouseClick(child<QPushButton>("cancelBtn"), Qt::LeftButton); }),
              QDialog::Rejected);
}

TEST_F(SettingDlg, escapeRejects)
{
    EXPECT_EQ(executed([&] { QTest::keyClick(&dialog, Qt::Key_Escape); }), QDialog::Rejected);
    EXPECT_FALSE(dialog.isVisible());
}

TEST_F(SettingDlg, closingRejects)
{
    EXPECT_EQ(executed([&] { dialog.close(); }), QDialog::Rejected);
}

TEST_F(SettingDlg, otherKeysAreTheDialogs)
{
    bool stillOpen = false;
    executed([&] {
        QTest::keyClick(&dialog, Qt::Key_A);
        stillOpen = dialog.isVisible();
        dialog.reject();
    });
    EXPECT_TRUE(stillOpen);
}

TEST_F(SettingDlg, chooserIsSetUp)
{
    choose([&](QFileDialog &chooser) {
        EXPECT_EQ(chooser.parent(), &dialog);
        EXPECT_EQ(chooser.windowTitle(), QStringLiteral("选择保存路径"));
        EXPECT_EQ(chooser.labelText(QFileDialog::Reject), QStringLiteral("取消"));
        EXPECT_EQ(chooser.viewMode(), QFileDialog::List);
        EXPECT_EQ(chooser.options(),
                  QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks
                      | QFileDialog::HideNameFilterDetails);
        EXPECT_EQ(chooser.directory().absolutePath(), homePath());
        chooser.reject();
    });
}

TEST_F(SettingDlg, pathBelowHomeOpensTheChooserAtHome)
{
    const auto below = home.home() / "pictures";
    std::filesystem::create_directory(below);
    ASSERT_EQ(dialog.SetFilePath(QString::fromStdString(below.string())), 0);
    choose([&](QFileDialog &chooser) {
        EXPECT_EQ(chooser.directory().absolutePath(), homePath());
        chooser.reject();
    });
}

TEST_F(SettingDlg, pathElsewhereOpensTheChooserThere)
{
    const QString elsewhere = folder("elsewhere", 0700);
    ASSERT_EQ(dialog.SetFilePath(elsewhere), 0);
    choose([&](QFileDialog &chooser) {
        EXPECT_EQ(chooser.directory().absolutePath(), elsewhere);
        chooser.reject();
    });
}

TEST_F(SettingDlg, chosenFolderIsTaken)
{
    const QString chosen = folder("chosen", 0700);
    choose([&](QFileDialog &chooser) {
        chooser.setDirectory(chosen);
        pressOpen(chooser);
    });
    EXPECT_EQ(dialog.filePath(), chosen);
    EXPECT_EQ(shownPath(), chosen);
}

TEST_F(SettingDlg, refusedChoiceShowsThePathUnchanged)
{
    if (!canHaveForeignFolder())
        GTEST_SKIP() << kNobodyElse;
    for (const QString &refused : {folder("locked", 0577), foreignFolder()}) {
        child<QLineEdit>("filepathEdit")->setText(QStringLiteral("typed over"));
        choose([&](QFileDialog &chooser) {
            chooser.setDirectory(refused);
            pressOpen(chooser);
        });
        EXPECT_EQ(dialog.filePath(), homePath());
        EXPECT_EQ(shownPath(), homePath());
    }
}

TEST_F(SettingDlg, cancelledChoiceChangesNothing)
{
    child<QLineEdit>("filepathEdit")->setText(QStringLiteral("typed over"));
    choose([&](QFileDialog &chooser) {
        chooser.setDirectory(folder("chosen", 0700));
        chooser.reject();
    });
    EXPECT_EQ(dialog.filePath(), homePath());
    EXPECT_EQ(shownPath(), QStringLiteral("typed over"));
}
