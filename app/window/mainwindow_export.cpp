#include "app/window/mainwindow.h"

#include "app/files/exportplan.h"
#include "app/files/filenames.h"
#include "app/window/disablecontrols.h"
#include "camera/ccamerasdk.h"
#include "ui/ui_mainwindow.h"
#include "util/general.h"
#include "util/trace.h"

namespace {

constexpr trace::Origin kLog{"onslot_savebtn_createfile"};
constexpr int kSelectedOnly = 1;

using Photographs = std::list<_tag_unit_Thum_file_unit>;

bool isThere(const _tag_unit_Thum_file_unit &photograph)
{
    return general::Korv_Config_Is_Exit_File(photograph.filePath.toStdString().c_str()) == 0;
}

} // namespace

void MainWindow::onslot_savebtn_createfile(int type)
{
    const DisableControls off(*this);

    const QString folder = m_fileArgv.path;
    const QString format = ui->filemodecomb->currentText();
    const exportplan::Kind kind = exportplan::kindOf(format, ui->multPageCB->isChecked());
    if (kind == exportplan::Kind::Unsupported) {
        kLog.at(321, " file format unsurpport\n");
        return;
    }
    m_KorvCamera->SetImageJPGQuality(m_fileArgv.quality);

    const Photographs photographs = photographsToExport(type);
    if (kind == exportplan::Kind::SingleFiles)
        exportSingleFiles(photographs, folder, format);
    else
        exportOneDocument(photographs, folder, format);

    // Saving is a move, even when the library failed.
    removeExported(type);
}

Photographs MainWindow::photographsToExport(int type)
{
    if (type != kSelectedOnly)
        return m_fileArgv.thumlist;
    Photographs selected;
    for (const QListWidgetItem *item : ui->imgshowwidgt->selectedItems()) {
        const QString key = item->text();
        const QString file = IsExit_thumlist(key);
        if (!file.isEmpty())
            selected.push_back({key.toInt(), key, file});
    }
    return selected;
}

void MainWindow::exportSingleFiles(const Photographs &photographs, const QString &folder,
                                   const QString &format)
{
    for (const _tag_unit_Thum_file_unit &photograph : photographs) {
        if (!isThere(photograph))
            continue;
        const std::string file =
            filenames::outputFile(folder, m_fileArgv.fileno++, format).toStdString();
        const int result = m_KorvCamera->ConvertImagetoImage(
            photograph.filePath.toStdString().c_str(), file.c_str());
        kLog.at(384, " file:%s\n", file.c_str());
        kLog.at(385, " ((CCameraSDK*)m_KorvCamera)->ConvertImagetoImage %d\n", result);
    }
}

void MainWindow::exportOneDocument(const Photographs &photographs, const QString &folder,
                                   const QString &format)
{
    for (const _tag_unit_Thum_file_unit &photograph : photographs) {
        if (!isThere(photograph))
            continue;
        const std::string page = photograph.filePath.toStdString();
        const int result = m_KorvCamera->AddImageFiletoMultiFile(page.c_str());
        kLog.at(358, " file:%s\n", page.c_str());
        kLog.at(359, " ((CCameraSDK*)m_KorvCamera)->AddImageFiletoMultiFile %d\n", result);
    }
    // Also without a page: the library decides what an empty document is.
    const std::string file =
        filenames::outputFile(folder, m_fileArgv.fileno++, format).toStdString();
    const int result = m_KorvCamera->CombineMultiFile(file.c_str());
    kLog.at(368, " file:%s\n", file.c_str());
    kLog.at(369, " ((CCameraSDK*)m_KorvCamera)->CombineMultiFile %d\n", result);
}

void MainWindow::removeExported(int type)
{
    QListWidget &list = *ui->imgshowwidgt;
    if (type != kSelectedOnly) {
        Empty_thumlist();
        list.clear();
        return;
    }
    for (QListWidgetItem *item : list.selectedItems()) {
        Delete_thumlist(item->text());
        list.setItemWidget(item, nullptr);
        delete item;
    }
}
