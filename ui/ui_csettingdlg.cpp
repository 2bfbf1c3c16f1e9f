#include "ui/ui_csettingdlg.h"

#include <QCoreApplication>

QString settingText(const char *text, const char *disambiguation)
{
    return QCoreApplication::translate("CSettingDlg", text, disambiguation);
}

void Ui_CSettingDlg::setupUi(QDialog *dialog)
{
    Ui_CSettingDlgForm::setupUi(dialog);
    fillQualities();
}

void Ui_CSettingDlg::retranslateUi(QDialog *dialog)
{
    Ui_CSettingDlgForm::retranslateUi(dialog);
    fillQualities();
}

void Ui_CSettingDlg::fillQualities()
{
    // The calls are written out: the extraction of texts knows this function by its name.
    imgPressB->clear();
    imgPressB->addItems({QCoreApplication::translate("CSettingDlg", "最优品质(100%)"),
                         QCoreApplication::translate("CSettingDlg", "品质优先(70%)"),
                         QCoreApplication::translate("CSettingDlg", "平衡选择(50%)"),
                         QCoreApplication::translate("CSettingDlg", "大小优先(30%)"),
                         QCoreApplication::translate("CSettingDlg", "最大压缩(10%)")});
}
