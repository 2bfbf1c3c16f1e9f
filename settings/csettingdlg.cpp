#include "settings/csettingdlg.h"

#include "ui/ui_csettingdlg.h"

#include <QComboBox>
#include <QFileDialog>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// One entry of the quality selector, in selector order: what it yields when it is selected and the
/// least quality that selects it.
struct QualityEntry
{
    int yields;
    int from;
};

constexpr QualityEntry kQualityEntries[] = {{95, 90}, {70, 70}, {50, 50}, {30, 30}};
constexpr int kWorstQuality = 10;

QString homeFolder()
{
    return QString::fromUtf8(std::getenv("HOME"));
}

} // namespace

CSettingDlg::CSettingDlg(QWidget *parent)
    : QDialog{parent}
    , ui{std::make_unique<Ui_CSettingDlg>()}
{
    ui->setupUi(this);
    setMaximumSize(width(), height());
    setMinimumSize(width(), height());
    setWindowIcon(QIcon(QStringLiteral(":/icon/setting")));
    setWindowTitle(tr("设置"));
    ui->softnamevaluelable->setText(tr("棱湾拍摄仪数字化采集系统"));
    ui->softinfovaluelable->setText(QStringLiteral("PlixoBase 202101"));

    init();

    connect(ui->openfiledlgbtn, &QPushButton::clicked, this, &CSettingDlg::onSaveFilePath);
    connect(ui->cancelBtn, &QPushButton::clicked, this, &CSettingDlg::onCancelBtn);
    connect(ui->okBtn, &QPushButton::clicked, this, &CSettingDlg::onOkBtn);
}

CSettingDlg::~CSettingDlg() = default;

void CSettingDlg::init()
{
    m_accepted = 0;
    m_filePath = homeFolder();
    m_quality = 100;
    ui->imgPressB->setCurrentIndex(0);
    ui->filepathEdit->setText(m_filePath);
}

int CSettingDlg::SetFilePath(QString path)
{
    if (checkWritable(path.toUtf8().constData()) != 0)
        return -1;
    m_filePath = path;
    ui->filepathEdit->setText(m_filePath);
    return 0;
}

QString CSettingDlg::filePath()
{
    return m_filePath;
}

void CSettingDlg::SetImgQuality(int quality)
{
    int index = 0;
    for (const QualityEntry &entry : kQualityEntries) {
        if (quality >= entry.from)
            break;
        ++index;
    }
    ui->imgPressB->setCurrentIndex(index);
}

int CSettingDlg::ImgQuality()
{
    const int index = ui->imgPressB->currentIndex();
    const bool known = index >= 0 && index < static_cast<int>(std::size(kQualityEntries));
    m_quality = known ? kQualityEntries[index].yields : kWorstQuality;
    return m_quality;
}

int CSettingDlg::checkWritable(const char *path)
{
    struct stat status = {};
    if (path == nullptr || stat(path, &status) != 0 || status.st_uid != geteuid())
        return -1;
    return (status.st_mode & S_IWUSR) != 0 ? 0 : -1;
}

void CSettingDlg::onSaveFilePath()
{
    const QString caption = tr("选择保存路径");
    const QString home = homeFolder();
    const QString start = m_filePath.startsWith(home) ? home : m_filePath;

    QFileDialog chooser(this, QString(), QString(), QString());
    // deprecated since Qt 5.14, still the mode that lists folders only
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    chooser.setFileMode(QFileDialog::DirectoryOnly);
#pragma GCC diagnostic pop
    chooser.setViewMode(QFileDialog::List);
    chooser.setOptions(QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks
                       | QFileDialog::HideNameFilterDetails);
    chooser.setLabelText(QFileDialog::Reject, tr("取消"));
    chooser.setDirectory(start);
    chooser.setWindowTitle(caption);
    if (chooser.exec() != QDialog::Accepted)
        return;

    const QString chosen = chooser.directory().absolutePath();
    if (chosen.isEmpty() || checkWritable(chosen.toUtf8().constData()) != 0) {
        ui->filepathEdit->setText(m_filePath);
        return;
    }
    ui->filepathEdit->setText(chosen);
    m_filePath = chosen;
}

void CSettingDlg::onOkBtn()
{
    m_accepted = 1;
    accept();
}

void CSettingDlg::onCancelBtn()
{
    reject();
}

void CSettingDlg::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Escape) {
        QDialog::keyPressEvent(event);
        return;
    }
    hide();
    close();
    reject();
}

void CSettingDlg::closeEvent(QCloseEvent *event)
{
    QDialog::closeEvent(event);
}
