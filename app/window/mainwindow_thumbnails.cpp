#include "app/window/mainwindow.h"

#include "app/files/filenames.h"
#include "app/window/thumbnaillist.h"
#include "ui/ui_mainwindow.h"
#include "util/general.h"

#include <QIcon>
#include <QPixmap>

QString MainWindow::key_thumlist()
{
    return filenames::fourDigits(m_fileArgv.thumkey++);
}

void MainWindow::Append_thumlist(QString key, QString filePath)
{
    thumbnaillist::append(m_fileArgv.thumlist, key, filePath);
}

void MainWindow::Insert_thumlist(QString key, QString filePath)
{
    thumbnaillist::insertBefore(m_fileArgv.thumlist, key, filePath);
}

void MainWindow::Delete_thumlist(QString key)
{
    thumbnaillist::removeFirst(m_fileArgv.thumlist, key);
}

QString MainWindow::Eject_thumlist(int index)
{
    return thumbnaillist::fileAt(m_fileArgv.thumlist, index);
}

QString MainWindow::IsExit_thumlist(QString key)
{
    return thumbnaillist::fileOf(m_fileArgv.thumlist, key);
}

void MainWindow::Empty_thumlist()
{
    thumbnaillist::clear(m_fileArgv.thumlist);
    m_fileArgv.thumkey = 1;
}

void MainWindow::addItem_imglistwidget(QString key, QString filePath)
{
    QListWidget &list = *ui->imgshowwidgt;
    const QPixmap photograph(filePath);
    // Stretched to a square on purpose: every thumbnail has the same shape.
    const QIcon icon = photograph.isNull()
        ? QIcon()
        : QIcon(photograph.scaled(list.iconSize(), Qt::IgnoreAspectRatio, Qt::FastTransformation));
    auto *item = new QListWidgetItem(icon, tr(key.toUtf8().constData()));
    list.insertItem(list.count(), item);
    list.setCurrentItem(item, QItemSelectionModel::Deselect);
}

void MainWindow::addPhotographIfWritten(const QString &key, const QString &filePath)
{
    if (general::Korv_Config_Is_Exit_File(filePath.toStdString().c_str()) != 0)
        return;
    addItem_imglistwidget(key, filePath);
    Append_thumlist(key, filePath);
}
