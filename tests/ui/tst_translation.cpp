#include "tests/support/qt_printing.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTranslator>
#include <gmock/gmock.h>
#include <memory>

namespace {

/// The translation installed as the program installs it.
class Translation : public testing::Test
{
protected:
    Translation()
    {
        const QFileInfo file(QStringLiteral(KORV_TRANSLATION));
        loaded =
            translator.load(file.fileName(), file.path() + QLatin1Char('/'), QString(), QString());
        QCoreApplication::installTranslator(&translator);
    }
    ~Translation() override { QCoreApplication::removeTranslator(&translator); }

    QTranslator translator;
    bool loaded = false;
};

} // namespace

TEST_F(Translation, isLoaded)
{
    EXPECT_TRUE(loaded);
}

TEST_F(Translation, holdsOurTexts)
{
    EXPECT_EQ(translator.translate("MainWindow", "拍照"), QStringLiteral("拍照"));
    EXPECT_EQ(translator.translate("CSettingDlg", "最优品质(100%)"),
              QStringLiteral("最优品质(100%)"));
}

TEST_F(Translation, messageBoxesAreChinese)
{
    QMessageBox box(QMessageBox::Question, QString(), QString(),
                    QMessageBox::Ok | QMessageBox::Cancel | QMessageBox::Yes);
    EXPECT_EQ(box.button(QMessageBox::Cancel)->text(), QStringLiteral("取消"));
    EXPECT_EQ(box.button(QMessageBox::Ok)->text(), QStringLiteral("确定"));
    EXPECT_THAT(box.button(QMessageBox::Yes)->text().toStdString(), testing::HasSubstr("是"));
}

TEST_F(Translation, fileChoosersAreChinese)
{
    QFileDialog dialog;
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    EXPECT_THAT(dialog.labelText(QFileDialog::LookIn).toStdString(),
                testing::HasSubstr("查找范围"));
    EXPECT_THAT(dialog.labelText(QFileDialog::Accept).toStdString(), testing::HasSubstr("打开"));
    EXPECT_EQ(dialog.labelText(QFileDialog::Reject), QStringLiteral("取消"));
}

TEST_F(Translation, menusOfTextFieldsAreChinese)
{
    QLineEdit edit;
    const std::unique_ptr<QMenu> menu{edit.createStandardContextMenu()};
    ASSERT_FALSE(menu->actions().isEmpty());
    EXPECT_THAT(menu->actions().first()->text().toStdString(), testing::HasSubstr("撤消"));
}

TEST(TranslationAbsent, textsOfTheToolkitAreEnglish)
{
    QMessageBox box(QMessageBox::Question, QString(), QString(), QMessageBox::Cancel);
    EXPECT_EQ(box.button(QMessageBox::Cancel)->text().remove(QLatin1Char('&')), "Cancel");
}
