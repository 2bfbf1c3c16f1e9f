#pragma once

#include "app/preview/framebuffer.h"
#include "app/preview/framereceiver.h"
#include "app/preview/previewrenderer.h"
#include "camera/camerarecords.h"
#include "installpaths.h"
#include "util/spinlock.h"

#include <QMainWindow>
#include <QPoint>
#include <QRect>
#include <QString>

#include <cstdint>
#include <list>
#include <memory>
#include <vector>

class CCameraSDK;
class QListWidgetItem;
class Ui_MainWindow;

/// The application's one window and the owner of all state.
///
/// Everything runs on the user-interface thread except the two static callbacks, which the camera
/// library calls on threads of its own: hotplugCallBack() only emits a queued signal, and
/// CameraCpatureReciveCB() only stores a frame and asks for a repaint. Errors are traced on
/// standard output and shown to nobody. The members are defined in the files that the section
/// comments name.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    // mainwindow.cpp
    /// `cameraLibrary` is opened 300 ms later by onslot_StartCamera().
    explicit MainWindow(QWidget *parent = nullptr,
                        const char *cameraLibrary = installpaths::kCameraLibrary);
    ~MainWindow() override;

    void InitArgument();
    void InitMainWindow();
    void CreateSlotConnect();
    void EnableWidgets(bool enable, bool devEnable);
    bool eventFilter(QObject *watched, QEvent *event) override;

    // mainwindow_camera.cpp
    int OpenCamera(_tag_unit_camera &cam);
    int CloseCamera(_tag_unit_camera &cam);
    void SaveCameraWorkArg(_tag_unit_camera &camera);
    /// Writes the running camera's settings and changes nothing else. Does nothing when it is called
    /// from inside work on the camera records.
    void saveSession();
    void ShowCameraUnitArgv(_tag_unit_camera &camera);

    // mainwindow_preview.cpp
    /// Any thread. The data stay the caller's.
    static int CameraCpatureReciveCB(void *data, int size, int width, int height);

    // mainwindow_devices.cpp
    /// Any thread. Owns `text` and frees it, unless it is no complete event.
    static void hotplugCallBack(char *text);
    bool Contain_of(QString event, int criteria) REQUIRES(m_deviceLock);
    int AddDevice(QString event);
    int MaskDevice(QString event);
    int Remove_of(QString event, int criteria) REQUIRES(m_deviceLock);

    // mainwindow_options.cpp
    void ParseCameraResJSONStr(char *json); ///< Frees `json` when it is a list with entries.
    void FreshCameraResWidget();
    int SetCameraResolution(int number);
    void ParseCamFileColorJSONStr(char *json);
    void FreshCamFileColorWidget();
    void ParseCamFileTypeStr();
    void FreshCamFileTypeWidget();
    void FreshCamCropTypeWidget();
    void FreshCamRotateTypeWidget();

    // mainwindow_thumbnails.cpp
    QString key_thumlist();
    void Append_thumlist(QString key, QString filePath);
    void Insert_thumlist(QString key, QString filePath);
    void Delete_thumlist(QString key);
    QString Eject_thumlist(int index);
    QString IsExit_thumlist(QString key);
    void Empty_thumlist();
    void addItem_imglistwidget(QString key, QString filePath);

    // mainwindow_menu.cpp
    void ImportFile_EchoPopupMenu();

signals:
    void deviceChange(QString action);
    void deviceListFresh();
    void deviceRunningSwitch(int type);
    void imglistwidget_previewimage();
    void imglistwidget_popupmenu();

public slots:
    void ondeviceChange(QString event);
    void ondeviceRunningSwitch(int type);
    void ondeviceListFresh();
    void onslot_imglistwidget_previewimage();
    void onslot_imglistwidget_popupmenu();
    void onslot_imglistwidget_echopopupmenu();
    void onslot_setbtn_setwidget();
    void onslot_savebtn_createfile(int type = 0);
    void onslot_setbtn_takephoto();
    void onslot_devlistcomb_changecurrentindex(int index);
    void onslot_StartCamera();
    void onslot_dpilistcomb_changecurrentindex(int index);
    void onslot_filemodecomb_changecurrentindex(int index);
    void onslot_multipagecb_change();

protected:
    void closeEvent(QCloseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

    FrameBuffer m_frame;
    SpinLock m_deviceLock;
    std::vector<_tag_unit_cam_res_unit> m_resolutions;
    int m_resolutionNo = -1;
    bool m_resolutionSelectorReady = false;
    _tag_file_argv m_fileArgv;
    std::vector<_tag_unit_camera> m_cameras GUARDED_BY(m_deviceLock);
    std::unique_ptr<Ui_MainWindow> ui;
    std::unique_ptr<CCameraSDK> m_KorvCamera; ///< null when the library could not be loaded

private:
    // mainwindow_camera.cpp
    int chooseResolution(const QString &savedText, int id);
    void refreshOptionWidgets();

    // mainwindow_preview.cpp
    void requestRepaint();
    QRect previewRectangle() const;
    bool refreshFrontPicture(PreviewTarget::Value target);

    // mainwindow_devices.cpp
    int sweepOfflineCameras() REQUIRES(m_deviceLock);
    void runSelectedCamera(int running) REQUIRES(m_deviceLock);
    void openCameraAt(int position) REQUIRES(m_deviceLock);

    // mainwindow_options.cpp
    void applyMultiPageRule();
    int selectedDevice() const;

    // mainwindow_thumbnails.cpp, mainwindow_menu.cpp
    void addPhotographIfWritten(const QString &key, const QString &filePath);
    void showThumbnailMenu(QPoint globalPosition);
    void showCurrentThumbnailMenu();
    QListWidgetItem *thumbnailAt(QPoint globalPosition) const;
    void openThumbnail(QPoint globalPosition);
    void deleteSelectedThumbnails();

    // mainwindow_export.cpp
    std::list<_tag_unit_Thum_file_unit> photographsToExport(int type);
    void exportSingleFiles(const std::list<_tag_unit_Thum_file_unit> &photographs,
                           const QString &folder, const QString &format);
    void exportOneDocument(const std::list<_tag_unit_Thum_file_unit> &photographs,
                           const QString &folder, const QString &format);
    void removeExported(int type);

    const char *m_cameraLibrary;
    PreviewTarget m_previewTarget;
    FrameReceiver m_receiver{m_frame}; ///< the capture callback's
    PreviewRenderer m_paintRenderer;
    PreviewPicture m_frontPicture; ///< the picture that was painted last
    std::uint64_t m_frontFrame = 0; ///< the stored frame that m_frontPicture shows
};

/// The one window, for the callbacks, which get no context of their own. Set by InitMainWindow().
extern MainWindow *gMainWindow;
