#include "app/window/mainwindow.h"

#include "app/files/filenames.h"
#include "app/window/disablecontrols.h"
#include "camera/ccamerasdk.h"
#include "ui/ui_mainwindow.h"
#include "util/trace.h"

void MainWindow::onslot_setbtn_takephoto()
{
    constexpr trace::Origin log{"onslot_setbtn_takephoto"};
    const DisableControls off(*this);

    const int colour = ui->colormodecomb->currentData(Qt::UserRole).toInt();
    const int crop = ui->cropstylecomb->currentData(Qt::UserRole).toInt();
    const int rotation = ui->rotatestylecomb->currentData(Qt::UserRole).toInt();
    m_KorvCamera->SetImageJPGQuality(m_fileArgv.quality);
    m_KorvCamera->SetAutoCrop(crop);
    m_KorvCamera->SetImageRotateMode(rotation);
    m_KorvCamera->SetImageColorStyle(colour);

    QString key;
    QString file;
    {
        // Held while the library writes, so that it never sees a half-replaced frame.
        const FrameBuffer::Access frame{m_frame};
        key = filenames::fourDigits(key_thumlist().toInt());
        file = filenames::workingFile(m_fileArgv.path, key);
        log.at(436, " file:%s\n", file.toStdString().c_str());
        m_KorvCamera->SaveVideoData(frame.bytes(), frame.width(), frame.height(), 0,
                                    file.toStdString().c_str());
    }
    addPhotographIfWritten(key, file);
}
