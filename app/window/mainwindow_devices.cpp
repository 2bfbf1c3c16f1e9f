#include "app/window/mainwindow.h"

#include "camera/cameralist.h"
#include "camera/deviceevent.h"
#include "ui/ui_mainwindow.h"

#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

constexpr int kNone = -1;
constexpr int kSwitchForHotplug = 0;
constexpr int kSwitchForSelection = 1;
constexpr int kSwitchForShutdown = 3;

} // namespace

void MainWindow::hotplugCallBack(char *text)
{
    std::printf("MainWindow::hotplugCallBack:%s\n", text != nullptr ? text : "(null)");
    const std::optional<QString> event = deviceevent::fromJson(text);
    if (!event)
        return; // dropped; an incomplete text stays the library's
    std::free(text);
    emit gMainWindow->deviceChange(*event);
}

void MainWindow::ondeviceChange(QString event)
{
    std::printf("[%s] enter %s\n", "ondeviceChange", event.toStdString().c_str());
    const QString action = deviceevent::action(event);
    if (action == QLatin1String("add"))
        AddDevice(event);
    else if (action == QLatin1String("remove"))
        MaskDevice(event);
    emit gMainWindow->deviceRunningSwitch(kSwitchForHotplug);
    std::printf("[%s] exit \n", "ondeviceChange");
}

bool MainWindow::Contain_of(QString event, int criteria)
{
    return cameralist::contains(m_cameras, event, criteria);
}

int MainWindow::AddDevice(QString event)
{
    std::printf("[func]-%s:%s\n", "AddDevice", event.toStdString().c_str());
    const SpinGuard guard{m_deviceLock};
    if (!Contain_of(event, cameralist::SameOnlineDevice))
        m_cameras.push_back(cameralist::recordFromEvent(event));
    return 0;
}

int MainWindow::MaskDevice(QString event)
{
    std::printf("[func]-%s:%s\n", "MaskDevice", event.toStdString().c_str());
    const SpinGuard guard{m_deviceLock};
    cameralist::markGone(m_cameras, event);
    return 0;
}

int MainWindow::Remove_of(QString event, int criteria)
{
    return cameralist::remove(m_cameras, event, criteria);
}

void MainWindow::ondeviceListFresh()
{
    std::printf("IN [func-%s] \n", "ondeviceListFresh");
    {
        const SpinGuard guard{m_deviceLock};
        QComboBox &selector = *ui->devlistcomb;
        selector.clear();
        for (_tag_unit_camera &camera : m_cameras) {
            if (camera.connect == 1) {
                QString text = QString::fromLocal8Bit(camera.mode);
                for (int counter = 1;
                     selector.findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive) >= 0;
                     ++counter)
                    text = QString::fromUtf8(camera.mode) + QString::number(counter);
                camera.name = text;
                selector.addItem(text, static_cast<unsigned int>(camera.ID));
            }
            if (camera.status == 1)
                selector.setCurrentText(camera.name);
        }
    }
    std::printf("[func-%s] out\n", "ondeviceListFresh");
}

void MainWindow::onslot_devlistcomb_changecurrentindex(int)
{
    // Fires from inside ondeviceListFresh(), which holds the device-list lock: only post.
    emit gMainWindow->deviceRunningSwitch(kSwitchForSelection);
}

void MainWindow::ondeviceRunningSwitch(int type)
{
    std::printf("[%s] Enter type:%d \n", "ondeviceRunningSwitch", type);
    {
        const SpinGuard guard{m_deviceLock};
        const int running = sweepOfflineCameras();
        if (type == kSwitchForShutdown) {
            if (running != kNone)
                CloseCamera(m_cameras[static_cast<std::size_t>(running)]);
            return;
        }
        runSelectedCamera(running);
    }
    std::printf("[%s] EXIT \n", "ondeviceRunningSwitch");
    if (type == kSwitchForHotplug)
        emit gMainWindow->deviceListFresh();
}

/// Erases the records of devices that have left, closing an open one first. Returns the position of
/// the running camera, or kNone.
int MainWindow::sweepOfflineCameras()
{
    int running = kNone;
    for (std::size_t position = 0; position < m_cameras.size();) {
        _tag_unit_camera &camera = m_cameras[position];
        if (camera.connect == 0) {
            if (camera.status == 1)
                CloseCamera(camera);
            m_cameras.erase(m_cameras.begin() + static_cast<std::ptrdiff_t>(position));
            continue;
        }
        if (camera.status == 1)
            running = static_cast<int>(position);
        ++position;
    }
    return running;
}

/// Makes the selected camera the running one.
void MainWindow::runSelectedCamera(int running)
{
    const QComboBox &selector = *ui->devlistcomb;
    const int selected = selector.currentIndex();
    if (running == kNone) {
        openCameraAt(selected < 0 ? 0 : selected);
        return;
    }

    _tag_unit_camera &camera = m_cameras[static_cast<std::size_t>(running)];
    const int selectedNode = selector.currentData(Qt::UserRole).toInt();
    std::printf("cur index:%d \n", selected);
    std::printf("cur name:%s\n", selector.currentText().toStdString().c_str());
    std::printf("cur node:%d\n", selectedNode);
    std::printf("run index:%d \n", running);
    std::printf("run name:%s\n", camera.name.toStdString().c_str());
    std::printf("run node:%d\n", camera.ID);
    if (selected < 0 || (selector.currentText() == camera.name && selectedNode == camera.ID))
        return;
    std::printf("closecamera index %d\n", selected);
    CloseCamera(camera);
    openCameraAt(selected);
}

/// The selector's position is used as the list's. Between a sweep and the refresh that follows it
/// the selector may still show more items than there are records: nothing is opened then.
void MainWindow::openCameraAt(int position)
{
    if (static_cast<std::size_t>(position) < m_cameras.size())
        OpenCamera(m_cameras[static_cast<std::size_t>(position)]);
}
