#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include <QSignalSpy>

#include <cstdlib>
#include <cstring>

namespace {

/// What ondeviceRunningSwitch() says when the selection is compared with the running camera.
std::string comparison(int index, const std::string &name, int node, int runIndex,
                       const std::string &runName, int runNode)
{
    return "cur index:" + std::to_string(index) + " \ncur name:" + name
        + "\ncur node:" + std::to_string(node) + "\nrun index:" + std::to_string(runIndex)
        + " \nrun name:" + runName + "\nrun node:" + std::to_string(runNode) + "\n";
}

constexpr char kOpening[] = "[OpenCamera] ENTER\n"
                            "[func-ParseCameraResJSONStr]resjsonstr:"
                            "[{\"res-no\":0,\"res-w\":640,\"res-h\":480}]\n"
                            "[OpenCamera][1092]resName \n"
                            "[OpenCamera][1093]KorvCamera_GetResolutionNo 0\n"
                            "[OpenCamera][1098]KorvCamera_SetResolutionNo 0 0\n"
                            "[ParseCamFileColorJSONStr]color-json:(null)\n"
                            "[FreshCameraResWidget] ENTER \n"
                            "[FreshCameraResWidget][#] set current index 0\n";

constexpr char kRefresh[] = "IN [func-ondeviceListFresh] \n"
                            "[func-ondeviceListFresh] out\n";

} // namespace

class DevicesTest : public WindowTest
{
protected:
    std::string traces()
    {
        return withoutSourceLines(WindowTest::traces(), "FreshCameraResWidget");
    }

    /// One camera after another; the first one runs.
    void plugAll(const std::vector<std::string> &names)
    {
        startLibrary();
        int index = 0;
        for (const std::string &name : names)
            plug(name, index++);
        traces();
        calls();
    }

    QStringList listed() const
    {
        QStringList texts;
        const QComboBox &selector = *m_window->ui->devlistcomb;
        for (int i = 0; i < selector.count(); ++i)
            texts.append(selector.itemText(i));
        return texts;
    }

    std::string selected() const { return m_window->ui->devlistcomb->currentText().toStdString(); }

    std::vector<int> running() const
    {
        std::vector<int> ids;
        for (const _tag_unit_camera &camera : m_window->m_cameras) {
            if (camera.status == 1)
                ids.push_back(camera.ID);
        }
        return ids;
    }
};

TEST_F(DevicesTest, firstCameraIsListedOpenedAndSelected)
{
    startLibrary();
    plug("Cam", 0);
    EXPECT_EQ(traces(),
              std::string("MainWindow::hotplugCallBack:{\"action\":\"add\",\"index\":0,"
                          "\"name\":\"Cam\",\"vid\":4660,\"pid\":22136}\n"
                          "[ondeviceChange] enter add,0,Cam,4660,22136\n"
                          "[func]-AddDevice:add,0,Cam,4660,22136\n"
                          "[ondeviceChange] exit \n"
                          "[ondeviceRunningSwitch] Enter type:0 \n")
                  + kOpening + "[ondeviceRunningSwitch] EXIT \n" + kRefresh
                  + "[ondeviceRunningSwitch] Enter type:1 \n" + comparison(0, "Cam", 0, 0, "Cam", 0)
                  + "[ondeviceRunningSwitch] EXIT \n");
    EXPECT_EQ(calls(),
              "Open(0)\n"
              "GetResolutionList(0)\n"
              "GetCurResolutionNo(0)\n"
              "SetCurResolutionNo(0,0)\n"
              "StartCapture(0,callback)\n");
    ASSERT_EQ(m_window->m_cameras.size(), 1U);
    const _tag_unit_camera &camera = m_window->m_cameras.front();
    EXPECT_EQ(camera.name, QStringLiteral("Cam"));
    EXPECT_EQ(camera.id, 0);
    EXPECT_EQ(camera.status, 1);
    EXPECT_STREQ(camera.devname, "Cam");
    EXPECT_STREQ(camera.node, "");
    EXPECT_STREQ(camera.mode, "Cam");
    EXPECT_EQ(camera.vid, 0x1234);
    EXPECT_EQ(camera.pid, 0x5678);
    EXPECT_EQ(camera.connect, 1);
    EXPECT_EQ(camera.ID, 0);
    EXPECT_EQ(selected(), "Cam");
    EXPECT_EQ(m_window->ui->devlistcomb->itemIcon(0).isNull(), true);
    EXPECT_EQ(m_window->ui->devlistcomb->itemData(0), QVariant(0U));
}

TEST_F(DevicesTest, secondCameraIsOnlyListed)
{
    plugAll({"Cam"});
    plug("Desk", 5);
    EXPECT_EQ(traces(),
              std::string("MainWindow::hotplugCallBack:{\"action\":\"add\",\"index\":5,"
                          "\"name\":\"Desk\",\"vid\":4660,\"pid\":22136}\n"
                          "[ondeviceChange] enter add,5,Desk,4660,22136\n"
                          "[func]-AddDevice:add,5,Desk,4660,22136\n"
                          "[ondeviceChange] exit \n"
                          "[ondeviceRunningSwitch] Enter type:0 \n")
                  + comparison(0, "Cam", 0, 0, "Cam", 0) + "[ondeviceRunningSwitch] EXIT \n"
                  + kRefresh
                  // once for the emptied selector, once for its first item
                  + "[ondeviceRunningSwitch] Enter type:1 \n" + comparison(0, "Cam", 0, 0, "Cam", 0)
                  + "[ondeviceRunningSwitch] EXIT \n" + "[ondeviceRunningSwitch] Enter type:1 \n"
                  + comparison(0, "Cam", 0, 0, "Cam", 0) + "[ondeviceRunningSwitch] EXIT \n");
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(listed(), QStringList({QStringLiteral("Cam"), QStringLiteral("Desk")}));
}

TEST_F(DevicesTest, chosenCameraReplacesTheRunningOne)
{
    plugAll({"Cam", "Desk"});
    m_window->ui->devlistcomb->setCurrentIndex(1);
    EXPECT_EQ(traces(), "") << "the selector only posts";
    runQueued();
    EXPECT_EQ(traces(),
              "[ondeviceRunningSwitch] Enter type:1 \n" + comparison(1, "Desk", 1, 0, "Cam", 0)
                  + "closecamera index 1\n"
                    "[CloseCamera] KorvCamera_Close-0\n"
                  // the settings of the model came with the camera closed just now
                  + "[OpenCamera] ENTER\n"
                    "[func-ParseCameraResJSONStr]resjsonstr:"
                    "[{\"res-no\":0,\"res-w\":640,\"res-h\":480}]\n"
                    "[OpenCamera][1098]KorvCamera_SetResolutionNo 0 0\n"
                    "[ParseCamFileColorJSONStr]color-json:(null)\n"
                    "[FreshCameraResWidget] ENTER \n"
                    "[FreshCameraResWidget][#] set current index 0\n"
                    "[ondeviceRunningSwitch] EXIT \n");
    EXPECT_EQ(calls(),
              "Close(0)\n"
              "Open(1)\n"
              "GetResolutionList(1)\n"
              "GetCurResolutionNo(1)\n"
              "SetCurResolutionNo(1,0)\n"
              "StartCapture(1,callback)\n");
    EXPECT_EQ(running(), std::vector<int>{1});
}

TEST_F(DevicesTest, unpluggedRunningCameraIsFollowedByTheNext)
{
    plugAll({"Cam", "Desk", "Third"});
    unplug("Cam", 0);
    const std::string seen = traces();
    EXPECT_EQ(seen.substr(0, seen.find("[OpenCamera]")),
              "MainWindow::hotplugCallBack:{\"action\":\"remove\",\"index\":0,\"name\":\"Cam\","
              "\"vid\":4660,\"pid\":22136}\n"
              "[ondeviceChange] enter remove,0,Cam,4660,22136\n"
              "[func]-MaskDevice:remove,0,Cam,4660,22136\n"
              "[ondeviceChange] exit \n"
              "[ondeviceRunningSwitch] Enter type:0 \n"
              "[CloseCamera] KorvCamera_Close-0\n");
    EXPECT_EQ(calls().substr(0, 17), "Close(0)\nOpen(1)\n");
    EXPECT_EQ(running(), std::vector<int>{1});
    EXPECT_EQ(listed(), QStringList({QStringLiteral("Desk"), QStringLiteral("Third")}));
    EXPECT_EQ(selected(), "Desk");
}

TEST_F(DevicesTest, unpluggedLastItemThatRanWaitsForTheRefresh)
{
    plugAll({"Cam", "Desk"});
    m_window->ui->devlistcomb->setCurrentIndex(1);
    runQueued();
    traces();
    calls();
    unplug("Desk", 1);
    const std::string seen = traces();
    // nothing stands at the selector's position until the refresh puts the first item there
    const std::string afterClosing = "[CloseCamera] KorvCamera_Close-0\n"
                                     "[ondeviceRunningSwitch] EXIT \n"
        + std::string(kRefresh)
        + "[ondeviceRunningSwitch] Enter type:1 \n"
          "[OpenCamera] ENTER\n";
    EXPECT_NE(seen.find(afterClosing), std::string::npos) << seen;
    EXPECT_EQ(running(), std::vector<int>{0});
    EXPECT_EQ(selected(), "Cam");
}

TEST_F(DevicesTest, unpluggedOnlyCameraLeavesAnEmptySelector)
{
    plugAll({"Cam"});
    unplug("Cam", 0);
    EXPECT_EQ(calls(), "Close(0)\n");
    EXPECT_TRUE(m_window->m_cameras.empty());
    EXPECT_EQ(listed(), QStringList());
    EXPECT_FALSE(m_window->ui->photoBtn->isEnabled());
}

TEST_F(DevicesTest, unpluggedIdleCameraOnlyLeavesTheList)
{
    plugAll({"Cam", "Desk"});
    unplug("Desk", 1);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(listed(), QStringList(QStringLiteral("Cam")));
    EXPECT_EQ(running(), std::vector<int>{0});
}

TEST_F(DevicesTest, equalNamesAreNumbered)
{
    plugAll({"Cam", "Cam", "Cam"});
    EXPECT_EQ(listed(),
              QStringList({QStringLiteral("Cam"), QStringLiteral("Cam1"), QStringLiteral("Cam2")}));
    EXPECT_EQ(m_window->m_cameras[2].name, QStringLiteral("Cam2"));
    EXPECT_STREQ(m_window->m_cameras[2].mode, "Cam");
}

TEST_F(DevicesTest, numberedNameMayMeetARealOne)
{
    plugAll({"Cam", "Cam", "Cam1"});
    EXPECT_EQ(
        listed(),
        QStringList({QStringLiteral("Cam"), QStringLiteral("Cam1"), QStringLiteral("Cam11")}));
}

TEST_F(DevicesTest, namesThatDifferInCaseAreDifferent)
{
    plugAll({"Cam", "cam"});
    EXPECT_EQ(listed(), QStringList({QStringLiteral("Cam"), QStringLiteral("cam")}));
}

TEST_F(DevicesTest, chineseNamesAreShown)
{
    plugAll({"高拍仪", "高拍仪"});
    EXPECT_EQ(listed(), QStringList({QStringLiteral("高拍仪"), QStringLiteral("高拍仪1")}));
}

TEST_F(DevicesTest, repeatedAddKeepsOneRecord)
{
    plugAll({"Cam", "Cam"});
    plug("Cam", 0);
    EXPECT_EQ(m_window->m_cameras.size(), 2U);
    EXPECT_EQ(calls(), "");
}

TEST_F(DevicesTest, addBeforeTheSweepMakesASecondRecord)
{
    plugAll({"Cam"});
    const QString add = eventOf("add", "Cam", 0, 0x1234, 0x5678);
    m_window->MaskDevice(eventOf("remove", "Cam", 0, 0x1234, 0x5678));
    m_window->AddDevice(add);
    ASSERT_EQ(m_window->m_cameras.size(), 2U);
    EXPECT_EQ(m_window->m_cameras[0].connect, 0);
    EXPECT_EQ(m_window->m_cameras[1].connect, 1);
    m_window->ondeviceRunningSwitch(0);
    EXPECT_EQ(m_window->m_cameras.size(), 1U);
    EXPECT_EQ(calls().substr(0, 17), "Close(0)\nOpen(0)\n");
    EXPECT_EQ(running(), std::vector<int>{0});
}

TEST_F(DevicesTest, oneRemoveMarksEveryMatch)
{
    _tag_unit_camera camera;
    camera.ID = 2;
    camera.vid = 4660;
    camera.pid = 22136;
    camera.connect = 1;
    std::strcpy(camera.mode, "Cam");
    _tag_unit_camera other = camera;
    other.ID = 3;
    m_window->m_cameras = {camera, other, camera};
    EXPECT_EQ(m_window->MaskDevice(eventOf("remove", "Cam", 2, 4660, 22136)), 0);
    EXPECT_EQ(m_window->m_cameras[0].connect, 0);
    EXPECT_EQ(m_window->m_cameras[1].connect, 1);
    EXPECT_EQ(m_window->m_cameras[2].connect, 0);
    EXPECT_EQ(m_window->m_cameras.size(), 3U);
    EXPECT_EQ(traces(), "[func]-MaskDevice:remove,2,Cam,4660,22136\n");
}

TEST_F(DevicesTest, removeOfAnUnknownDeviceChangesNothing)
{
    plugAll({"Cam"});
    unplug("Cam", 1);
    unplug("Cam", 0, 1, 0x5678);
    EXPECT_EQ(m_window->m_cameras.size(), 1U);
    EXPECT_EQ(calls(), "");
}

TEST_F(DevicesTest, commaInTheNameShiftsTheFieldsOfAddAndRemoveAlike)
{
    plugAll({"A,B"});
    const _tag_unit_camera &camera = m_window->m_cameras.front();
    EXPECT_STREQ(camera.mode, "A");
    EXPECT_EQ(camera.vid, 0);
    EXPECT_EQ(camera.pid, 4660);
    EXPECT_EQ(listed(), QStringList(QStringLiteral("A")));
    unplug("A,B", 0);
    EXPECT_TRUE(m_window->m_cameras.empty());
}

TEST_F(DevicesTest, overlongNameIsCutAndNeverFoundAgain)
{
    const std::string name(70, 'n');
    plugAll({name});
    EXPECT_EQ(std::strlen(m_window->m_cameras.front().mode), 63U);
    EXPECT_EQ(std::strlen(m_window->m_cameras.front().devname), 63U);
    EXPECT_EQ(selected(), std::string(63, 'n'));
    unplug(name, 0);
    EXPECT_EQ(m_window->m_cameras.size(), 1U);
    EXPECT_EQ(calls(), "");
    plug(name, 0);
    EXPECT_EQ(m_window->m_cameras.size(), 2U) << "the repeated add is not recognised either";
}

TEST_F(DevicesTest, unknownActionStillChecksAndRefreshes)
{
    startLibrary();
    fake_emit_hotplug_on_thread(R"({"action":"ADD","index":0,"name":"Cam","vid":1,"pid":2})");
    runQueued();
    EXPECT_EQ(traces(),
              std::string("MainWindow::hotplugCallBack:{\"action\":\"ADD\",\"index\":0,"
                          "\"name\":\"Cam\",\"vid\":1,\"pid\":2}\n"
                          "[ondeviceChange] enter ADD,0,Cam,1,2\n"
                          "[ondeviceChange] exit \n"
                          "[ondeviceRunningSwitch] Enter type:0 \n"
                          "[ondeviceRunningSwitch] EXIT \n")
                  + kRefresh);
    EXPECT_TRUE(m_window->m_cameras.empty());
    EXPECT_EQ(calls(), "");
}

TEST_F(DevicesTest, incompleteEventsAreDroppedAndStayTheCallers)
{
    const QSignalSpy changes(m_window.get(), &MainWindow::deviceChange);
    const char *const texts[] = {
        R"({"index":0,"name":"Cam","vid":1,"pid":2})",
        R"({"action":"add","name":"Cam","vid":1,"pid":2})",
        R"({"action":"add","index":0,"vid":1,"pid":2})",
        R"({"action":"add","index":0,"name":"Cam","pid":2})",
        R"({"action":"add","index":0,"name":"Cam","vid":1})",
        "{\"action\":",
        "",
    };
    for (const char *text : texts) {
        SCOPED_TRACE(text);
        char *copy = strdup(text);
        MainWindow::hotplugCallBack(copy);
        runQueued();
        EXPECT_EQ(traces(), "MainWindow::hotplugCallBack:" + std::string(text) + "\n");
        EXPECT_STREQ(copy, text);
        std::free(copy);
    }
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(DevicesTest, orderAndNumberOfKeysDoNotMatter)
{
    const QSignalSpy changes(m_window.get(), &MainWindow::deviceChange);
    MainWindow::hotplugCallBack(
        strdup(R"({"pid":-3,"serial":"x","vid":4660,"action":"remove","name":"相机","index":-1})"));
    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes.at(0).at(0).toString(), QStringLiteral("remove,-1,相机,4660,-3"));
}
