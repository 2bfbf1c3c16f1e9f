#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"
#include "tests/support/accessible_tree.h"
#include "tests/support/qt_printing.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QCursor>
#include <QMenu>
#include <QTest>

#include <filesystem>

using support::AccessibleNode;

class KeyboardTest : public WindowTest
{
protected:
    KeyboardTest()
    {
        openOneCamera();
        m_folder = useSaveFolder();
        const QByteArray picture = jpeg({32, 24});
        fake_set_photograph(picture.constData(), picture.size());
        m_window->show();
        QApplication::setActiveWindow(m_window.get());
        runQueued();
    }

    QListWidget &list() const { return *m_window->ui->imgshowwidgt; }

    void takePhotographs(int count)
    {
        for (int i = 0; i < count; ++i)
            m_window->onslot_setbtn_takephoto();
        runQueued();
    }

    /// As the platform reports the menu key. Its place is not used.
    void pressMenuKey()
    {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(1, 1));
        QApplication::sendEvent(&list(), &event);
    }

    /// Runs `ask`, which opens the menu, and `inside` with it.
    static bool inMenu(const std::function<void()> &ask, const std::function<void(QMenu &)> &inside)
    {
        ModalDriver driver([&](QWidget &widget) {
            auto *menu = qobject_cast<QMenu *>(&widget);
            ASSERT_TRUE(menu);
            inside(*menu);
            menu->close();
        });
        ask();
        return driver.seen();
    }

    static void choose(QMenu &menu, int position)
    {
        for (int i = 0; i <= position; ++i)
            QTest::keyClick(&menu, Qt::Key_Down);
        QTest::keyClick(&menu, Qt::Key_Return);
    }

    bool exists(const std::string &key) const
    {
        return std::filesystem::exists(m_folder + "/.vexalinplixo-preview-" + key + ".jpg");
    }

    std::string m_folder;
};

TEST_F(KeyboardTest, tabReachesEveryControlThatIsOn)
{
    m_window->ui->filemodecomb->setCurrentText(QStringLiteral("pdf"));
    m_window->ui->devlistcomb->setFocus();
    QStringList reached;
    for (int i = 0; i < 11; ++i) {
        ASSERT_TRUE(m_window->focusWidget());
        reached.append(m_window->focusWidget()->objectName());
        QTest::keyClick(m_window->focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(reached,
              QStringList({"devlistcomb", "dpilistcomb", "colormodecomb", "multPageCB",
                           "filemodecomb", "cropstylecomb", "rotatestylecomb", "photoBtn",
                           "saveBtn", "setBtn", "imgshowwidgt"}));
    EXPECT_EQ(m_window->focusWidget(), m_window->ui->devlistcomb) << "and round";
}

TEST_F(KeyboardTest, aPhotographLeavesTheKeyboardOnTheButton)
{
    QPushButton *button = m_window->ui->photoBtn;
    button->setFocus();
    for (int i = 0; i < 2; ++i)
        QTest::keyClick(m_window->focusWidget(), Qt::Key_Space);
    EXPECT_EQ(itemTexts(list()), QStringList({"0001", "0002"}));
    EXPECT_EQ(m_window->focusWidget(), button);
}

TEST_F(KeyboardTest, anExportLeavesTheKeyboardOnTheButton)
{
    takePhotographs(2);
    QPushButton *button = m_window->ui->saveBtn;
    button->setFocus();
    QTest::keyClick(button, Qt::Key_Space);
    EXPECT_EQ(list().count(), 0);
    EXPECT_EQ(m_window->focusWidget(), button);
}

TEST_F(KeyboardTest, anExportByTheMenuLeavesTheKeyboardOnTheStrip)
{
    takePhotographs(2);
    list().setFocus();
    EXPECT_TRUE(inMenu([this] { pressMenuKey(); }, [](QMenu &menu) { choose(menu, 3); }));
    EXPECT_EQ(itemTexts(list()), QStringList({"0001"}));
    EXPECT_EQ(m_window->focusWidget(), &list());
}

TEST_F(KeyboardTest, theMenuKeyOpensTheMenuOfTheCurrentThumbnail)
{
    takePhotographs(3);
    list().setFocus();
    QTest::keyClick(&list(), Qt::Key_Left);
    QCursor::setPos(m_window->mapToGlobal(QPoint(5, 5)));
    const QPoint place = placeOfItem(list(), list().currentRow());
    EXPECT_TRUE(
        inMenu([this] { pressMenuKey(); },
               [&](QMenu &menu) {
                   ASSERT_EQ(menu.actions().size(), 6);
                   EXPECT_EQ(menu.actions().first()->data().toString(),
                             QStringLiteral("%1|%2|1").arg(place.x()).arg(place.y()));
                   EXPECT_EQ(support::namesOf(support::accessibleTree(menu), QAccessible::MenuItem)
                                 .join(QLatin1Char(' ')),
                             QStringLiteral("打开 选择删除 全部删除 选择导出 全部导出 导入"));
               }));
}

TEST_F(KeyboardTest, shiftF10OpensTheMenuToo)
{
    takePhotographs(1);
    int entries = 0;
    EXPECT_TRUE(inMenu([this] { QTest::keyClick(&list(), Qt::Key_F10, Qt::ShiftModifier); },
                       [&](QMenu &menu) { entries = menu.actions().size(); }));
    EXPECT_EQ(entries, 6);
    EXPECT_FALSE(inMenu([this] { QTest::keyClick(&list(), Qt::Key_F10); }, [](QMenu &) {}));
}

TEST_F(KeyboardTest, theMouseAloneDecidesAboutItsOwnMenu)
{
    takePhotographs(1);
    EXPECT_FALSE(inMenu(
        [this] {
            QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(1, 1));
            QApplication::sendEvent(list().viewport(), &event);
        },
        [](QMenu &) {}));
}

TEST_F(KeyboardTest, theMenuOfAnEmptyListImports)
{
    EXPECT_TRUE(inMenu([this] { pressMenuKey(); },
                       [](QMenu &menu) {
                           ASSERT_EQ(menu.actions().size(), 1);
                           EXPECT_EQ(menu.actions().first()->text(), QStringLiteral("导入"));
                       }));
}

TEST_F(KeyboardTest, aListThatIsOffHasNoMenu)
{
    takePhotographs(1);
    list().setEnabled(false);
    EXPECT_FALSE(inMenu([this] { pressMenuKey(); }, [](QMenu &) {}));
}

TEST_F(KeyboardTest, theCurrentThumbnailIsDeletedByKeysAlone)
{
    takePhotographs(3);
    list().setFocus();
    list().setCurrentRow(1);
    list().clearSelection();
    EXPECT_TRUE(inMenu([this] { pressMenuKey(); }, [](QMenu &menu) { choose(menu, 1); }));
    EXPECT_EQ(itemTexts(list()), QStringList({"0001", "0003"}));
    EXPECT_FALSE(exists("0002"));
    EXPECT_TRUE(exists("0003"));
}

TEST_F(KeyboardTest, aSelectionIsMadeAndKeptByKeys)
{
    takePhotographs(3);
    list().setFocus();
    list().setCurrentRow(0);
    QTest::keyClick(&list(), Qt::Key_End, Qt::ShiftModifier);
    EXPECT_EQ(list().selectedItems().size(), 3);
    EXPECT_TRUE(inMenu([this] { pressMenuKey(); }, [](QMenu &menu) { choose(menu, 1); }));
    EXPECT_EQ(list().count(), 0);
}

TEST_F(KeyboardTest, theMenuOpensTheCurrentThumbnailThoughItWasOutOfSight)
{
    takePhotographs(16);
    list().setFocus();
    QTest::keyClick(&list(), Qt::Key_Home);
    runQueued();
    list().setCurrentRow(15, QItemSelectionModel::NoUpdate);
    const UrlCatcher viewer;
    EXPECT_TRUE(inMenu([this] { pressMenuKey(); }, [](QMenu &menu) { choose(menu, 0); }));
    ASSERT_EQ(viewer.opened.size(), 1U);
    EXPECT_TRUE(viewer.opened.front().path().endsWith(QLatin1String("-0016.jpg")));
}

TEST_F(KeyboardTest, thePreviewIsAPictureWithAName)
{
    const AccessibleNode area = support::nodeOf(support::accessibleTree(*m_window), "frame");
    EXPECT_EQ(area.role, QAccessible::Graphic);
    EXPECT_EQ(area.name, QStringLiteral("实时画面"));
    EXPECT_FALSE(area.description.isEmpty());
    EXPECT_FALSE(area.state.focusable) << "there is nothing to do in it";
    const AccessibleNode strip = support::nodeOf(support::accessibleTree(*m_window), "frame_3");
    EXPECT_NE(strip.role, QAccessible::Graphic);
}

TEST_F(KeyboardTest, thumbnailsAreListItemsWithTheirNumbers)
{
    takePhotographs(2);
    list().setFocus();
    list().setCurrentRow(1);
    const auto tree = support::accessibleTree(list());
    EXPECT_EQ(tree.front().role, QAccessible::List);
    EXPECT_EQ(support::namesOf(tree, QAccessible::ListItem), QStringList({"0001", "0002"}));
    EXPECT_TRUE(tree.back().state.selected);
    EXPECT_TRUE(tree.back().state.focused);
}

TEST_F(KeyboardTest, controlsThatAreOffSaySo)
{
    m_window->EnableWidgets(false, true);
    const auto tree = support::accessibleTree(*m_window);
    EXPECT_TRUE(support::nodeOf(tree, "photoBtn").state.disabled);
    EXPECT_FALSE(support::nodeOf(tree, "devlistcomb").state.disabled);
    EXPECT_EQ(tree.front().role, QAccessible::Window);
    EXPECT_EQ(tree.front().name, QStringLiteral("棱湾拍摄仪数字化采集系统"));
}
