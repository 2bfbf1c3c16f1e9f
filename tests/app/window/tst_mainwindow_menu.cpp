#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include <QAction>
#include <QCursor>
#include <QMenu>
#include <QTest>

#include <filesystem>

class MenuTest : public WindowTest
{
protected:
    MenuTest()
    {
        openOneCamera();
        m_folder = useSaveFolder();
        const QByteArray picture = jpeg({32, 24});
        fake_set_photograph(picture.constData(), picture.size());
        for (int i = 0; i < 3; ++i)
            m_window->onslot_setbtn_takephoto();
        m_window->show();
        runQueued();
        traces();
        calls();
    }

    QListWidget &list() const { return *m_window->ui->imgshowwidgt; }
    QPoint emptyPlace() const { return list().mapToGlobal(QPoint(list().width() - 8, 8)); }

    /// Opens the menu with the cursor at `place`; `inside` gets the open menu.
    bool openMenu(QPoint place, const std::function<void(QMenu &)> &inside)
    {
        QCursor::setPos(place);
        ModalDriver driver([&](QWidget &widget) {
            auto *menu = qobject_cast<QMenu *>(&widget);
            ASSERT_TRUE(menu);
            inside(*menu);
            menu->close();
        });
        m_window->onslot_imglistwidget_popupmenu();
        return driver.seen();
    }

    /// Chooses the entry at `position` with the mouse. Only what the entry does is left in traces.
    void chooseEntry(QPoint place, int position)
    {
        ASSERT_TRUE(openMenu(place, [&](QMenu &menu) {
            const QPoint entry = menu.actionGeometry(menu.actions().at(position)).center();
            QTest::mouseClick(&menu, Qt::LeftButton, Qt::NoModifier, entry);
        }));
    }

    static QStringList textsOf(const QMenu &menu)
    {
        QStringList texts;
        for (const QAction *action : menu.actions())
            texts.append(action->text());
        return texts;
    }

    std::string working(const std::string &key) const
    {
        return m_folder + "/.vexalinplixo-preview-" + key + ".jpg";
    }

    static constexpr char kChosen[] = "[onslot_imglistwidget_echopopupmenu][743] \n";
    std::string m_folder;
};

TEST_F(MenuTest, entriesStandInOrderOverAnItem)
{
    QStringList texts;
    QStringList data;
    const QPoint place = placeOfItem(list(), 1);
    EXPECT_TRUE(openMenu(place, [&](QMenu &menu) {
        EXPECT_EQ(menu.parentWidget(), m_window.get());
        texts = textsOf(menu);
        for (const QAction *action : menu.actions()) {
            EXPECT_EQ(action->parent(), &menu);
            data.append(action->data().toString());
        }
    }));
    EXPECT_EQ(texts,
              QStringList({QStringLiteral("打开"), QStringLiteral("选择删除"),
                           QStringLiteral("全部删除"), QStringLiteral("选择导出"),
                           QStringLiteral("全部导出"), QStringLiteral("导入")}));
    ASSERT_EQ(data.size(), 6);
    for (int command = 1; command <= 6; ++command)
        EXPECT_EQ(data[command - 1],
                  QStringLiteral("%1|%2|%3").arg(place.x()).arg(place.y()).arg(command));
    EXPECT_EQ(traces(), "") << "nothing was chosen";
}

TEST_F(MenuTest, onlyImportStandsOverEmptySpace)
{
    EXPECT_TRUE(openMenu(emptyPlace(), [&](QMenu &menu) {
        EXPECT_EQ(textsOf(menu), QStringList(QStringLiteral("导入")));
        EXPECT_EQ(menu.actions().front()->data().toString(),
                  QStringLiteral("%1|%2|6").arg(emptyPlace().x()).arg(emptyPlace().y()));
    }));
}

TEST_F(MenuTest, disabledListOpensNoMenu)
{
    list().setEnabled(false);
    EXPECT_FALSE(openMenu(placeOfItem(list(), 0), [](QMenu &) {}));
}

TEST_F(MenuTest, everyMenuEndsWithItsActions)
{
    QPointer<QMenu> open;
    QPointer<QAction> entry;
    EXPECT_TRUE(openMenu(placeOfItem(list(), 0), [&](QMenu &menu) {
        open = &menu;
        entry = menu.actions().front();
    }));
    EXPECT_FALSE(open);
    EXPECT_FALSE(entry);
    EXPECT_TRUE(m_window->findChildren<QMenu *>().isEmpty());
}

TEST_F(MenuTest, rightPressOpensTheMenu)
{
    QCursor::setPos(placeOfItem(list(), 0));
    int entries = 0;
    ModalDriver driver([&](QWidget &widget) {
        entries = widget.actions().size();
        widget.close();
    });
    QTest::mousePress(list().viewport(), Qt::RightButton);
    runQueued();
    EXPECT_TRUE(driver.seen());
    EXPECT_EQ(entries, 6);
}

TEST_F(MenuTest, openShowsTheItemUnderTheCursorWhenTheMenuWasBuilt)
{
    const UrlCatcher viewer;
    list().item(2)->setSelected(true);
    ASSERT_TRUE(openMenu(placeOfItem(list(), 1), [&](QMenu &menu) {
        QCursor::setPos(placeOfItem(list(), 0));
        const QPoint entry = menu.actionGeometry(menu.actions().at(0)).center();
        QTest::mouseClick(&menu, Qt::LeftButton, Qt::NoModifier, entry);
    }));
    EXPECT_EQ(traces(), std::string(kChosen) + "item:0002\n");
    ASSERT_EQ(viewer.opened.size(), 1U);
    EXPECT_EQ(viewer.opened[0].toLocalFile().toStdString(), working("0002"));
}

TEST_F(MenuTest, openOfAnItemWithoutAnEntryOpensNothing)
{
    const UrlCatcher viewer;
    m_window->m_fileArgv.thumlist.clear();
    chooseEntry(placeOfItem(list(), 0), 0);
    EXPECT_EQ(traces(), std::string(kChosen) + "item:0001\n");
    EXPECT_TRUE(viewer.opened.empty());
}

TEST_F(MenuTest, selectedPhotographsAreDeleted)
{
    list().item(0)->setSelected(true);
    list().item(2)->setSelected(true);
    chooseEntry(placeOfItem(list(), 1), 1);
    EXPECT_EQ(traces(), kChosen);
    EXPECT_EQ(itemTexts(list()), QStringList(QStringLiteral("0002")));
    EXPECT_EQ(m_window->m_fileArgv.thumlist.size(), 1U);
    EXPECT_FALSE(std::filesystem::exists(working("0001")));
    EXPECT_TRUE(std::filesystem::exists(working("0002")));
    EXPECT_EQ(m_window->m_fileArgv.thumkey, 4);
}

TEST_F(MenuTest, selectedItemsWithoutAnEntryStay)
{
    list().addItem(QStringLiteral("0099"));
    list().selectAll();
    chooseEntry(placeOfItem(list(), 1), 1);
    EXPECT_EQ(itemTexts(list()), QStringList(QStringLiteral("0099")));
    EXPECT_TRUE(m_window->m_fileArgv.thumlist.empty());
}

TEST_F(MenuTest, nothingSelectedDeletesNothing)
{
    chooseEntry(placeOfItem(list(), 1), 1);
    EXPECT_EQ(list().count(), 3);
    EXPECT_EQ(m_window->m_fileArgv.thumlist.size(), 3U);
}

TEST_F(MenuTest, allPhotographsAreDeletedAndNumbersStartAgain)
{
    list().addItem(QStringLiteral("0099"));
    runQueued();
    traces();
    chooseEntry(placeOfItem(list(), 1), 2);
    EXPECT_EQ(traces(), kChosen);
    EXPECT_EQ(list().count(), 0);
    EXPECT_EQ(m_window->m_fileArgv.thumkey, 1);
    EXPECT_FALSE(std::filesystem::exists(working("0003")));
    EXPECT_EQ(calls(), "");
}

TEST_F(MenuTest, selectedPhotographsAreExported)
{
    m_window->ui->filemodecomb->setCurrentText(QStringLiteral("png"));
    list().item(1)->setSelected(true);
    chooseEntry(placeOfItem(list(), 0), 3);
    EXPECT_EQ(calls(),
              "SetImageJPGQuality(95)\n"
              "ConvertImagetoImage("
                  + working("0002") + "," + m_folder + "/0001.png)\n");
    EXPECT_EQ(list().count(), 2);
}

TEST_F(MenuTest, allPhotographsAreExported)
{
    list().item(1)->setSelected(true);
    chooseEntry(placeOfItem(list(), 0), 4);
    EXPECT_TRUE(std::filesystem::exists(m_folder + "/0003.jpg"));
    EXPECT_EQ(list().count(), 0);
}

TEST_F(MenuTest, ordersThatCannotBeReadDoNothing)
{
    m_window->onslot_imglistwidget_echopopupmenu(); // not sent by any entry
    EXPECT_EQ(traces(), kChosen);
    for (const char *order : {"", "1|2", "a|b|c", "1|2|0", "1|2|7", "1|2|-1", "1|2| "}) {
        SCOPED_TRACE(order);
        QAction action;
        action.setData(QString::fromLatin1(order));
        QObject::connect(&action, SIGNAL(triggered()), m_window.get(),
                         SLOT(onslot_imglistwidget_echopopupmenu()));
        action.trigger();
        EXPECT_EQ(traces(), kChosen);
    }
    EXPECT_EQ(list().count(), 3);
    EXPECT_EQ(calls(), "");
}

TEST_F(MenuTest, openAtAPlaceWithoutAnItemStops)
{
    QAction action;
    action.setData(QStringLiteral("%1|%2|1").arg(emptyPlace().x()).arg(emptyPlace().y()));
    QObject::connect(&action, SIGNAL(triggered()), m_window.get(),
                     SLOT(onslot_imglistwidget_echopopupmenu()));
    action.trigger();
    EXPECT_EQ(traces(), kChosen);
}

TEST_F(MenuTest, doubleClickOpensTheItemUnderTheCursor)
{
    const UrlCatcher viewer;
    QCursor::setPos(placeOfItem(list(), 2));
    runQueued();
    traces();
    QTest::mouseDClick(list().viewport(), Qt::LeftButton);
    runQueued();
    EXPECT_EQ(traces(), "item:0003\n");
    ASSERT_EQ(viewer.opened.size(), 1U);
    EXPECT_EQ(viewer.opened[0].toLocalFile().toStdString(), working("0003"));
    for (const Qt::MouseButton button : {Qt::RightButton, Qt::MiddleButton}) {
        QMouseEvent event(QEvent::MouseButtonDblClick, QPointF(5, 5), button, button,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(list().viewport(), &event);
    }
    runQueued();
    EXPECT_EQ(viewer.opened.size(), 1U);
}

TEST_F(MenuTest, doubleClickBesideTheItemsOrOnADisabledListOpensNothing)
{
    const UrlCatcher viewer;
    QCursor::setPos(emptyPlace());
    m_window->onslot_imglistwidget_previewimage();
    QCursor::setPos(placeOfItem(list(), 0));
    list().setEnabled(false);
    m_window->onslot_imglistwidget_previewimage();
    list().setEnabled(true);
    m_window->m_fileArgv.thumlist.clear();
    traces();
    m_window->onslot_imglistwidget_previewimage();
    EXPECT_EQ(traces(), "item:0001\n");
    EXPECT_TRUE(viewer.opened.empty());
}

TEST_F(MenuTest, relativePathIsMadeAbsolute)
{
    const UrlCatcher viewer;
    m_window->m_fileArgv.thumlist.front().filePath = QStringLiteral("some.jpg");
    QCursor::setPos(placeOfItem(list(), 0));
    m_window->onslot_imglistwidget_previewimage();
    ASSERT_EQ(viewer.opened.size(), 1U);
    EXPECT_EQ(viewer.opened[0].toLocalFile().toStdString(),
              (std::filesystem::current_path() / "some.jpg").string());
}

TEST_F(MenuTest, itemsAreFoundThroughTheListsOwnCoordinates)
{
    const UrlCatcher viewer;
    const QRect item = list().visualItemRect(list().item(2));
    const int frame = list().viewport()->x();
    ASSERT_GT(frame, 0);
    // The list's coordinates are taken for the viewport's: a frame's width to the left.
    QCursor::setPos(list().mapToGlobal(QPoint(item.right(), item.center().y())));
    m_window->onslot_imglistwidget_previewimage();
    EXPECT_EQ(traces(), "item:0003\n");
    // The item's last column as it is seen lies outside.
    QCursor::setPos(list().viewport()->mapToGlobal(QPoint(item.right(), item.center().y())));
    m_window->onslot_imglistwidget_previewimage();
    EXPECT_EQ(traces(), "");
}
