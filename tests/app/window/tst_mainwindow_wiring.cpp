#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include <QElapsedTimer>
#include <QMetaMethod>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>

#include <filesystem>

class WiringTest : public WindowTest
{
protected:
    QWidget *viewport() const { return m_window->ui->imgshowwidgt->viewport(); }

    bool filtered(QObject *watched, QEvent::Type type, Qt::MouseButton button)
    {
        QMouseEvent event(type, QPointF(5, 5), button, button, Qt::NoModifier);
        return m_window->eventFilter(watched, &event);
    }
};

TEST_F(WiringTest, signalsAndSlotsStandInTheirOrder)
{
    const QMetaObject &meta = MainWindow::staticMetaObject;
    QStringList signatures;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        const char *kind = method.methodType() == QMetaMethod::Signal ? "signal " : "slot ";
        signatures.append(kind + QString::fromLatin1(method.methodSignature()));
    }
    const QStringList expected{
        QStringLiteral("signal deviceChange(QString)"),
        QStringLiteral("signal deviceListFresh()"),
        QStringLiteral("signal deviceRunningSwitch(int)"),
        QStringLiteral("signal imglistwidget_previewimage()"),
        QStringLiteral("signal imglistwidget_popupmenu()"),
        QStringLiteral("slot ondeviceChange(QString)"),
        QStringLiteral("slot ondeviceRunningSwitch(int)"),
        QStringLiteral("slot ondeviceListFresh()"),
        QStringLiteral("slot onslot_imglistwidget_previewimage()"),
        QStringLiteral("slot onslot_imglistwidget_popupmenu()"),
        QStringLiteral("slot onslot_imglistwidget_echopopupmenu()"),
        QStringLiteral("slot onslot_setbtn_setwidget()"),
        QStringLiteral("slot onslot_savebtn_createfile(int)"),
        QStringLiteral("slot onslot_savebtn_createfile()"),
        QStringLiteral("slot onslot_setbtn_takephoto()"),
        QStringLiteral("slot onslot_devlistcomb_changecurrentindex(int)"),
        QStringLiteral("slot onslot_StartCamera()"),
        QStringLiteral("slot onslot_dpilistcomb_changecurrentindex(int)"),
        QStringLiteral("slot onslot_filemodecomb_changecurrentindex(int)"),
        QStringLiteral("slot onslot_multipagecb_change()"),
    };
    EXPECT_EQ(signatures, expected) << signatures.join(QLatin1Char('\n')).toStdString();
    EXPECT_STREQ(meta.className(), "MainWindow");
    EXPECT_STREQ(meta.superClass()->className(), "QMainWindow");
}

TEST_F(WiringTest, titleAndIconReplaceTheLayoutsOwn)
{
    EXPECT_EQ(m_window->windowTitle(), QStringLiteral("棱湾拍摄仪数字化采集系统"));
    const QIcon icon(QStringLiteral(":/icon/title.jpg"));
    ASSERT_FALSE(icon.pixmap(32).isNull());
    EXPECT_EQ(m_window->windowIcon().pixmap(32).toImage(), icon.pixmap(32).toImage());
}

TEST_F(WiringTest, thumbnailListIsConfigured)
{
    const QListWidget &list = *m_window->ui->imgshowwidgt;
    EXPECT_EQ(list.viewMode(), QListView::IconMode);
    EXPECT_EQ(list.resizeMode(), QListView::Fixed);
    EXPECT_EQ(list.movement(), QListView::Static);
    EXPECT_EQ(list.iconSize(), QSize(100, 100));
    EXPECT_EQ(list.selectionMode(), QAbstractItemView::ExtendedSelection);
    EXPECT_EQ(list.spacing(), 0);
    EXPECT_EQ(list.verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
    EXPECT_EQ(list.horizontalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
    EXPECT_EQ(list.layoutMode(), QListView::Batched);
    EXPECT_EQ(list.flow(), QListView::TopToBottom);
    EXPECT_EQ(list.count(), 0);
}

TEST_F(WiringTest, stateStartsEmpty)
{
    EXPECT_EQ(m_window->m_frame.pendingCount(), 0);
    {
        const FrameBuffer::Access frame{m_window->m_frame};
        EXPECT_EQ(frame.bytes(), nullptr);
        EXPECT_EQ(frame.width(), 0);
        EXPECT_EQ(frame.height(), 0);
    }
    EXPECT_TRUE(m_window->m_resolutions.empty());
    EXPECT_EQ(m_window->m_resolutionNo, -1);
    EXPECT_FALSE(m_window->m_resolutionSelectorReady);
    EXPECT_EQ(m_window->m_fileArgv.thumkey, 1);
    EXPECT_EQ(m_window->m_fileArgv.fileno, 1);
    EXPECT_TRUE(m_window->m_fileArgv.thumlist.empty());
    EXPECT_TRUE(m_window->m_cameras.empty());
    EXPECT_FALSE(m_window->m_KorvCamera);
    EXPECT_EQ(gMainWindow, m_window.get());
}

TEST_F(WiringTest, initArgumentStartsTheFileArgumentsAgain)
{
    const std::string folder = useSaveFolder();
    const std::filesystem::path file = std::filesystem::path(folder) / "kept.jpg";
    std::filesystem::copy_file(m_home.write("kept", "x"), file);
    m_window->Append_thumlist(m_window->key_thumlist(), QString::fromStdString(file.string()));
    m_window->ui->devlistcomb->addItem(QStringLiteral("Cam"));
    m_window->ui->imgshowwidgt->addItem(QStringLiteral("0001"));
    m_window->m_fileArgv.fileno = 5;
    m_window->m_resolutionNo = 2;
    m_window->m_resolutions.push_back({QStringLiteral("1*1"), 0, 1, 1});
    m_window->InitArgument();
    EXPECT_EQ(m_window->m_fileArgv.thumkey, 1);
    EXPECT_EQ(m_window->m_fileArgv.fileno, 1);
    EXPECT_TRUE(m_window->m_fileArgv.thumlist.empty());
    EXPECT_EQ(m_window->ui->devlistcomb->count(), 0);
    EXPECT_EQ(m_window->ui->imgshowwidgt->count(), 0);
    EXPECT_EQ(m_window->m_resolutionNo, -1);
    EXPECT_TRUE(m_window->m_resolutions.empty());
    EXPECT_TRUE(std::filesystem::exists(file)) << "only the list is emptied";
}

TEST_F(WiringTest, onlyTheDeviceSelectorIsUsableAtFirst)
{
    const Ui_MainWindow &ui = *m_window->ui;
    EXPECT_TRUE(ui.devlistcomb->isEnabled());
    EXPECT_TRUE(ui.rotatestylecomb->isEnabled());
    const std::vector<const QWidget *> others{ui.dpilistcomb,   ui.filemodecomb, ui.colormodecomb,
                                              ui.cropstylecomb, ui.multPageCB,   ui.photoBtn,
                                              ui.saveBtn,       ui.setBtn,       ui.imgshowwidgt};
    for (const QWidget *widget : others)
        EXPECT_FALSE(widget->isEnabled()) << widget->objectName().toStdString();
}

TEST_F(WiringTest, enableWidgetsSwitchesEveryControlButTheRotation)
{
    const Ui_MainWindow &ui = *m_window->ui;
    const std::vector<QWidget *> controls{ui.dpilistcomb,   ui.filemodecomb, ui.colormodecomb,
                                          ui.cropstylecomb, ui.photoBtn,     ui.saveBtn,
                                          ui.setBtn,        ui.imgshowwidgt};
    for (const bool rotation : {true, false}) {
        ui.rotatestylecomb->setEnabled(rotation);
        for (const bool enable : {true, false}) {
            for (const bool devEnable : {true, false}) {
                m_window->EnableWidgets(enable, devEnable);
                EXPECT_EQ(ui.devlistcomb->isEnabled(), devEnable);
                for (const QWidget *control : controls)
                    EXPECT_EQ(control->isEnabled(), enable) << control->objectName().toStdString();
                EXPECT_EQ(ui.rotatestylecomb->isEnabled(), rotation);
            }
        }
    }
}

TEST_F(WiringTest, enableWidgetsHasItsOwnListOfMultiPageTypes)
{
    const struct
    {
        const char *type;
        bool usable;
    } rows[] = {{"jpg", false}, {"bmp", false},  {"pdf", true},  {"ofd", true}, {"png", true},
                {"tif", true},  {"tiff", false}, {"PDF", false}, {"", false}};
    QCheckBox &box = *m_window->ui->multPageCB;
    for (const auto &row : rows) {
        for (const bool enable : {true, false}) {
            SCOPED_TRACE(std::string(row.type) + (enable ? " enabled" : " disabled"));
            const QSignalBlocker noSlots(m_window->ui->filemodecomb);
            const QSignalBlocker noRule(box);
            m_window->ui->filemodecomb->clear();
            m_window->ui->filemodecomb->addItem(QString::fromLatin1(row.type));
            box.setChecked(true);
            box.setEnabled(!row.usable);
            m_window->EnableWidgets(enable, true);
            EXPECT_EQ(box.isEnabled(), row.usable);
            EXPECT_EQ(box.isChecked(), row.usable);
        }
    }
}

TEST_F(WiringTest, ownSignalsAreQueued)
{
    emit m_window->deviceChange(QStringLiteral("none,1"));
    emit m_window->deviceListFresh();
    emit m_window->deviceRunningSwitch(7);
    EXPECT_EQ(traces(), "");
    runQueued();
    EXPECT_EQ(traces(),
              "[ondeviceChange] enter none,1\n"
              "[ondeviceChange] exit \n"
              "IN [func-ondeviceListFresh] \n"
              "[func-ondeviceListFresh] out\n"
              "[ondeviceRunningSwitch] Enter type:7 \n"
              "[ondeviceRunningSwitch] EXIT \n"
              "[ondeviceRunningSwitch] Enter type:0 \n"
              "[ondeviceRunningSwitch] EXIT \n"
              "IN [func-ondeviceListFresh] \n"
              "[func-ondeviceListFresh] out\n");
}

TEST_F(WiringTest, previewSignalIsQueued)
{
    m_window->EnableWidgets(true, true);
    m_window->addItem_imglistwidget(QStringLiteral("0001"), QString());
    m_window->show();
    runQueued();
    QCursor::setPos(placeOfItem(*m_window->ui->imgshowwidgt, 0));
    runQueued();
    traces();
    emit m_window->imglistwidget_previewimage();
    EXPECT_EQ(traces(), "");
    runQueued();
    EXPECT_EQ(traces(), "item:0001\n");
}

TEST_F(WiringTest, menuSignalIsQueued)
{
    m_window->EnableWidgets(true, true);
    ModalDriver driver(closeIt());
    emit m_window->imglistwidget_popupmenu();
    EXPECT_FALSE(driver.seen());
    runQueued();
    EXPECT_TRUE(driver.seen());
}

TEST_F(WiringTest, settingsButtonOpensTheDialog)
{
    m_window->ui->setBtn->setEnabled(true);
    std::string className;
    ModalDriver driver([&](QWidget &widget) {
        className = widget.metaObject()->className();
        widget.close();
    });
    m_window->ui->setBtn->click();
    EXPECT_EQ(className, "CSettingDlg");
}

TEST_F(WiringTest, saveAndPhotoButtonsReachTheirSlots)
{
    startLibrary();
    useSaveFolder();
    m_window->EnableWidgets(true, true);
    m_window->ui->saveBtn->click();
    EXPECT_EQ(traces(), "[onslot_savebtn_createfile][321] file format unsurpport\n");
    m_window->ui->photoBtn->click();
    EXPECT_EQ(calls().substr(0, 22), "SetImageJPGQuality(95)");
}

TEST_F(WiringTest, selectorsReachTheirSlots)
{
    const QSignalSpy switches(m_window.get(), &MainWindow::deviceRunningSwitch);
    m_window->ui->devlistcomb->addItem(QStringLiteral("Cam"));
    ASSERT_EQ(switches.count(), 1);
    EXPECT_EQ(switches.at(0).at(0).toInt(), 1);

    m_window->ui->multPageCB->setEnabled(true);
    m_window->ui->multPageCB->setChecked(true); // no type is selected, so the rule takes it back
    EXPECT_FALSE(m_window->ui->multPageCB->isChecked());
    EXPECT_FALSE(m_window->ui->multPageCB->isEnabled());

    m_window->ui->filemodecomb->addItem(QStringLiteral("pdf"));
    EXPECT_TRUE(m_window->ui->multPageCB->isEnabled());
}

TEST_F(WiringTest, libraryIsLoadedAWhileAfterConstruction)
{
    QElapsedTimer clock;
    clock.start();
    const MainWindow window(nullptr, "/nonexistent/libcamera.so");
    std::string seen;
    qint64 when = 0;
    while (seen.empty() && clock.elapsed() < 3000) {
        QTest::qWait(5);
        seen = traces();
        when = clock.elapsed();
    }
    EXPECT_NE(seen.find("load camera lib  fail\n"), std::string::npos) << seen;
    EXPECT_GE(when, 280);
    EXPECT_LT(when, 1000);
}

TEST_F(WiringTest, everyEventOfTheFilterIsTraced)
{
    EXPECT_FALSE(filtered(m_window->ui->photoBtn, QEvent::MouseButtonPress, Qt::RightButton));
    EXPECT_EQ(allTraces(), "func-eventFilter\n");
    EXPECT_FALSE(filtered(viewport(), QEvent::MouseMove, Qt::NoButton));
    EXPECT_EQ(allTraces(),
              "func-eventFilter\n"
              "func-eventFilter  imgshowwidgt type:5\n");
}

TEST_F(WiringTest, doubleClickAsksForThePreviewWithTheLeftButtonOnly)
{
    const QSignalSpy previews(m_window.get(), &MainWindow::imglistwidget_previewimage);
    const QSignalSpy menus(m_window.get(), &MainWindow::imglistwidget_popupmenu);
    const std::string line = "func-eventFilter\n"
                             "func-eventFilter  imgshowwidgt type:4\n"
                             "func-eventFilter  imgshowwidgt   MouseButtonDblClick\n";
    for (const Qt::MouseButton button : {Qt::RightButton, Qt::MiddleButton}) {
        EXPECT_FALSE(filtered(viewport(), QEvent::MouseButtonDblClick, button));
        EXPECT_EQ(allTraces(), line);
        EXPECT_EQ(previews.count(), 0);
    }
    EXPECT_FALSE(filtered(viewport(), QEvent::MouseButtonDblClick, Qt::LeftButton));
    EXPECT_EQ(allTraces(), line);
    EXPECT_EQ(previews.count(), 1);
    EXPECT_EQ(menus.count(), 0);
}

TEST_F(WiringTest, pressAsksForTheMenuWithTheRightButtonOnly)
{
    const QSignalSpy previews(m_window.get(), &MainWindow::imglistwidget_previewimage);
    const QSignalSpy menus(m_window.get(), &MainWindow::imglistwidget_popupmenu);
    const std::string line = "func-eventFilter\n"
                             "func-eventFilter  imgshowwidgt type:2\n"
                             "func-eventFilter  imgshowwidgt   MouseButtonRight\n";
    for (const Qt::MouseButton button : {Qt::LeftButton, Qt::MiddleButton}) {
        EXPECT_FALSE(filtered(viewport(), QEvent::MouseButtonPress, button));
        EXPECT_EQ(allTraces(), line);
        EXPECT_EQ(menus.count(), 0);
    }
    EXPECT_FALSE(filtered(viewport(), QEvent::MouseButtonPress, Qt::RightButton));
    EXPECT_EQ(allTraces(), line);
    EXPECT_EQ(menus.count(), 1);
    EXPECT_EQ(previews.count(), 0);
}

TEST_F(WiringTest, filterIsInstalledOnTheViewport)
{
    const QSignalSpy menus(m_window.get(), &MainWindow::imglistwidget_popupmenu);
    QTest::mousePress(viewport(), Qt::RightButton);
    EXPECT_EQ(menus.count(), 1);
}
