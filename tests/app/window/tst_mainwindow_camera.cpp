#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include <QSettings>

#include <filesystem>

namespace {

constexpr char kThreeSizes[] = R"([{"res-no":0,"res-w":2592,"res-h":1944},)"
                               R"({"res-no":1,"res-w":1920,"res-h":1080},)"
                               R"({"res-no":2,"res-w":640,"res-h":480}])";

constexpr char kOpenCalls[] = "Open(7)\n"
                              "GetResolutionList(7)\n"
                              "GetCurResolutionNo(7)\n";

} // namespace

class CameraTest : public WindowTest
{
protected:
    CameraTest()
    {
        m_camera.ID = 7;
        m_camera.vid = 0x1234;
        m_camera.pid = 0x5678;
        m_camera.connect = 1;
    }

    void start()
    {
        startLibrary();
        fake_set_resolution_json(kThreeSizes);
    }

    std::string traces()
    {
        return withoutSourceLines(withoutSourceLines(WindowTest::traces(), "FreshCameraResWidget"),
                                  "SaveCameraWorkArg");
    }

    bool controlsAreDisabled() const
    {
        const Ui_MainWindow &ui = *m_window->ui;
        return ui.devlistcomb->isEnabled() && !ui.dpilistcomb->isEnabled()
            && !ui.filemodecomb->isEnabled() && !ui.photoBtn->isEnabled()
            && !ui.imgshowwidgt->isEnabled();
    }

    bool controlsAreEnabled() const
    {
        const Ui_MainWindow &ui = *m_window->ui;
        return ui.devlistcomb->isEnabled() && ui.dpilistcomb->isEnabled()
            && ui.filemodecomb->isEnabled() && ui.photoBtn->isEnabled()
            && ui.imgshowwidgt->isEnabled();
    }

    _tag_unit_camera m_camera;
};

TEST_F(CameraTest, libraryIsInitialisedAndTheCallbackRegistered)
{
    fake_set_result("RegCallBackCameraChange", 3);
    m_window->onslot_StartCamera();
    EXPECT_EQ(traces(),
              "[LoadLib]load camera sdk success\n"
              "RegCallBackCameraChange callback function  3\n");
    EXPECT_EQ(calls(),
              "Init()\n"
              "RegCallBackCameraChange(callback)\n");
    EXPECT_TRUE(m_window->m_KorvCamera);
}

TEST_F(CameraTest, failingInitIsReportedAndStartUpGoesOn)
{
    fake_set_result("Init", -3);
    fake_set_result("RegCallBackCameraChange", -1);
    m_window->onslot_StartCamera();
    EXPECT_EQ(traces(),
              "[LoadLib]load camera sdk success\n"
              "init camera fail -3\n"
              "RegCallBackCameraChange callback function  -1\n");
    EXPECT_EQ(calls(),
              "Init()\n"
              "RegCallBackCameraChange(callback)\n");
    EXPECT_TRUE(m_window->m_KorvCamera);
}

TEST_F(CameraTest, missingLibraryLeavesTheWindowUsable)
{
    WindowUnderTest window("/nonexistent/libcamera.so");
    window.onslot_StartCamera();
    EXPECT_EQ(traces(),
              "load tavelo :/nonexistent/libcamera.so: cannot open shared object file: "
              "No such file or directory\n"
              "load camera lib  fail\n");
    EXPECT_FALSE(window.m_KorvCamera);
    EXPECT_TRUE(window.ui->devlistcomb->isEnabled());
}

TEST_F(CameraTest, libraryThatLacksAnyNameIsRefused)
{
    int refused = 0;
    for (const auto &entry : std::filesystem::directory_iterator(KORV_INCOMPLETE_CAMERAS)) {
        const std::string path = entry.path().string();
        if (path.find("/libwithout") == std::string::npos)
            continue;
        SCOPED_TRACE(path);
        WindowUnderTest window(path.c_str());
        traces();
        window.onslot_StartCamera();
        ASSERT_EQ(traces(),
                  "[LoadLib]load camera sdk failed\n"
                  "load camera lib  fail\n");
        EXPECT_FALSE(window.m_KorvCamera);
        ++refused;
    }
    EXPECT_EQ(refused, 24);
}

TEST_F(CameraTest, openingForTheFirstTimeTakesTheDefaults)
{
    start();
    fake_set_result("GetCurResolutionNo", 2);
    fake_set_result("SetCurResolutionNo", -8);
    fake_set_result("StartCapture", 4);
    EXPECT_EQ(m_window->OpenCamera(m_camera), 4);
    EXPECT_EQ(traces(),
              std::string("[OpenCamera] ENTER\n"
                          "[func-ParseCameraResJSONStr]resjsonstr:")
                  + kThreeSizes
                  + "\n"
                    "[OpenCamera][1092]resName \n"
                    "[OpenCamera][1093]KorvCamera_GetResolutionNo 2\n"
                    "[OpenCamera][1098]KorvCamera_SetResolutionNo 2 -8\n"
                    "[ParseCamFileColorJSONStr]color-json:(null)\n"
                    "[FreshCameraResWidget] ENTER \n"
                    "[FreshCameraResWidget][#] set current index 2\n");
    EXPECT_EQ(calls(),
              std::string(kOpenCalls)
                  + "SetCurResolutionNo(7,2)\n"
                    "StartCapture(7,callback)\n");
    EXPECT_EQ(m_camera.status, 1);
    EXPECT_TRUE(controlsAreEnabled());

    const _tag_file_argv &argv = m_window->m_fileArgv;
    EXPECT_EQ(argv.type, QStringLiteral("jpg"));
    EXPECT_FALSE(argv.multpage);
    EXPECT_EQ(argv.quality, 95);
    EXPECT_EQ(argv.path, QString::fromStdString(m_home.home().string()));
    EXPECT_EQ(argv.color, 0);
    EXPECT_EQ(argv.crop_type, QStringLiteral("无"));
    EXPECT_EQ(argv.rotate, QStringLiteral("无"));
    EXPECT_EQ(m_window->ui->dpilistcomb->currentText(), QStringLiteral("640*480"));
    EXPECT_EQ(m_window->m_resolutionNo, 2);
    EXPECT_EQ(settingsFile("1234*5678.ini"), "") << "opening writes nothing";
}

TEST_F(CameraTest, savedChoicesComeBack)
{
    start();
    const std::string folder = useSaveFolder();
    writeSettings("1234*5678.ini",
                  "[device]\nres=1920*1080\n"
                  "[file]\nmultpage=true\nquality=60\ntype=pdf\npath="
                      + folder
                      + "\n[image]\ncolor=2\ncrop-type=\\x81ea\\x52a8\\x88c1\\x5207\n"
                        "rotate=\\x53f3\\x65cb\\x39\\x30\\x5ea6\n");
    EXPECT_EQ(m_window->OpenCamera(m_camera), 0);
    EXPECT_EQ(traces(),
              std::string("[OpenCamera] ENTER\n"
                          "[func-ParseCameraResJSONStr]resjsonstr:")
                  + kThreeSizes
                  + "\n"
                    "[OpenCamera][1098]KorvCamera_SetResolutionNo 1 0\n"
                    "[ParseCamFileColorJSONStr]color-json:(null)\n"
                    "[FreshCameraResWidget] ENTER \n"
                    "[FreshCameraResWidget][#] set current index 1\n");
    EXPECT_EQ(calls(),
              std::string(kOpenCalls)
                  + "SetCurResolutionNo(7,1)\n"
                    "StartCapture(7,callback)\n");
    const Ui_MainWindow &ui = *m_window->ui;
    EXPECT_EQ(m_window->m_fileArgv.quality, 60);
    EXPECT_EQ(m_window->m_fileArgv.path, QString::fromStdString(folder));
    EXPECT_EQ(m_window->m_resolutionNo, 1);
    EXPECT_EQ(ui.dpilistcomb->currentText(), QStringLiteral("1920*1080"));
    EXPECT_EQ(ui.filemodecomb->currentText(), QStringLiteral("pdf"));
    EXPECT_TRUE(ui.multPageCB->isEnabled());
    EXPECT_TRUE(ui.multPageCB->isChecked());
    EXPECT_EQ(ui.colormodecomb->currentText(), QStringLiteral("黑白"));
    EXPECT_EQ(ui.cropstylecomb->currentText(), QStringLiteral("自动裁切"));
    EXPECT_EQ(ui.rotatestylecomb->currentText(), QStringLiteral("右旋90度"));
}

TEST_F(CameraTest, savedResolutionNoLongerOfferedFallsBack)
{
    start();
    fake_set_result("GetCurResolutionNo", 1);
    writeSettings("1234*5678.ini", "[device]\nres=1600*1200\n");
    m_window->OpenCamera(m_camera);
    EXPECT_NE(traces().find("[OpenCamera][1092]resName 1600*1200\n"
                            "[OpenCamera][1093]KorvCamera_GetResolutionNo 1\n"
                            "[OpenCamera][1098]KorvCamera_SetResolutionNo 1 0\n"),
              std::string::npos);
    EXPECT_EQ(m_window->ui->dpilistcomb->currentText(), QStringLiteral("1920*1080"));
}

TEST_F(CameraTest, savedTypeIsKeptOnlyWhenOffered)
{
    const struct
    {
        const char *saved;
        const char *shown;
    } rows[] = {{"gif", "jpg"}, {"PDF", "jpg"}, {"", "jpg"}, {"tiff", "tiff"}, {"ofd", "ofd"}};
    start();
    for (const auto &row : rows) {
        SCOPED_TRACE(row.saved);
        writeSettings("1234*5678.ini", std::string("[file]\ntype=") + row.saved + "\n");
        m_window->OpenCamera(m_camera);
        EXPECT_EQ(m_window->m_fileArgv.type, QString::fromLatin1(row.shown));
        EXPECT_EQ(m_window->ui->filemodecomb->currentText(), QString::fromLatin1(row.shown));
    }
}

TEST_F(CameraTest, unreadableNumbersReadAsZeroAndUnknownTextsAsTheFirstEntry)
{
    start();
    writeSettings("1234*5678.ini",
                  "[file]\nquality=much\n[image]\ncolor=red\ncrop-type=some\nrotate=twice\n");
    m_window->OpenCamera(m_camera);
    EXPECT_EQ(m_window->m_fileArgv.quality, 0);
    EXPECT_EQ(m_window->m_fileArgv.color, 0);
    EXPECT_EQ(m_window->ui->cropstylecomb->currentText(), QStringLiteral("无"));
    EXPECT_EQ(m_window->ui->rotatestylecomb->currentText(), QStringLiteral("无"));
}

TEST_F(CameraTest, settingsThatWouldTakeAllMemoryAreLeftAloneUntilTheCameraIsClosed)
{
    start();
    const std::string huge = R"([file]
type=@Variant(\0\0\0\xb\x7f\xff\xff\xff)
)";
    writeSettings("1234*5678.ini", huge);
    m_window->OpenCamera(m_camera);
    EXPECT_EQ(m_window->m_fileArgv.type, QStringLiteral("jpg"));
    EXPECT_EQ(m_window->m_fileArgv.quality, 95);
    EXPECT_NE(traces().find("settings not read, values of unknown kinds in:"), std::string::npos);
    EXPECT_EQ(settingsFile("1234*5678.ini"), huge);
    m_window->CloseCamera(m_camera);
    EXPECT_NE(traces().find("settings with values of unknown kinds kept as:"), std::string::npos);
    EXPECT_EQ(settingsFile("1234*5678.ini.bad"), huge);
    m_window->OpenCamera(m_camera);
    EXPECT_EQ(traces().find("unknown kinds"), std::string::npos);
}

TEST_F(CameraTest, saveFolderWithTheNameOfAValueComesBack)
{
    start();
    for (const char *folder : {"/a,@Variant(b", "/x=@Variant(y", "/p=@DateTime(q", "@Variant(b)"}) {
        m_window->OpenCamera(m_camera);
        m_window->m_fileArgv.path = QString::fromLatin1(folder);
        m_window->CloseCamera(m_camera);
        m_window->m_fileArgv.path.clear();
        m_window->OpenCamera(m_camera);
        EXPECT_EQ(m_window->m_fileArgv.path, QString::fromLatin1(folder));
        EXPECT_EQ(settingsFile("1234*5678.ini.bad"), "");
    }
}

TEST_F(CameraTest, withoutAHomeNothingIsOpened)
{
    start();
    const support::ScopedVariable noHome("HOME", std::nullopt);
    EXPECT_EQ(m_window->OpenCamera(m_camera), -1);
    EXPECT_EQ(traces(),
              "[OpenCamera] ENTER\n"
              "[OpenCamera][1049]fail GetTempPath \n");
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(m_camera.status, 0);
    EXPECT_TRUE(controlsAreDisabled());
}

TEST_F(CameraTest, refusedOpenEndsTheOpening)
{
    start();
    fake_set_result("Open", -19);
    EXPECT_EQ(m_window->OpenCamera(m_camera), -19);
    EXPECT_EQ(traces(),
              "[OpenCamera] ENTER\n"
              "[OpenCamera][1067]KorvCamera_Open -19\n");
    EXPECT_EQ(calls(), "Open(7)\n");
    EXPECT_EQ(m_camera.status, 0);
    EXPECT_TRUE(controlsAreDisabled());
}

TEST_F(CameraTest, missingResolutionListClosesTheDeviceAgain)
{
    start();
    m_window->m_resolutions.push_back({QStringLiteral("1*1"), 4, 1, 1});
    m_window->m_resolutionNo = 4;
    fake_set_resolution_json(nullptr);
    EXPECT_EQ(m_window->OpenCamera(m_camera), -1);
    EXPECT_EQ(traces(),
              "[OpenCamera] ENTER\n"
              "[OpenCamera][1073]KorvCamera_GetResolutionList\n");
    EXPECT_EQ(calls(),
              "Open(7)\n"
              "GetResolutionList(7)\n"
              "Close(7)\n");
    EXPECT_EQ(m_camera.status, 0);
    EXPECT_EQ(m_window->m_resolutions.size(), 1U);
    EXPECT_EQ(m_window->m_resolutionNo, 4);
    EXPECT_TRUE(controlsAreDisabled());
}

TEST_F(CameraTest, failedStartOfCaptureClosesTheDeviceAgain)
{
    start();
    fake_set_result("StartCapture", -5);
    fake_set_result("GetCurResolutionNo", 1);
    EXPECT_EQ(m_window->OpenCamera(m_camera), -5);
    EXPECT_EQ(traces(),
              std::string("[OpenCamera] ENTER\n"
                          "[func-ParseCameraResJSONStr]resjsonstr:")
                  + kThreeSizes
                  + "\n"
                    "[OpenCamera][1092]resName \n"
                    "[OpenCamera][1093]KorvCamera_GetResolutionNo 1\n"
                    "[OpenCamera][1098]KorvCamera_SetResolutionNo 1 0\n"
                    "[OpenCamera][1102]KorvCamera_StartCapture -5\n");
    EXPECT_EQ(calls(),
              std::string(kOpenCalls)
                  + "SetCurResolutionNo(7,1)\n"
                    "StartCapture(7,callback)\n"
                    "Close(7)\n");
    EXPECT_EQ(m_camera.status, 0);
    EXPECT_TRUE(controlsAreDisabled());
    EXPECT_EQ(m_window->m_resolutions.size(), 3U) << "the new list stays";
    EXPECT_EQ(m_window->ui->dpilistcomb->count(), 0);
    EXPECT_EQ(settingsFile("1234*5678.ini"), "");
}

TEST_F(CameraTest, recordDumpHasItsFixedForm)
{
    m_camera.name = QStringLiteral("Cam1");
    m_camera.vid = 0x1234;
    m_camera.pid = 0xb;
    m_camera.status = 1;
    std::snprintf(m_camera.mode, sizeof m_camera.mode, "Cam");
    m_window->ShowCameraUnitArgv(m_camera);
    EXPECT_EQ(traces(),
              "******************[func-ShowCameraUnitArgv***********************\n"
              "<<camera device info\n"
              "               id:0\n"
              "             name:Cam1\n"
              "           status:1\n"
              "               ID:7\n"
              "              vid:1234\n"
              "              pid:000B\n"
              "             node:\n"
              "             mode:Cam\n"
              "          connect:1\n"
              "******************func-ShowCameraUnitArgv]***********************\n");
}
