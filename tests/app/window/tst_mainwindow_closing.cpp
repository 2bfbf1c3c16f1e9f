#include "tests/app/window/windowfixture.h"
#include "tests/app/window/windowtools.h"

#include <QSettings>

#include <filesystem>
#include <fstream>

class ClosingTest : public WindowTest
{
protected:
    ClosingTest()
    {
        m_camera.ID = 3;
        m_camera.vid = 0x0a;
        m_camera.pid = 0x1;
        m_camera.connect = 1;
        m_camera.status = 1;
    }

    std::string traces() { return withoutSourceLines(WindowTest::traces(), "SaveCameraWorkArg"); }

    std::filesystem::path backupFolder() const
    {
        return m_home.home() / ".config/vexalin/plixo-base/backup";
    }

    QVariant saved(const char *key) const
    {
        const QSettings file(QString::fromStdString((backupFolder() / "a*1.ini").string()),
                             QSettings::IniFormat);
        return file.value(QLatin1String(key));
    }

    void choose(const char *type, const char *crop, const char *rotation, int colour)
    {
        m_window->ParseCamFileTypeStr();
        m_window->FreshCamFileTypeWidget();
        m_window->ParseCamFileColorJSONStr(nullptr);
        m_window->FreshCamFileColorWidget();
        m_window->FreshCamCropTypeWidget();
        m_window->FreshCamRotateTypeWidget();
        m_window->ui->filemodecomb->setCurrentText(QString::fromUtf8(type));
        m_window->ui->cropstylecomb->setCurrentText(QString::fromUtf8(crop));
        m_window->ui->rotatestylecomb->setCurrentText(QString::fromUtf8(rotation));
        m_window->ui->colormodecomb->setCurrentIndex(colour);
        traces();
    }

    _tag_unit_camera m_camera;
};

TEST_F(ClosingTest, closingSavesAndDisables)
{
    startLibrary();
    fake_set_result("Close", -2);
    m_window->EnableWidgets(true, false);
    EXPECT_EQ(m_window->CloseCamera(m_camera), -2);
    EXPECT_EQ(traces(), "[CloseCamera] KorvCamera_Close--2\n");
    EXPECT_EQ(calls(), "Close(3)\n");
    EXPECT_EQ(m_camera.status, 0);
    EXPECT_TRUE(m_window->ui->devlistcomb->isEnabled());
    EXPECT_FALSE(m_window->ui->saveBtn->isEnabled());
    EXPECT_TRUE(std::filesystem::exists(backupFolder() / "a*1.ini"));
}

TEST_F(ClosingTest, deviceIsClosedBeforeAnythingIsSaved)
{
    startLibrary();
    int statusInside = -1;
    bool savedInside = true;
    const CallWatch watch([&](const std::string &, const std::string &) {
        statusInside = m_camera.status;
        savedInside = std::filesystem::exists(backupFolder() / "a*1.ini");
    });
    m_window->CloseCamera(m_camera);
    EXPECT_EQ(statusInside, 1);
    EXPECT_FALSE(savedInside);
}

TEST_F(ClosingTest, nineKeysHoldWhatTheSelectorsShow)
{
    m_window->m_fileArgv.path = QStringLiteral("/somewhere/照片");
    m_window->m_fileArgv.quality = 30;
    choose("pdf", "自动裁切", "左旋90度", 1);
    m_window->ui->multPageCB->setChecked(true);
    m_window->m_resolutions = {{QStringLiteral("1920*1080"), 1, 1920, 1080}};
    m_window->m_resolutionNo = 1;
    m_window->FreshCameraResWidget();
    // what is remembered is not what counts
    m_window->m_fileArgv.type = QStringLiteral("jpg");
    m_window->m_fileArgv.color = 2;
    m_window->m_fileArgv.multpage = false;

    m_window->SaveCameraWorkArg(m_camera);
    EXPECT_EQ(saved("device/vid"), QStringLiteral("a"));
    EXPECT_EQ(saved("device/pid"), QStringLiteral("1"));
    EXPECT_EQ(saved("device/res"), QStringLiteral("1920*1080"));
    EXPECT_EQ(saved("file/path"), QStringLiteral("/somewhere/照片"));
    EXPECT_EQ(saved("file/type"), QStringLiteral("pdf"));
    EXPECT_EQ(saved("file/multpage"), QStringLiteral("true"));
    EXPECT_EQ(saved("image/color"), QStringLiteral("1"));
    EXPECT_EQ(saved("image/crop-type"), QStringLiteral("自动裁切"));
    EXPECT_EQ(saved("image/rotate"), QStringLiteral("左旋90度"));
    const QSettings file(QString::fromStdString((backupFolder() / "a*1.ini").string()),
                         QSettings::IniFormat);
    EXPECT_EQ(file.allKeys().size(), 9) << file.allKeys().join(QLatin1Char(' ')).toStdString();
}

TEST_F(ClosingTest, fileHasItsFixedForm)
{
    m_window->m_fileArgv.path = QStringLiteral("/tmp");
    choose("tiff", "自动裁切", "旋转180度", 0);
    m_window->SaveCameraWorkArg(m_camera);
    EXPECT_EQ(settingsFile("a*1.ini"),
              "[device]\n"
              "pid=1\n"
              "res=\n"
              "vid=a\n"
              "\n"
              "[file]\n"
              "multpage=false\n"
              "path=/tmp\n"
              "type=tiff\n"
              "\n"
              "[image]\n"
              "color=0\n"
              "crop-type=\\x81ea\\x52a8\\x88c1\\x5207\n"
              "rotate=\\x65cb\\x8f6c\\x31\\x38\\x30\\x5ea6\n");
}

TEST_F(ClosingTest, emptySelectorsAreSavedEmpty)
{
    m_window->SaveCameraWorkArg(m_camera);
    EXPECT_EQ(saved("device/res"), QString());
    EXPECT_EQ(saved("file/type"), QString());
    EXPECT_EQ(saved("image/color").toInt(), 0);
    EXPECT_EQ(saved("image/crop-type"), QString());
    EXPECT_EQ(saved("file/multpage"), QStringLiteral("false"));
}

TEST_F(ClosingTest, folderIsMadeWithItsDoubledSlash)
{
    const std::filesystem::path tools = m_home.scratch() / "tools";
    const std::filesystem::path log = m_home.scratch() / "log";
    std::filesystem::create_directory(tools);
    std::ofstream(tools / "mkdir")
        << "#!/bin/sh\necho \"$@\" >>" << log.string() << "\nexec /bin/mkdir \"$@\"\n";
    std::filesystem::permissions(tools / "mkdir", std::filesystem::perms::owner_all);
    const support::ScopedVariable path("PATH", tools.string() + ":/usr/bin:/bin");
    m_window->SaveCameraWorkArg(m_camera);
    const std::string folder = (m_home.home() / ".config/vexalin/plixo-base/").string();
    EXPECT_EQ(support::readFile(log),
              "-p -m 0777 " + folder + "\n" + "-p -m 0777 " + folder + "/backup\n");
}

TEST_F(ClosingTest, withoutAHomeTheFileIsLeftAlone)
{
    startLibrary();
    writeSettings("a*1.ini", "[file]\ntype=png\n");
    {
        const support::ScopedVariable noHome("HOME", std::nullopt);
        EXPECT_EQ(m_window->CloseCamera(m_camera), 0);
    }
    EXPECT_EQ(traces(),
              "[CloseCamera] KorvCamera_Close-0\n"
              "[SaveCameraWorkArg][#]failure GetTempPath \n");
    EXPECT_EQ(m_camera.status, 0);
    EXPECT_FALSE(m_window->ui->photoBtn->isEnabled());
    EXPECT_EQ(settingsFile("a*1.ini"), "[file]\ntype=png\n");
}

TEST_F(ClosingTest, qualityOfTheDialogDoesNotSurviveReopening)
{
    startLibrary();
    m_window->OpenCamera(m_camera);
    m_window->m_fileArgv.quality = 30;
    m_window->CloseCamera(m_camera);
    EXPECT_EQ(settingsFile("a*1.ini").find("quality"), std::string::npos);
    m_window->OpenCamera(m_camera);
    EXPECT_EQ(m_window->m_fileArgv.quality, 95);
}

TEST_F(ClosingTest, choicesSurviveClosingAndReopening)
{
    startLibrary();
    fake_set_resolution_json(R"([{"res-no":5,"res-w":320,"res-h":240},)"
                             R"({"res-no":9,"res-w":640,"res-h":480}])");
    fake_set_result("GetCurResolutionNo", 5);
    m_window->OpenCamera(m_camera);
    m_window->ui->devlistcomb->addItem(QStringLiteral("Cam"), 3U);
    m_window->ui->dpilistcomb->setCurrentIndex(1);
    m_window->ui->filemodecomb->setCurrentText(QStringLiteral("ofd"));
    m_window->ui->multPageCB->setChecked(true);
    m_window->ui->colormodecomb->setCurrentIndex(2);
    m_window->ui->rotatestylecomb->setCurrentIndex(3);
    m_window->CloseCamera(m_camera);
    calls();
    m_window->OpenCamera(m_camera);
    EXPECT_NE(calls().find("SetCurResolutionNo(3,9)\n"), std::string::npos);
    EXPECT_EQ(m_window->ui->dpilistcomb->currentText(), QStringLiteral("640*480"));
    EXPECT_EQ(m_window->ui->filemodecomb->currentText(), QStringLiteral("ofd"));
    EXPECT_EQ(m_window->ui->colormodecomb->currentIndex(), 2);
    EXPECT_EQ(m_window->ui->rotatestylecomb->currentIndex(), 3);
}

TEST_F(ClosingTest, camerasOfOneModelShareTheFile)
{
    startLibrary();
    _tag_unit_camera twin = m_camera;
    twin.ID = 4;
    m_window->OpenCamera(m_camera);
    m_window->ui->filemodecomb->setCurrentText(QStringLiteral("png"));
    m_window->CloseCamera(m_camera);
    m_window->OpenCamera(twin);
    EXPECT_EQ(m_window->ui->filemodecomb->currentText(), QStringLiteral("png"));
    m_window->ui->filemodecomb->setCurrentText(QStringLiteral("bmp"));
    m_window->CloseCamera(twin);
    EXPECT_EQ(saved("file/type"), QStringLiteral("bmp"));
}
