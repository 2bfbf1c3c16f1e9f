#include "ui/ui_mainwindow.h"

#include "tests/support/qt_printing.h"
#include "tests/ui/widget_tree.h"

#include <QMainWindow>
#include <QtTest/QtTest>
#include <gmock/gmock.h>

namespace {

constexpr QSize kNoLimit{16777215, 16777215};

class MainWindowLayout : public testing::Test
{
protected:
    MainWindowLayout() { ui.setupUi(&window); }

    void showAt(const QSize &size)
    {
        window.resize(size);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    static void expectLimits(const QWidget *widget, const QSize &least, const QSize &most)
    {
        EXPECT_EQ(widget->minimumSize(), least) << widget->objectName().toStdString();
        EXPECT_EQ(widget->maximumSize(), most) << widget->objectName().toStdString();
    }

    static void expectPolicy(const QWidget *widget, QSizePolicy::Policy horizontal,
                             QSizePolicy::Policy vertical)
    {
        EXPECT_EQ(widget->sizePolicy().horizontalPolicy(), horizontal)
            << widget->objectName().toStdString();
        EXPECT_EQ(widget->sizePolicy().verticalPolicy(), vertical)
            << widget->objectName().toStdString();
    }

    static void expectTight(QLayout *layout, const char *name)
    {
        EXPECT_EQ(layout->objectName(), QLatin1String(name));
        EXPECT_EQ(layout->spacing(), 0) << name;
        EXPECT_EQ(layout->contentsMargins(), QMargins()) << name;
    }

    QMainWindow window;
    Ui_MainWindow ui{};
};

} // namespace

TEST_F(MainWindowLayout, widgetsInTheirPlaces)
{
    EXPECT_EQ(support::namedTree(window),
              "QWidget centralWidget\n"
              "  QFrame frame\n"
              "  QFrame frame_3\n"
              "    QListWidget imgshowwidgt\n"
              "  QFrame frame_2\n"
              "    QGroupBox groupBox\n"
              "      QComboBox colormodecomb (10,140 191x27)\n"
              "      QLabel label_3 (10,120 67x21)\n"
              "      QComboBox cropstylecomb (10,260 191x27)\n"
              "      QLabel label_5 (10,240 67x21)\n"
              "      QComboBox dpilistcomb (10,80 191x27)\n"
              "      QLabel label (10,0 61x21)\n"
              "      QComboBox devlistcomb (10,20 191x27)\n"
              "      QCheckBox multPageCB (140,180 61x22)\n"
              "      QLabel label_2 (10,60 91x21)\n"
              "      QLabel label_4 (10,180 67x21)\n"
              "      QComboBox filemodecomb (10,200 191x27)\n"
              "      QComboBox rotatestylecomb (10,320 191x27)\n"
              "      QLabel label_6 (10,300 67x21)\n"
              "    QGroupBox groupBox_2\n"
              "      QPushButton photoBtn (10,0 81x41)\n"
              "      QPushButton saveBtn (20,140 85x38)\n"
              "      QPushButton setBtn (120,140 85x38)\n");
    EXPECT_EQ(window.objectName(), QStringLiteral("MainWindow"));
    EXPECT_EQ(window.centralWidget(), ui.centralWidget);
}

TEST_F(MainWindowLayout, sizesAndPolicies)
{
    EXPECT_EQ(window.size(), QSize(897, 658));
    expectLimits(&window, {897, 658}, kNoLimit);
    expectLimits(ui.frame, {640, 480}, kNoLimit);
    expectLimits(ui.frame_3, {641, 150}, {16777215, 150});
    expectLimits(ui.frame_2, {211, 601}, kNoLimit);
    expectLimits(ui.groupBox, {201, 380}, {16777215, 380});
    expectLimits(ui.groupBox_2, {211, 180}, {16777215, 180});
    expectPolicy(&window, QSizePolicy::Preferred, QSizePolicy::Preferred);
    expectPolicy(ui.frame_3, QSizePolicy::Preferred, QSizePolicy::Maximum);
    expectPolicy(ui.frame_2, QSizePolicy::Fixed, QSizePolicy::Preferred);
    expectPolicy(ui.groupBox, QSizePolicy::Preferred, QSizePolicy::Maximum);
    expectPolicy(ui.groupBox_2, QSizePolicy::Preferred, QSizePolicy::Maximum);
}

TEST_F(MainWindowLayout, layoutsAreTight)
{
    expectTight(ui.horizontalLayout_3, "horizontalLayout_3");
    expectTight(ui.horizontalLayout, "horizontalLayout");
    expectTight(ui.verticalLayout, "verticalLayout");
    expectTight(ui.horizontalLayout_2, "horizontalLayout_2");
    expectTight(ui.horizontalLayout_4, "horizontalLayout_4");
    expectTight(ui.verticalLayout_2, "verticalLayout_2");
    EXPECT_EQ(ui.centralWidget->layout(), ui.horizontalLayout_3);
    EXPECT_EQ(ui.frame_3->layout(), ui.horizontalLayout_2);
    EXPECT_EQ(ui.frame_2->layout(), ui.horizontalLayout_4);
    EXPECT_EQ(ui.horizontalLayout_3->itemAt(0)->layout(), ui.horizontalLayout);
    EXPECT_EQ(ui.horizontalLayout->itemAt(0)->layout(), ui.verticalLayout);
    EXPECT_EQ(ui.horizontalLayout->itemAt(1)->widget(), ui.frame_2);
    EXPECT_EQ(ui.horizontalLayout_4->itemAt(0)->layout(), ui.verticalLayout_2);
}

TEST_F(MainWindowLayout, spacerPushesTheButtonsDown)
{
    ASSERT_EQ(ui.verticalLayout_2->count(), 3);
    EXPECT_EQ(ui.verticalLayout_2->itemAt(0)->widget(), ui.groupBox);
    const QSpacerItem *spacer = ui.verticalLayout_2->itemAt(1)->spacerItem();
    ASSERT_NE(spacer, nullptr);
    EXPECT_EQ(spacer->sizeHint(), QSize(20, 60));
    EXPECT_EQ(spacer->sizePolicy(), QSizePolicy(QSizePolicy::Minimum, QSizePolicy::Expanding));
    EXPECT_EQ(ui.verticalLayout_2->itemAt(2)->widget(), ui.groupBox_2);
}

TEST_F(MainWindowLayout, framesAndBoxes)
{
    for (const QFrame *frame : {ui.frame, ui.frame_3}) {
        EXPECT_EQ(frame->frameShape(), QFrame::StyledPanel);
        EXPECT_EQ(frame->frameShadow(), QFrame::Raised);
    }
    EXPECT_EQ(ui.frame_2->frameShape(), QFrame::NoFrame);
    EXPECT_EQ(ui.frame_2->frameShadow(), QFrame::Raised);
    EXPECT_TRUE(ui.groupBox->isFlat());
    EXPECT_FALSE(ui.groupBox_2->isFlat());
    EXPECT_FALSE(ui.setBtn->isFlat());
}

TEST_F(MainWindowLayout, texts)
{
    EXPECT_EQ(window.windowTitle(), QStringLiteral("MainWindow"));
    EXPECT_EQ(ui.groupBox->title(), QString());
    EXPECT_EQ(ui.groupBox_2->title(), QString());
    EXPECT_EQ(ui.label->text(), QStringLiteral("设备列表"));
    EXPECT_EQ(ui.label_2->text(), QStringLiteral("分辨率"));
    EXPECT_EQ(ui.label_3->text(), QStringLiteral("文件颜色"));
    EXPECT_EQ(ui.label_4->text(), QStringLiteral("文件模式"));
    EXPECT_EQ(ui.label_5->text(), QStringLiteral("裁切方式"));
    EXPECT_EQ(ui.label_6->text(), QStringLiteral("旋转方式"));
    EXPECT_EQ(ui.multPageCB->text(), QStringLiteral("多页"));
    EXPECT_EQ(ui.photoBtn->text(), QStringLiteral("拍照"));
    EXPECT_EQ(ui.saveBtn->text(), QStringLiteral("导出"));
    EXPECT_EQ(ui.setBtn->text(), QStringLiteral("设置"));
}

TEST_F(MainWindowLayout, buttonsHavePictures)
{
    for (const QPushButton *button : {ui.photoBtn, ui.saveBtn, ui.setBtn}) {
        EXPECT_EQ(button->iconSize(), QSize(30, 30));
        EXPECT_EQ(button->icon().pixmap(30, 30, QIcon::Normal, QIcon::Off).size(), QSize(30, 30))
            << button->objectName().toStdString();
    }
}

TEST_F(MainWindowLayout, rightColumnKeepsItsWidthAtAnySize)
{
    for (const QSize &size : {QSize(897, 658), QSize(1200, 658), QSize(1700, 1000)}) {
        showAt(size);
        EXPECT_EQ(window.size(), size);
        EXPECT_EQ(ui.frame_2->geometry(), QRect(size.width() - 211, 0, 211, size.height()));
        EXPECT_EQ(ui.frame->geometry(), QRect(0, 0, size.width() - 211, size.height() - 150));
        EXPECT_EQ(ui.frame_3->geometry(), QRect(0, size.height() - 150, size.width() - 211, 150));
    }
}

TEST_F(MainWindowLayout, windowCannotBeMadeSmaller)
{
    showAt({600, 400});
    EXPECT_EQ(window.size(), QSize(897, 658));
}
