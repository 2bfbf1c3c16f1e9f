#include "app/window/mainwindow.h"

#include "camera/ccamerasdk.h"
#include "camera/resolutionlist.h"
#include "settings/captureoptions.h"
#include "ui/ui_mainwindow.h"
#include "util/trace.h"

#include <cstdio>
#include <cstdlib>

namespace {

const char *orNull(const char *text)
{
    return text != nullptr ? text : "(null)";
}

template <typename Choices>
void fillSelector(QComboBox &selector, const Choices &choices, const QString &remembered)
{
    selector.clear();
    for (const captureoptions::Choice &choice : choices)
        selector.addItem(QString::fromUtf8(choice.text), choice.code);
    selector.setCurrentText(remembered);
}

} // namespace

void MainWindow::ParseCameraResJSONStr(char *json)
{
    std::printf("[func-%s]resjsonstr:%s\n", "ParseCameraResJSONStr", orNull(json));
    if (resolutionlist::parse(json, m_resolutions))
        std::free(json);
}

void MainWindow::FreshCameraResWidget()
{
    std::printf("[%s] ENTER \n", "FreshCameraResWidget");
    QComboBox &selector = *ui->dpilistcomb;
    selector.clear();
    m_resolutionSelectorReady = false;
    for (const _tag_unit_cam_res_unit &resolution : m_resolutions) {
        selector.addItem(resolution.name, resolution.res_no);
        if (resolution.res_no == m_resolutionNo)
            selector.setCurrentText(resolution.name);
    }
    m_resolutionSelectorReady = true;
    constexpr trace::Origin log{"FreshCameraResWidget"};
    log.at(__LINE__, " set current index %d\n", m_resolutionNo);
}

void MainWindow::onslot_dpilistcomb_changecurrentindex(int)
{
    if (!m_resolutionSelectorReady)
        return;
    const QString text = ui->dpilistcomb->currentText();
    const int width = text.section(QLatin1Char('*'), 0, 0).toInt();
    const int height = text.section(QLatin1Char('*'), 1, 1).toInt();
    const _tag_unit_cam_res_unit *chosen =
        resolutionlist::findBySizeAndName(m_resolutions, width, height, text);
    if (chosen == nullptr || chosen->res_no == m_resolutionNo)
        return;
    m_resolutionNo = chosen->res_no;
    SetCameraResolution(m_resolutionNo);
    ui->dpilistcomb->setCurrentText(text);
}

int MainWindow::SetCameraResolution(int number)
{
    // The selector is asked before each call: it names the device at that moment.
    m_KorvCamera->Close(selectedDevice());
    m_KorvCamera->Open(selectedDevice());
    m_KorvCamera->SetCurResolutionNo(selectedDevice(), number);
    m_KorvCamera->StartCapture(selectedDevice(), MainWindow::CameraCpatureReciveCB);
    const int current = m_KorvCamera->GetCurResolutionNo(selectedDevice());
    std::printf("[%s] SetCameraResolution-%d\n", "SetCameraResolution", current);
    return current;
}

int MainWindow::selectedDevice() const
{
    return ui->devlistcomb->currentData(Qt::UserRole).toInt();
}

void MainWindow::ParseCamFileColorJSONStr(char *json)
{
    std::printf("[%s]color-json:%s\n", "ParseCamFileColorJSONStr", orNull(json));
    m_fileArgv.colorlist = captureoptions::colourList();
}

void MainWindow::FreshCamFileColorWidget()
{
    QComboBox &selector = *ui->colormodecomb;
    selector.clear();
    for (const _tag_unit_cam_file_color_unit &colour : m_fileArgv.colorlist) {
        selector.addItem(colour.name, colour.index);
        if (colour.index == m_fileArgv.color)
            selector.setCurrentIndex(colour.index); // codes are positions
    }
}

void MainWindow::ParseCamFileTypeStr()
{
    m_fileArgv.typelist = captureoptions::fileTypes();
}

void MainWindow::FreshCamFileTypeWidget()
{
    QComboBox &selector = *ui->filemodecomb;
    selector.clear();
    for (const QString &type : m_fileArgv.typelist) {
        selector.addItem(type);
        if (type == m_fileArgv.type)
            selector.setCurrentText(type);
    }
    ui->multPageCB->setChecked(m_fileArgv.multpage);
    onslot_filemodecomb_changecurrentindex(0);
}

void MainWindow::onslot_filemodecomb_changecurrentindex(int)
{
    applyMultiPageRule();
    const QString type = ui->filemodecomb->currentText();
    if (type == QLatin1String("pdf") || type == QLatin1String("ofd"))
        ui->multPageCB->setEnabled(true);
}

void MainWindow::onslot_multipagecb_change()
{
    applyMultiPageRule();
}

/// Only pdf and ofd keep the switch. EnableWidgets() has a wider list of its own: the two differ on
/// purpose.
void MainWindow::applyMultiPageRule()
{
    const QString type = ui->filemodecomb->currentText();
    if (type == QLatin1String("pdf") || type == QLatin1String("ofd"))
        return;
    ui->multPageCB->setChecked(false);
    ui->multPageCB->setEnabled(false);
}

void MainWindow::FreshCamCropTypeWidget()
{
    fillSelector(*ui->cropstylecomb, captureoptions::kCropChoices, m_fileArgv.crop_type);
}

void MainWindow::FreshCamRotateTypeWidget()
{
    fillSelector(*ui->rotatestylecomb, captureoptions::kRotationChoices, m_fileArgv.rotate);
}
