#pragma once

#include <QString>

/// A text of the settings dialog in the current language; the form compiler's code calls it.
QString settingText(const char *text, const char *disambiguation);

#include "ui/ui_csettingdlgform.h"

/// The settings dialog's widget tree: a tab widget with three pages and two buttons. Widgets belong
/// to the dialog; the members borrow them and are named like their objects.
///
/// The form leaves the quality selector empty: the form compiler's code would rename its items on a
/// change of language, but they are to be emptied and filled again.
class Ui_CSettingDlg : public Ui_CSettingDlgForm
{
public:
    /// Builds the tree in `dialog`, sets the texts and shows the third page.
    void setupUi(QDialog *dialog);

    /// Sets all texts in the current language. The quality selector is filled again: its choice has
    /// to be made again.
    void retranslateUi(QDialog *dialog);

private:
    void fillQualities();
};

namespace Ui {
class CSettingDlg : public Ui_CSettingDlg
{
};
} // namespace Ui
