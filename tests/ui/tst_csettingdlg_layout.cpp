#include "ui/ui_csettingdlg.h"

#include "tests/support/qt_printing.h"
#include "tests/ui/widget_tree.h"

#include <QComboBox>
#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>
#include <QTabWidget>
#include <QVBoxLayout>
#include <gmock/gmock.h>

namespace {

class SettingDlgLayout : public testing::Test
{
protected:
    SettingDlgLayout() { ui.setupUi(&dialog); }

    QStringList qualities() const
    {
        QStringList texts;
        for (int i = 0; i < ui.imgPressB->count(); ++i)
            texts << ui.imgPressB->itemText(i);
        return texts;
    }

    static void expectSpacer(QLayout *layout, int position, const QSize &size,
                             const QSizePolicy &policy)
    {
        const QSpacerItem *spacer = layout->itemAt(position)->spacerItem();
        ASSERT_NE(spacer, nullptr) << layout->objectName().toStdString() << position;
        EXPECT_EQ(spacer->sizeHint(), size);
        EXPECT_EQ(spacer->sizePolicy(), policy);
    }

    QDialog dialog;
    Ui_CSettingDlg ui;
};

} // namespace

TEST_F(SettingDlgLayout, widgetsInTheirPlaces)
{
    dialog.show();
    const QStringList lines = support::namedTree(dialog).split(QLatin1Char('\n'));
    EXPECT_EQ(lines.first(), "QTabWidget settingWidget (10,10 671x381)");
    EXPECT_THAT(lines, testing::Contains(QStringLiteral("QPushButton okBtn (570,410 97x26)")));
    EXPECT_THAT(lines, testing::Contains(QStringLiteral("QPushButton cancelBtn (440,410 97x26)")));
    EXPECT_EQ(dialog.size(), QSize(692, 448));
    EXPECT_EQ(dialog.objectName(), QStringLiteral("CSettingDlg"));
}

TEST_F(SettingDlgLayout, adjustmentPage)
{
    EXPECT_EQ(support::namedTree(*ui.tab),
              "QLabel label_16 (10,20 81x17)\n"
              "QFrame frame (10,40 641x91)\n"
              "  QLabel label_13 (20,10 67x21)\n"
              "  QLabel label_14 (390,10 67x17)\n"
              "  QLabel label_15 (20,50 41x17)\n"
              "  QPushButton defaultbtn (460,60 97x26)\n"
              "  QSlider horizontalSlider (90,10 171x21)\n"
              "  QSlider horizontalSlider_2 (460,10 171x21)\n"
              "  QSlider horizontalSlider_3 (90,50 171x21)\n");
    EXPECT_FALSE(ui.defaultbtn->isEnabled());
    for (const QSlider *slider :
         {ui.horizontalSlider, ui.horizontalSlider_2, ui.horizontalSlider_3}) {
        EXPECT_EQ(slider->orientation(), Qt::Horizontal);
        EXPECT_FALSE(slider->isEnabled());
        EXPECT_EQ(slider->minimum(), 0);
        EXPECT_EQ(slider->maximum(), 99);
        EXPECT_EQ(slider->value(), 0);
    }
}

TEST_F(SettingDlgLayout, filePage)
{
    EXPECT_EQ(support::namedTree(*ui.tab_4),
              "QFrame frame_2 (10,10 651x111)\n"
              "  QLabel label_11 (20,10 67x17)\n"
              "  QLineEdit filepathEdit (20,30 561x27)\n"
              "  QPushButton openfiledlgbtn (590,30 51x26)\n"
              "  QLabel label_12 (20,80 101x17)\n"
              "  QComboBox imgPressB (110,70 141x31)\n");
    for (const QFrame *frame : {ui.frame, ui.frame_2}) {
        EXPECT_EQ(frame->frameShape(), QFrame::StyledPanel);
        EXPECT_EQ(frame->frameShadow(), QFrame::Raised);
    }
}

TEST_F(SettingDlgLayout, aboutPage)
{
    EXPECT_EQ(support::namedTree(*ui.tab_3),
              "QWidget layoutWidget (110,40 431x261)\n"
              "  QLabel softnamekeylable\n"
              "  QLabel softnamevaluelable\n"
              "  QLabel softinfolabel\n"
              "  QLabel softinfovaluelable\n"
              "  QLabel companylabel\n"
              "  QLabel label\n");
    const QSizePolicy horizontal(QSizePolicy::Expanding, QSizePolicy::Minimum);
    const QSizePolicy vertical(QSizePolicy::Minimum, QSizePolicy::Expanding);
    EXPECT_EQ(ui.layoutWidget->layout(), ui.verticalLayout);
    EXPECT_EQ(ui.verticalLayout->contentsMargins(), QMargins());
    ASSERT_EQ(ui.verticalLayout->count(), 7);
    EXPECT_EQ(ui.verticalLayout->itemAt(0)->layout(), ui.horizontalLayout_3);
    EXPECT_EQ(ui.verticalLayout->itemAt(2)->layout(), ui.horizontalLayout_2);
    EXPECT_EQ(ui.verticalLayout->itemAt(4)->widget(), ui.companylabel);
    EXPECT_EQ(ui.verticalLayout->itemAt(6)->layout(), ui.horizontalLayout);
    for (const int position : {1, 3, 5})
        expectSpacer(ui.verticalLayout, position, {20, 40}, vertical);
    EXPECT_EQ(ui.horizontalLayout_3->itemAt(0)->widget(), ui.softnamekeylable);
    EXPECT_EQ(ui.horizontalLayout_3->itemAt(1)->widget(), ui.softnamevaluelable);
    expectSpacer(ui.horizontalLayout_3, 2, {40, 20}, horizontal);
    EXPECT_EQ(ui.horizontalLayout_2->itemAt(0)->widget(), ui.softinfolabel);
    EXPECT_EQ(ui.horizontalLayout_2->itemAt(1)->widget(), ui.softinfovaluelable);
    expectSpacer(ui.horizontalLayout_2, 2, {40, 20}, horizontal);
    EXPECT_EQ(ui.horizontalLayout->itemAt(0)->widget(), ui.label);
    expectSpacer(ui.horizontalLayout, 1, {40, 20}, horizontal);
}

TEST_F(SettingDlgLayout, aboutPageIsSetInLargeLetters)
{
    for (const QLabel *label : {ui.softnamekeylable, ui.softnamevaluelable, ui.softinfolabel,
                                ui.softinfovaluelable, ui.companylabel, ui.label})
        EXPECT_EQ(label->font().pointSize(), 14) << label->objectName().toStdString();
    EXPECT_EQ(ui.companylabel->font().weight(), 50);
    EXPECT_EQ(ui.companylabel->textFormat(), Qt::AutoText);
}

TEST_F(SettingDlgLayout, pagesInTheirOrder)
{
    ASSERT_EQ(ui.settingWidget->count(), 3);
    EXPECT_EQ(ui.settingWidget->widget(0), ui.tab);
    EXPECT_EQ(ui.settingWidget->widget(1), ui.tab_4);
    EXPECT_EQ(ui.settingWidget->widget(2), ui.tab_3);
    EXPECT_EQ(ui.settingWidget->tabText(0), QStringLiteral("首选项"));
    EXPECT_EQ(ui.settingWidget->tabText(1), QStringLiteral("文件保存"));
    EXPECT_EQ(ui.settingWidget->tabText(2), QStringLiteral("关于"));
    EXPECT_EQ(ui.settingWidget->currentIndex(), 2);
    EXPECT_EQ(ui.tab->objectName(), QStringLiteral("tab"));
    EXPECT_EQ(ui.tab_4->objectName(), QStringLiteral("tab_4"));
    EXPECT_EQ(ui.tab_3->objectName(), QStringLiteral("tab_3"));
}

TEST_F(SettingDlgLayout, texts)
{
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Dialog"));
    EXPECT_EQ(ui.label_16->text(), QStringLiteral("摄像头设置"));
    EXPECT_EQ(ui.label_13->text(), QStringLiteral("曝光率:"));
    EXPECT_EQ(ui.label_14->text(), QStringLiteral("对比度:"));
    EXPECT_EQ(ui.label_15->text(), QStringLiteral("亮度:"));
    EXPECT_EQ(ui.defaultbtn->text(), QStringLiteral("恢复默认值"));
    EXPECT_EQ(ui.label_11->text(), QStringLiteral("保存路径"));
    EXPECT_EQ(ui.openfiledlgbtn->text(), QStringLiteral("..."));
    EXPECT_EQ(ui.label_12->text(), QStringLiteral("JPG图像品质:"));
    EXPECT_EQ(ui.softnamekeylable->text(), QStringLiteral("软件名称:"));
    EXPECT_EQ(ui.softnamevaluelable->text(), QStringLiteral("TextLabel"));
    EXPECT_EQ(ui.softinfolabel->text(), QStringLiteral("软件信息:"));
    EXPECT_EQ(ui.softinfovaluelable->text(), QStringLiteral("TextLabel"));
    EXPECT_EQ(ui.okBtn->text(), QStringLiteral("确定"));
    EXPECT_EQ(ui.cancelBtn->text(), QStringLiteral("取消"));
    EXPECT_THAT(ui.label->text().toStdString(), testing::HasSubstr("<a href=\"https://"));
}

TEST_F(SettingDlgLayout, qualitiesFromBestToWorst)
{
    EXPECT_EQ(
        qualities().join(QLatin1Char(' ')),
        QStringLiteral("最优品质(100%) 品质优先(70%) 平衡选择(50%) 大小优先(30%) 最大压缩(10%)"));
}

TEST_F(SettingDlgLayout, newTextsRebuildTheQualities)
{
    ui.imgPressB->setCurrentIndex(3);
    ui.retranslateUi(&dialog);
    EXPECT_EQ(ui.imgPressB->count(), 5);
    EXPECT_EQ(ui.imgPressB->currentIndex(), 0);
    ui.imgPressB->addItem(QStringLiteral("left over"));
    ui.retranslateUi(&dialog);
    EXPECT_EQ(ui.imgPressB->count(), 5);
}

TEST_F(SettingDlgLayout, aNameOfTheCallersIsKept)
{
    QDialog other;
    other.setObjectName(QStringLiteral("mine"));
    Ui_CSettingDlg().setupUi(&other);
    EXPECT_EQ(other.objectName(), QStringLiteral("mine"));
}
