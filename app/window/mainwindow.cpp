#include "app/window/mainwindow.h"

#include "app/window/contextmenukey.h"
#include "app/window/previewrole.h"
#include "app/window/thumbnaillist.h"
#include "camera/ccamerasdk.h"
#include "ui/ui_mainwindow.h"

#include <QEvent>
#include <QIcon>
#include <QListView>
#include <QMouseEvent>
#include <QTimer>

#include <array>
#include <cstdio>

MainWindow *gMainWindow = nullptr;

namespace {

/// The window is on the screen before the camera library is looked for.
constexpr int kLibraryStartDelayMs = 300;
constexpr QSize kThumbnailSize{100, 100};

} // namespace

MainWindow::MainWindow(QWidget *parent, const char *cameraLibrary)
    : QMainWindow(parent)
    , ui(std::make_unique<Ui_MainWindow>())
    , m_cameraLibrary(cameraLibrary)
{
    presentPreviewAsPicture();
    ui->setupUi(this);
    setWindowTitle(tr("棱湾拍摄仪数字化采集系统"));
    setWindowIcon(QIcon(QStringLiteral(":/icon/title.jpg")));
    InitArgument();
    InitMainWindow();
    connect(new ContextMenuKey(*ui->imgshowwidgt), &ContextMenuKey::pressed, this,
            &MainWindow::showCurrentThumbnailMenu);
}

MainWindow::~MainWindow()
{
    ui.reset();
    if (m_KorvCamera) {
        if (m_KorvCamera->UnInit() < 0)
            std::puts("uninit camera failure");
        m_KorvCamera->FreeLib();
        m_KorvCamera.reset();
    }
    std::puts("close mainwindow");
    Empty_thumlist();
}

void MainWindow::InitArgument()
{
    m_frame.reset();
    ui->devlistcomb->clear();

    QListWidget &list = *ui->imgshowwidgt;
    list.setViewMode(QListView::IconMode);
    list.setResizeMode(QListView::Fixed);
    list.setMovement(QListView::Static);
    list.setIconSize(kThumbnailSize);
    list.setSelectionMode(QAbstractItemView::ExtendedSelection);
    list.setSpacing(0);
    list.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list.setLayoutMode(QListView::Batched);
    list.setFlow(QListView::TopToBottom);
    list.clear();
    list.viewport()->installEventFilter(this);

    m_resolutionNo = -1;
    m_resolutions.clear();
    m_fileArgv.thumkey = 1;
    m_fileArgv.thumlist.clear();
    m_fileArgv.fileno = 1;
}

void MainWindow::InitMainWindow()
{
    EnableWidgets(false, true);
    gMainWindow = this;
    CreateSlotConnect();
    QTimer::singleShot(kLibraryStartDelayMs, this, &MainWindow::onslot_StartCamera);
}

void MainWindow::CreateSlotConnect()
{
    // The window's own signals are queued: one comes from the camera library's thread, the others
    // from inside slots that must end first.
    connect(this, SIGNAL(deviceChange(QString)), this, SLOT(ondeviceChange(QString)),
            Qt::QueuedConnection);
    connect(this, SIGNAL(deviceListFresh()), this, SLOT(ondeviceListFresh()), Qt::QueuedConnection);
    connect(this, SIGNAL(deviceRunningSwitch(int)), this, SLOT(ondeviceRunningSwitch(int)),
            Qt::QueuedConnection);
    connect(this, SIGNAL(imglistwidget_previewimage()), this,
            SLOT(onslot_imglistwidget_previewimage()), Qt::QueuedConnection);
    connect(this, SIGNAL(imglistwidget_popupmenu()), this, SLOT(onslot_imglistwidget_popupmenu()),
            Qt::QueuedConnection);
    connect(ui->setBtn, SIGNAL(clicked()), this, SLOT(onslot_setbtn_setwidget()));
    connect(ui->saveBtn, SIGNAL(clicked()), this, SLOT(onslot_savebtn_createfile()));
    connect(ui->photoBtn, SIGNAL(clicked()), this, SLOT(onslot_setbtn_takephoto()));
    connect(ui->devlistcomb, SIGNAL(currentIndexChanged(int)), this,
            SLOT(onslot_devlistcomb_changecurrentindex(int)));
    connect(ui->dpilistcomb, SIGNAL(currentIndexChanged(int)), this,
            SLOT(onslot_dpilistcomb_changecurrentindex(int)));
    connect(ui->multPageCB, SIGNAL(toggled(bool)), this, SLOT(onslot_multipagecb_change()));
    connect(ui->filemodecomb, SIGNAL(currentIndexChanged(int)), this,
            SLOT(onslot_filemodecomb_changecurrentindex(int)));
}

void MainWindow::EnableWidgets(bool enable, bool devEnable)
{
    ui->devlistcomb->setEnabled(devEnable);
    const std::array<QWidget *, 9> controls{ui->dpilistcomb,   ui->filemodecomb, ui->colormodecomb,
                                            ui->cropstylecomb, ui->multPageCB,   ui->photoBtn,
                                            ui->saveBtn,       ui->setBtn,       ui->imgshowwidgt};
    for (QWidget *control : controls)
        control->setEnabled(enable);

    // Wider than the rule of the file-type selector, and meant to be: see applyMultiPageRule().
    const QString type = ui->filemodecomb->currentText();
    if (type == QLatin1String("pdf") || type == QLatin1String("ofd") || type == QLatin1String("png")
        || type == QLatin1String("tif")) {
        ui->multPageCB->setEnabled(true);
    } else {
        ui->multPageCB->setChecked(false);
        ui->multPageCB->setEnabled(false);
    }
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    const bool consumed = QObject::eventFilter(watched, event);
    std::printf("func-%s\n", "eventFilter");
    if (!ui || watched != ui->imgshowwidgt->viewport())
        return consumed;

    std::printf("func-%s  imgshowwidgt type:%d\n", "eventFilter", event->type());
    if (event->type() == QEvent::MouseButtonDblClick) {
        if (static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton)
            emit imglistwidget_previewimage();
        std::printf("func-%s  imgshowwidgt   MouseButtonDblClick\n", "eventFilter");
    } else if (event->type() == QEvent::MouseButtonPress) {
        if (static_cast<QMouseEvent *>(event)->button() == Qt::RightButton)
            emit imglistwidget_popupmenu();
        std::printf("func-%s  imgshowwidgt   MouseButtonRight\n", "eventFilter");
    }
    return consumed;
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    ondeviceRunningSwitch(3);
    QMainWindow::closeEvent(event);
}
