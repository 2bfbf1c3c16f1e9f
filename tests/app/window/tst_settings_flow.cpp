#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include "settings/csettingdlg.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

class SettingsFlowTest : public WindowTest
{
protected:
    /// Opens the settings dialog and lets `inside` handle it; it is cancelled if left open.
    void openSettings(const std::function<void(CSettingDlg &)> &inside)
    {
        ModalDriver driver([&](QWidget &widget) {
            auto *dialog = qobject_cast<CSettingDlg *>(&widget);
            ASSERT_TRUE(dialog);
            EXPECT_EQ(dialog->parentWidget(), m_window.get());
            EXPECT_TRUE(dialog->isModal());
            inside(*dialog);
            if (dialog->isVisible())
                dialog->reject();
        });
        m_window->onslot_setbtn_setwidget();
        EXPECT_TRUE(driver.seen());
    }

    static void press(const QDialog &dialog, const char *button)
    {
        dialog.findChild<QPushButton *>(QLatin1String(button))->click();
    }
    static QComboBox &quality(const QDialog &dialog)
    {
        return *dialog.findChild<QComboBox *>(QStringLiteral("imgPressB"));
    }
    static QString shownPath(const QDialog &dialog)
    {
        return dialog.findChild<QLineEdit *>(QStringLiteral("filepathEdit"))->text();
    }

    QString home() const { return QString::fromStdString(m_home.home().string()); }
};

TEST_F(SettingsFlowTest, acceptedValuesAreTakenOver)
{
    const std::string folder = useSaveFolder();
    m_window->m_fileArgv.quality = 50;
    openSettings([&](CSettingDlg &dialog) {
        EXPECT_EQ(shownPath(dialog).toStdString(), folder);
        EXPECT_EQ(quality(dialog).currentIndex(), 2);
        quality(dialog).setCurrentIndex(3);
        EXPECT_EQ(dialog.SetFilePath(home()), 0);
        press(dialog, "okBtn");
    });
    EXPECT_EQ(traces(), "[onslot_setbtn_setwidget] user clicked ok button\n");
    EXPECT_EQ(m_window->m_fileArgv.quality, 30);
    EXPECT_EQ(m_window->m_fileArgv.path, home());
}

TEST_F(SettingsFlowTest, cancelledDialogChangesNothing)
{
    const std::string folder = useSaveFolder();
    m_window->m_fileArgv.quality = 77;
    for (const char *way : {"button", "escape", "close"}) {
        SCOPED_TRACE(way);
        openSettings([&](CSettingDlg &dialog) {
            quality(dialog).setCurrentIndex(4);
            dialog.SetFilePath(home());
            if (way == std::string("button"))
                press(dialog, "cancelBtn");
            else if (way == std::string("escape"))
                QTest::keyClick(&dialog, Qt::Key_Escape);
            else
                dialog.close();
        });
        EXPECT_EQ(traces(), "[onslot_setbtn_setwidget] user clicked cancel button\n");
        EXPECT_EQ(m_window->m_fileArgv.quality, 77);
        EXPECT_EQ(m_window->m_fileArgv.path.toStdString(), folder);
    }
}

TEST_F(SettingsFlowTest, confirmingUnchangedRoundsTheQuality)
{
    useSaveFolder();
    const std::vector<std::pair<int, int>> rows{{80, 70}, {100, 95}, {95, 95}, {5, 10}};
    for (const auto &row : rows) {
        m_window->m_fileArgv.quality = row.first;
        openSettings([](CSettingDlg &dialog) { press(dialog, "okBtn"); });
        EXPECT_EQ(m_window->m_fileArgv.quality, row.second) << row.first;
    }
}

TEST_F(SettingsFlowTest, refusedFolderComesBackAsTheHomeDirectory)
{
    for (const char *folder : {"/nonexistent", ""}) {
        m_window->m_fileArgv.path = QString::fromLatin1(folder);
        openSettings([&](CSettingDlg &dialog) {
            EXPECT_EQ(shownPath(dialog), home());
            press(dialog, "okBtn");
        });
        EXPECT_EQ(m_window->m_fileArgv.path, home());
    }
}
