#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include <QSignalSpy>

#include <cstring>

class SwitchTest : public WindowTest
{
protected:
    static _tag_unit_camera record(const char *name, int id, int status = 0, int connect = 1)
    {
        _tag_unit_camera camera;
        camera.name = QString::fromUtf8(name);
        std::strcpy(camera.mode, name);
        std::strcpy(camera.devname, name);
        camera.ID = id;
        camera.vid = 4660;
        camera.pid = 22136;
        camera.status = status;
        camera.connect = connect;
        return camera;
    }

    /// Puts the records in place and lists them as a refresh would, without its signals.
    void have(const std::vector<_tag_unit_camera> &cameras, int selected)
    {
        startLibrary();
        m_window->m_cameras = cameras;
        const QSignalBlocker quiet(m_window->ui->devlistcomb);
        for (const _tag_unit_camera &camera : cameras)
            m_window->ui->devlistcomb->addItem(camera.name, static_cast<unsigned>(camera.ID));
        m_window->ui->devlistcomb->setCurrentIndex(selected);
    }

    std::vector<int> ids() const
    {
        std::vector<int> list;
        for (const _tag_unit_camera &camera : m_window->m_cameras)
            list.push_back(camera.ID);
        return list;
    }
};

TEST_F(SwitchTest, selectorsSlotTakesNoLock)
{
    const QSignalSpy switches(m_window.get(), &MainWindow::deviceRunningSwitch);
    const SpinGuard held{m_window->m_deviceLock};
    m_window->onslot_devlistcomb_changecurrentindex(5); // would never return
    m_window->ui->devlistcomb->addItem(QStringLiteral("Cam"));
    ASSERT_EQ(switches.count(), 2);
    EXPECT_EQ(switches.at(0).at(0).toInt(), 1);
    EXPECT_EQ(switches.at(1).at(0).toInt(), 1);
    EXPECT_EQ(traces(), "");
}

TEST_F(SwitchTest, libraryIsCalledWithTheListLocked)
{
    have({record("Cam", 0)}, 0);
    int locked = 0;
    int seen = 0;
    const CallWatch watch([&](const std::string &, const std::string &) {
        ++seen;
        if (m_window->m_deviceLock.try_lock())
            m_window->m_deviceLock.unlock();
        else
            ++locked;
    });
    m_window->ondeviceRunningSwitch(1);
    m_window->ondeviceRunningSwitch(3);
    EXPECT_EQ(seen, 6);
    EXPECT_EQ(locked, seen);
    EXPECT_TRUE(m_window->m_deviceLock.try_lock()) << "released at the end";
    m_window->m_deviceLock.unlock();
}

TEST_F(SwitchTest, laterOfTwoRunningMarksCounts)
{
    have({record("One", 1, 1), record("Two", 2, 1), record("Three", 3)}, 1);
    m_window->ondeviceRunningSwitch(1);
    EXPECT_EQ(traces(),
              "[ondeviceRunningSwitch] Enter type:1 \n"
              "cur index:1 \n"
              "cur name:Two\n"
              "cur node:2\n"
              "run index:1 \n"
              "run name:Two\n"
              "run node:2\n"
              "[ondeviceRunningSwitch] EXIT \n");
    EXPECT_EQ(calls(), "");
    m_window->ondeviceRunningSwitch(3);
    EXPECT_EQ(calls(), "Close(2)\n");
    EXPECT_EQ(m_window->m_cameras[0].status, 1) << "the earlier one is left alone";
}

TEST_F(SwitchTest, shutDownOnlySweepsWhenNothingRuns)
{
    const QSignalSpy refreshes(m_window.get(), &MainWindow::deviceListFresh);
    have({record("Gone", 1, 0, 0), record("Idle", 2)}, 1);
    m_window->ondeviceRunningSwitch(3);
    EXPECT_EQ(traces(), "[ondeviceRunningSwitch] Enter type:3 \n");
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(ids(), std::vector<int>{2});
    EXPECT_EQ(refreshes.count(), 0);
}

TEST_F(SwitchTest, sweepSkipsNoRecord)
{
    have({record("A", 1, 0, 0), record("B", 2, 0, 0), record("C", 3, 1), record("D", 4, 1, 0),
          record("E", 5, 0, 0)},
         -1);
    m_window->ondeviceRunningSwitch(3);
    EXPECT_EQ(traces(),
              "[ondeviceRunningSwitch] Enter type:3 \n"
              "[CloseCamera] KorvCamera_Close-0\n"
              "[CloseCamera] KorvCamera_Close-0\n");
    EXPECT_EQ(calls(),
              "Close(4)\n"
              "Close(3)\n");
    EXPECT_EQ(ids(), std::vector<int>{3});
}

TEST_F(SwitchTest, runningPositionCountsWithoutTheSweptRecords)
{
    have({record("Gone", 1, 0, 0), record("Runs", 2, 1)}, 1);
    m_window->ondeviceRunningSwitch(1);
    EXPECT_EQ(traces(),
              "[ondeviceRunningSwitch] Enter type:1 \n"
              "cur index:1 \n"
              "cur name:Runs\n"
              "cur node:2\n"
              "run index:0 \n"
              "run name:Runs\n"
              "run node:2\n"
              "[ondeviceRunningSwitch] EXIT \n");
    EXPECT_EQ(calls(), "");
}

TEST_F(SwitchTest, emptySelectionKeepsTheRunningCamera)
{
    have({record("Cam", 3, 1)}, -1);
    m_window->ondeviceRunningSwitch(1);
    EXPECT_EQ(traces(),
              "[ondeviceRunningSwitch] Enter type:1 \n"
              "cur index:-1 \n"
              "cur name:\n"
              "cur node:0\n"
              "run index:0 \n"
              "run name:Cam\n"
              "run node:3\n"
              "[ondeviceRunningSwitch] EXIT \n");
    EXPECT_EQ(calls(), "");
}

TEST_F(SwitchTest, nameAndNumberMustBothMatch)
{
    for (const bool sameName : {true, false}) {
        SCOPED_TRACE(sameName);
        m_window->ui->devlistcomb->clear();
        have({record("Cam", 3, 1)}, 0);
        if (sameName)
            m_window->m_cameras[0].ID = 4;
        else
            m_window->m_cameras[0].name = QStringLiteral("Other");
        runQueued();
        calls();
        m_window->m_cameras[0].status = 1;
        m_window->ondeviceRunningSwitch(1);
        EXPECT_EQ(calls().substr(0, 9), sameName ? "Close(4)\n" : "Close(3)\n");
        EXPECT_NE(traces().find("closecamera index 0\n"), std::string::npos);
    }
}

TEST_F(SwitchTest, selectionBeyondTheListOpensNothing)
{
    have({record("Cam", 0, 1), record("Desk", 1)}, 1);
    m_window->m_cameras.pop_back();
    m_window->ondeviceRunningSwitch(1);
    EXPECT_EQ(calls(), "Close(0)\n");
    m_window->ondeviceRunningSwitch(1);
    EXPECT_EQ(calls(), "");
}

TEST_F(SwitchTest, cameraThatFailedToOpenIsTriedAgain)
{
    have({record("Cam", 0)}, 0);
    fake_set_result("Open", -19);
    m_window->ondeviceRunningSwitch(0);
    m_window->ondeviceRunningSwitch(1);
    EXPECT_EQ(calls(),
              "Open(0)\n"
              "Open(0)\n");
    EXPECT_EQ(m_window->m_cameras[0].status, 0);
    fake_set_result("Open", 0);
    m_window->ondeviceRunningSwitch(1);
    EXPECT_EQ(m_window->m_cameras[0].status, 1);
}

TEST_F(SwitchTest, onlyHotplugRefreshesTheSelector)
{
    const QSignalSpy refreshes(m_window.get(), &MainWindow::deviceListFresh);
    for (const int type : {1, 2, 3, 4, -1})
        m_window->ondeviceRunningSwitch(type);
    EXPECT_EQ(refreshes.count(), 0);
    m_window->ondeviceRunningSwitch(0);
    EXPECT_EQ(refreshes.count(), 1);
}

TEST_F(SwitchTest, refreshListsOnlineDevicesInOrderAndSelectsTheRunning)
{
    m_window->m_cameras = {record("A", 4), record("B", 3, 0, 0), record("C", 2, 1), record("D", 1)};
    m_window->ondeviceListFresh();
    const QComboBox &selector = *m_window->ui->devlistcomb;
    ASSERT_EQ(selector.count(), 3);
    EXPECT_EQ(selector.itemText(0), QStringLiteral("A"));
    EXPECT_EQ(selector.itemText(1), QStringLiteral("C"));
    EXPECT_EQ(selector.itemText(2), QStringLiteral("D"));
    EXPECT_EQ(selector.itemData(1).toUInt(), 2U);
    EXPECT_EQ(selector.currentText(), QStringLiteral("C"));
}

TEST_F(SwitchTest, refreshSelectsAnOfflineRunningCameraByItsOldName)
{
    m_window->m_cameras = {record("A", 4), record("B", 3), record("C", 2, 1, 0)};
    m_window->m_cameras[2].name = QStringLiteral("B");
    m_window->ondeviceListFresh();
    EXPECT_EQ(m_window->ui->devlistcomb->count(), 2);
    EXPECT_EQ(m_window->ui->devlistcomb->currentText(), QStringLiteral("B"));
}

TEST_F(SwitchTest, listOperationsFollowTheCriteria)
{
    const QString event = eventOf("add", "Cam", 2, 4660, 22136);
    EXPECT_FALSE(m_window->Contain_of(event, 0));
    EXPECT_FALSE(m_window->Contain_of(event, 1));
    EXPECT_EQ(m_window->Remove_of(event, 0), 0);

    std::vector<_tag_unit_camera> cameras{record("Cam", 2, 0, 0), record("Desk", 2),
                                          record("Cam", 2), record("Cam", 3)};
    std::strcpy(cameras[1].devname, "Cam");
    m_window->m_cameras = cameras;
    EXPECT_FALSE(m_window->Contain_of(event, 0));
    EXPECT_TRUE(m_window->Contain_of(event, 1));
    EXPECT_TRUE(m_window->Contain_of(event, 23));
    EXPECT_FALSE(m_window->Contain_of(eventOf("add", "Cam", 9, 4660, 22136), 2));
    EXPECT_FALSE(m_window->Contain_of(eventOf("add", "Cam", 2, 1, 22136), 16));
    EXPECT_FALSE(m_window->Contain_of(eventOf("add", "Cam", 2, 4660, 1), 16));
    EXPECT_TRUE(m_window->Contain_of(eventOf("add", "Cam", 9, 1, 1), 8));
    EXPECT_FALSE(m_window->Contain_of(eventOf("add", "Nobody", 2, 4660, 22136), 4));

    EXPECT_EQ(m_window->Remove_of(event, 23), 1);
    EXPECT_EQ(ids(), (std::vector<int>{2, 2, 3}));
    EXPECT_EQ(m_window->Remove_of(event, 8), 3);
    m_window->m_cameras = cameras;
    EXPECT_EQ(m_window->Remove_of(event, 1), 3);
    EXPECT_EQ(m_window->m_cameras.size(), 1U);
    m_window->m_cameras = cameras;
    EXPECT_EQ(m_window->Remove_of(event, 0), 4) << "without criteria every record qualifies";
    EXPECT_EQ(traces(), "");
}
