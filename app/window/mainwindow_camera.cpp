#include "app/window/mainwindow.h"

#include "camera/cameralist.h"
#include "camera/ccamerasdk.h"
#include "camera/resolutionlist.h"
#include "settings/unsafesettings.h"
#include "settings/workarguments.h"
#include "ui/ui_mainwindow.h"
#include "util/general.h"
#include "util/trace.h"

#include <array>
#include <cstdio>
#include <optional>

namespace {

constexpr std::size_t kPathSize = 4096;
constexpr int kFolderMode = 777; // the helper prints the digits behind a literal 0

/// The application's private folder, read as local 8-bit text; nothing when there is none.
std::optional<QString> configurationFolder()
{
    std::array<char, kPathSize> path{};
    if (general::Korv_Config_GetTempPath(static_cast<int>(path.size()), path.data()) < 0)
        return std::nullopt;
    return QString::fromLocal8Bit(path.data());
}

/// Ends with the doubled slash that the folder's own trailing slash leads to.
QString backupFolderIn(const QString &configurationFolder)
{
    return configurationFolder + QStringLiteral("/backup");
}

bool makeFolder(const QString &folder)
{
    return general::Korv_Config_Mkdir(folder.toStdString().c_str(), kFolderMode) >= 0;
}

/// The file with the settings of the camera's model.
QString settingsFileOf(const _tag_unit_camera &camera, const QString &backupFolder)
{
    return workarguments::settingsFileName(backupFolder, camera.vid, camera.pid);
}

} // namespace

void MainWindow::onslot_StartCamera()
{
    m_KorvCamera = std::make_unique<CCameraSDK>(m_cameraLibrary);
    if (m_KorvCamera->LoadLib() < 0) {
        std::puts("load camera lib  fail");
        m_KorvCamera.reset();
        return;
    }
    const int initialised = m_KorvCamera->Init();
    if (initialised < 0)
        std::printf("init camera fail %d\n", initialised);
    const int registered = m_KorvCamera->RegCallBackCameraChange(MainWindow::hotplugCallBack);
    std::printf("RegCallBackCameraChange callback function  %d\n", registered);
}

int MainWindow::OpenCamera(_tag_unit_camera &cam)
{
    constexpr trace::Origin log{"OpenCamera"};
    std::printf("[%s] ENTER\n", "OpenCamera");

    // Where this model's settings lie.
    const std::optional<QString> folder = configurationFolder();
    if (!folder) {
        log.at(1049, "fail GetTempPath \n");
        return -1;
    }
    const QString backupFolder = backupFolderIn(*folder);
    if (!makeFolder(backupFolder)) {
        log.at(1058, "fail mkdir GetTempPath \n");
        return -1;
    }
    backupSetting settings(unsafesettings::toRead(settingsFileOf(cam, backupFolder)));

    // The device and what it offers.
    const int opened = m_KorvCamera->Open(cam.ID);
    if (opened < 0) {
        log.at(1067, "KorvCamera_Open %d\n", opened);
        return opened;
    }
    char *resolutions = m_KorvCamera->GetResolutionList(cam.ID);
    if (resolutions == nullptr) {
        log.at(1073, "KorvCamera_GetResolutionList\n");
        m_KorvCamera->Close(cam.ID);
        return -1;
    }
    ParseCameraResJSONStr(resolutions);

    // Its resolution, then its frames.
    const int number = chooseResolution(workarguments::savedResolution(settings), cam.ID);
    const int selected = m_KorvCamera->SetCurResolutionNo(cam.ID, number);
    log.at(1098, "KorvCamera_SetResolutionNo %d %d\n", number, selected);
    const int started = m_KorvCamera->StartCapture(cam.ID, MainWindow::CameraCpatureReciveCB);
    if (started < 0) {
        log.at(1102, "KorvCamera_StartCapture %d\n", started);
        m_KorvCamera->Close(cam.ID);
        return started;
    }

    // The choices made last time with this model.
    ParseCamFileTypeStr();
    workarguments::read(settings, m_fileArgv);
    refreshOptionWidgets();

    EnableWidgets(true, true);
    cam.status = 1;
    return started;
}

int MainWindow::chooseResolution(const QString &savedText, int id)
{
    constexpr trace::Origin log{"OpenCamera"};
    const _tag_unit_cam_res_unit *saved = resolutionlist::findByName(m_resolutions, savedText);
    m_resolutionNo = m_KorvCamera->GetCurResolutionNo(id);
    if (savedText.isEmpty() || saved == nullptr) {
        log.at(1092, "resName %s\n", savedText.toStdString().c_str());
        log.at(1093, "KorvCamera_GetResolutionNo %d\n", m_resolutionNo);
    } else {
        m_resolutionNo = saved->res_no;
    }
    return m_resolutionNo;
}

void MainWindow::refreshOptionWidgets()
{
    ParseCamFileTypeStr();
    ParseCamFileColorJSONStr(nullptr);
    FreshCameraResWidget();
    FreshCamFileTypeWidget();
    FreshCamFileColorWidget();
    FreshCamCropTypeWidget();
    FreshCamRotateTypeWidget();
}

int MainWindow::CloseCamera(_tag_unit_camera &cam)
{
    const int closed = m_KorvCamera->Close(cam.ID);
    std::printf("[%s] KorvCamera_Close-%d\n", "CloseCamera", closed);
    cam.status = 0;
    SaveCameraWorkArg(cam);
    EnableWidgets(false, true);
    return closed;
}

void MainWindow::SaveCameraWorkArg(_tag_unit_camera &camera)
{
    constexpr trace::Origin log{"SaveCameraWorkArg"};
    const std::optional<QString> folder = configurationFolder();
    if (!folder) {
        log.at(__LINE__, "failure GetTempPath \n");
        return;
    }
    const QString backupFolder = backupFolderIn(*folder);
    if (!makeFolder(backupFolder)) {
        log.at(__LINE__, "failure mkdir GetTempPath \n");
        return;
    }
    backupSetting settings(unsafesettings::toWrite(settingsFileOf(camera, backupFolder)));
    // What the user sees is what is saved; only the folder has no widget here.
    workarguments::Shown shown;
    shown.resolution = ui->dpilistcomb->currentText();
    shown.path = m_fileArgv.path;
    shown.type = ui->filemodecomb->currentText();
    shown.multpage = ui->multPageCB->isChecked();
    shown.color = ui->colormodecomb->currentData(Qt::UserRole).toInt();
    shown.cropType = ui->cropstylecomb->currentText();
    shown.rotate = ui->rotatestylecomb->currentText();
    workarguments::write(settings, camera.vid, camera.pid, shown);
}

void MainWindow::saveSession()
{
    if (!m_deviceLock.try_lock())
        return;
    for (_tag_unit_camera &camera : m_cameras) {
        if (camera.status == 1)
            SaveCameraWorkArg(camera);
    }
    m_deviceLock.unlock();
}

void MainWindow::ShowCameraUnitArgv(_tag_unit_camera &camera)
{
    cameralist::printRecord(camera);
}
