#include "app/alreadyrunningbox.h"

#include "tests/app/window/windowtools.h"
#include "tests/support/accessible_tree.h"
#include "tests/support/qt_printing.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QGuiApplication>
#include <QIcon>
#include <QScreen>
#include <QTest>

TEST(RefusalBoxTest, textsButtonAndIconsAreFixed)
{
    const AlreadyRunningBox box;
    EXPECT_EQ(box.parentWidget(), nullptr);
    EXPECT_EQ(box.windowTitle(), QStringLiteral("棱湾拍摄仪"));
    EXPECT_EQ(box.text(), QStringLiteral("程序已打开\n    请无重复打开"));
    EXPECT_EQ(box.icon(), QMessageBox::Warning);
    EXPECT_EQ(box.windowIcon().pixmap(32).toImage(),
              QIcon(QStringLiteral(":/icon/title.jpg")).pixmap(32).toImage());
    ASSERT_EQ(box.buttons().size(), 1);
    EXPECT_EQ(box.standardButton(box.buttons().front()), QMessageBox::Ok);
    EXPECT_EQ(box.buttons().front()->text(), QStringLiteral("确 定"));
}

TEST(RefusalBoxTest, isReadAloud)
{
    AlreadyRunningBox box;
    box.show();
    const auto tree = support::accessibleTree(box);
    EXPECT_EQ(tree.front().role, QAccessible::AlertMessage);
    EXPECT_EQ(tree.front().name, QStringLiteral("棱湾拍摄仪"));
    EXPECT_EQ(support::namesOf(tree, QAccessible::Button), QStringList(QStringLiteral("确 定")));
    EXPECT_TRUE(support::namesOf(tree, QAccessible::StaticText)
                    .contains(QStringLiteral("程序已打开\n    请无重复打开")));
}

TEST(RefusalBoxTest, keepsItsSizeAndPlaceWhileShown)
{
    AlreadyRunningBox box;
    QSize size;
    QSize minimum;
    QSize maximum;
    QPoint place;
    bool modal = false;
    ModalDriver driver([&](QWidget &widget) {
        QTest::qWait(50);
        size = widget.size();
        minimum = widget.minimumSize();
        maximum = widget.maximumSize();
        place = widget.pos();
        modal = widget.isModal();
        box.buttons().front()->click();
    });
    EXPECT_EQ(box.exec(), QMessageBox::Ok);
    EXPECT_TRUE(driver.seen());
    EXPECT_TRUE(modal);
    EXPECT_EQ(size, QSize(600, 300));
    EXPECT_EQ(minimum, QSize(600, 300));
    EXPECT_EQ(maximum, QSize(600, 300));
    const QSize screen = QGuiApplication::primaryScreen()->size();
    EXPECT_EQ(place, QPoint((screen.width() - 600) / 2, (screen.height() - 300) / 2 - 150));
}
