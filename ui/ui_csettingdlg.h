#pragma once

class QComboBox;
class QDialog;
class QFrame;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSlider;
class QTabWidget;
class QVBoxLayout;
class QWidget;

/// The settings dialog's widget tree: a tab widget with three pages and two buttons. Widgets belong
/// to the dialog; the members borrow them and are named like their objects.
///
/// Written by hand where the main window uses the form compiler: its code renames the items of a
/// selector on a change of language, but the quality selector is to be emptied and filled again.
class Ui_CSettingDlg
{
public:
    QTabWidget *settingWidget = nullptr;
    QWidget *tab = nullptr;
    QLabel *label_16 = nullptr;
    QFrame *frame = nullptr;
    QLabel *label_13 = nullptr;
    QLabel *label_14 = nullptr;
    QLabel *label_15 = nullptr;
    QPushButton *defaultbtn = nullptr;
    QSlider *horizontalSlider = nullptr;
    QSlider *horizontalSlider_2 = nullptr;
    QSlider *horizontalSlider_3 = nullptr;
    QWidget *tab_4 = nullptr;
    QFrame *frame_2 = nullptr;
    QLabel *label_11 = nullptr;
    QLineEdit *filepathEdit = nullptr;
    QPushButton *openfiledlgbtn = nullptr;
    QLabel *label_12 = nullptr;
    QComboBox *imgPressB = nullptr;
    QWidget *tab_3 = nullptr;
    QWidget *layoutWidget = nullptr;
    QVBoxLayout *verticalLayout = nullptr;
    QHBoxLayout *horizontalLayout_3 = nullptr;
    QLabel *softnamekeylable = nullptr;
    QLabel *softnamevaluelable = nullptr;
    QHBoxLayout *horizontalLayout_2 = nullptr;
    QLabel *softinfolabel = nullptr;
    QLabel *softinfovaluelable = nullptr;
    QLabel *companylabel = nullptr;
    QHBoxLayout *horizontalLayout = nullptr;
    QLabel *label = nullptr;
    QPushButton *okBtn = nullptr;
    QPushButton *cancelBtn = nullptr;

    /// Builds the tree in `dialog`, sets the texts and shows the third page.
    void setupUi(QDialog *dialog);

    /// Sets all texts in the current language. The quality selector is filled anew: its choice has
    /// to be made again.
    void retranslateUi(QDialog *dialog);

private:
    void setupAdjustmentPage();
    void setupFilePage();
    void setupAboutPage();
    void nameControlsByLabels();
    void orderTabs();
};

namespace Ui {
class CSettingDlg : public Ui_CSettingDlg
{
};
} // namespace Ui
