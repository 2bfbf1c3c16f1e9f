#include "app/window/mainwindow.h"

#include "app/files/filenames.h"
#include "settings/csettingdlg.h"
#include "ui/ui_mainwindow.h"
#include "util/general.h"
#include "util/ownenvironment.h"
#include "util/trace.h"

#include <QAction>
#include <QCursor>
#include <QDesktopServices>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QUrl>

#include <array>
#include <cstdio>
#include <iterator>
#include <memory>

namespace {

enum Command { Open = 1, DeleteSelected, DeleteAll, ExportSelected, ExportAll, Import };

struct Entry
{
    const char *text;
    Command command;
};

// The texts are marked for translation here and looked up when the menu is built.
constexpr std::array<Entry, 6> kEntries{{
    {QT_TRANSLATE_NOOP("MainWindow", "打开"), Open},
    {QT_TRANSLATE_NOOP("MainWindow", "选择删除"), DeleteSelected},
    {QT_TRANSLATE_NOOP("MainWindow", "全部删除"), DeleteAll},
    {QT_TRANSLATE_NOOP("MainWindow", "选择导出"), ExportSelected},
    {QT_TRANSLATE_NOOP("MainWindow", "全部导出"), ExportAll},
    {QT_TRANSLATE_NOOP("MainWindow", "导入"), Import},
}};

} // namespace

void MainWindow::onslot_imglistwidget_popupmenu()
{
    if (ui->imgshowwidgt->isEnabled())
        showThumbnailMenu(QCursor::pos());
}

/// What the mouse does with a right press on a thumbnail, for the current one.
void MainWindow::showCurrentThumbnailMenu()
{
    QListWidget &list = *ui->imgshowwidgt;
    if (!list.isEnabled())
        return;
    QListWidgetItem *item = list.currentItem();
    if (item == nullptr) {
        showThumbnailMenu(list.mapToGlobal(list.rect().center()));
        return;
    }
    if (!item->isSelected())
        list.setCurrentItem(item, QItemSelectionModel::ClearAndSelect);
    list.scrollToItem(item);
    // in the list's coordinates, because thumbnailAt() takes them so
    showThumbnailMenu(list.mapToGlobal(list.visualItemRect(item).center()));
}

/// The menu stands at the place and is about the thumbnail there, if any.
void MainWindow::showThumbnailMenu(QPoint globalPosition)
{
    const auto menu = std::make_unique<QMenu>(this);
    std::array<QAction *, kEntries.size()> actions{};
    for (std::size_t i = 0; i < kEntries.size(); ++i) {
        actions[i] = new QAction(tr(kEntries[i].text), menu.get());
        connect(actions[i], SIGNAL(triggered()), this, SLOT(onslot_imglistwidget_echopopupmenu()));
    }

    const bool onItem = thumbnailAt(globalPosition) != nullptr;
    for (std::size_t i = 0; i < kEntries.size(); ++i) {
        if (onItem || kEntries[i].command == Import)
            menu->addAction(actions[i]);
        actions[i]->setData(QStringLiteral("%1|%2|%3")
                                .arg(globalPosition.x())
                                .arg(globalPosition.y())
                                .arg(static_cast<int>(kEntries[i].command)));
    }
    menu->exec(globalPosition);
    for (QAction *action : actions)
        disconnect(action, SIGNAL(triggered()), this, SLOT(onslot_imglistwidget_echopopupmenu()));
}

void MainWindow::onslot_imglistwidget_echopopupmenu()
{
    constexpr trace::Origin log{"onslot_imglistwidget_echopopupmenu"};
    log.at(743, " \n");
    const auto *action = qobject_cast<QAction *>(sender());
    const QString order = action != nullptr ? action->data().toString() : QString();
    const auto field = [&order](int position) {
        return order.section(QLatin1Char('|'), position, position).toInt();
    };
    switch (field(2)) {
    case Open:
        openThumbnail(QPoint(field(0), field(1)));
        break;
    case DeleteSelected:
        deleteSelectedThumbnails();
        break;
    case DeleteAll:
        Empty_thumlist();
        ui->imgshowwidgt->clear();
        break;
    case ExportSelected:
        onslot_savebtn_createfile(1);
        break;
    case ExportAll:
        onslot_savebtn_createfile(0);
        break;
    case Import:
        ImportFile_EchoPopupMenu();
        break;
    default:
        break;
    }
}

void MainWindow::onslot_imglistwidget_previewimage()
{
    if (ui->imgshowwidgt->isEnabled())
        openThumbnail(QCursor::pos());
}

/// Maps through the list itself, not its viewport: the item found is off by the frame's width from
/// the one under the pointer.
QListWidgetItem *MainWindow::thumbnailAt(QPoint globalPosition) const
{
    return ui->imgshowwidgt->itemAt(ui->imgshowwidgt->mapFromGlobal(globalPosition));
}

void MainWindow::openThumbnail(QPoint globalPosition)
{
    const QListWidgetItem *item = thumbnailAt(globalPosition);
    if (item == nullptr)
        return;
    std::printf("item:%s\n", item->text().toStdString().c_str());
    const QString file = IsExit_thumlist(item->text());
    if (file.isEmpty())
        return;
    // a viewer may well be a Qt program that draws with OpenGL
    const ownenvironment::Hidden hidden;
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(file).absoluteFilePath()));
}

void MainWindow::deleteSelectedThumbnails()
{
    for (QListWidgetItem *item : ui->imgshowwidgt->selectedItems()) {
        if (IsExit_thumlist(item->text()).isEmpty())
            continue;
        Delete_thumlist(item->text());
        ui->imgshowwidgt->setItemWidget(item, nullptr);
        delete item;
    }
}

void MainWindow::ImportFile_EchoPopupMenu()
{
    const QString chosen = QFileDialog::getOpenFileName(this, tr("导入一个jpg格式图像"), QString(),
                                                        tr("Image Files(*.jpg);;All(*.*)"));
    if (chosen.isEmpty() || general::Korv_Config_Is_Exit_File(chosen.toStdString().c_str()) != 0)
        return;
    const QString key = key_thumlist();
    const QString target = filenames::workingFile(m_fileArgv.path, key);
    QFile::copy(chosen, target);
    addPhotographIfWritten(key, target);
}

void MainWindow::onslot_setbtn_setwidget()
{
    CSettingDlg dialog(this);
    dialog.SetFilePath(m_fileArgv.path);
    dialog.SetImgQuality(m_fileArgv.quality);
    if (dialog.exec() != 0) {
        std::printf("[%s] user clicked ok button\n", "onslot_setbtn_setwidget");
        m_fileArgv.path = dialog.filePath();
        m_fileArgv.quality = dialog.ImgQuality();
    } else {
        std::printf("[%s] user clicked cancel button\n", "onslot_setbtn_setwidget");
    }
}
