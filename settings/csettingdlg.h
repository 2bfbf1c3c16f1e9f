#pragma once

#include <QDialog>
#include <QString>
#include <memory>

class QCloseEvent;
class QKeyEvent;
class Ui_CSettingDlg;

/// The settings dialog: save folder and JPEG quality, and what the software is. It persists
/// nothing; after acceptance the caller asks for filePath() and ImgQuality().
class CSettingDlg : public QDialog
{
    Q_OBJECT

public:
    explicit CSettingDlg(QWidget *parent);
    ~CSettingDlg() override;

    /// Back to the defaults: the home directory, best quality.
    void init();

    /// Shows `path` if checkWritable() accepts it and returns 0; otherwise keeps the previous path
    /// and returns -1.
    int SetFilePath(QString path);
    QString filePath();

    /// Selects the entry for `quality` in percent; the entries stand for ranges.
    void SetImgQuality(int quality);
    /// The quality in percent that the selected entry stands for.
    int ImgQuality();

    /// 0 when `path` (UTF-8) belongs to the effective user and its owner may write, otherwise -1,
    /// also when it cannot be examined. Group and other rights do not count.
    int checkWritable(const char *path);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

public slots:
    void onSaveFilePath();
    void onOkBtn();
    void onCancelBtn();

private:
    QString m_filePath;
    int m_quality = 100;
    int m_accepted = 0;
    std::unique_ptr<Ui_CSettingDlg> ui;
};
