#include "ui/ui_csettingdlg.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QDialog>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>
#include <QTabWidget>
#include <QVBoxLayout>

#include <array>

namespace {

template <typename Widget> Widget *named(const char *name, QWidget *parent)
{
    auto *widget = new Widget(parent);
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

template <typename Widget> Widget *placed(const char *name, QWidget *parent, const QRect &geometry)
{
    auto *widget = named<Widget>(name, parent);
    widget->setGeometry(geometry);
    return widget;
}

QFrame *raisedFrame(const char *name, QWidget *parent, const QRect &geometry)
{
    auto *frame = placed<QFrame>(name, parent, geometry);
    frame->setFrameShape(QFrame::StyledPanel);
    frame->setFrameShadow(QFrame::Raised);
    return frame;
}

QSlider *idleSlider(const char *name, QWidget *parent, const QRect &geometry)
{
    auto *slider = placed<QSlider>(name, parent, geometry);
    slider->setOrientation(Qt::Horizontal);
    slider->setEnabled(false);
    return slider;
}

QLabel *largeLabel(const char *name, QWidget *parent)
{
    auto *label = named<QLabel>(name, parent);
    QFont font;
    font.setPointSize(14);
    label->setFont(font);
    return label;
}

QHBoxLayout *addRow(const char *name, QVBoxLayout *column)
{
    auto *row = new QHBoxLayout;
    row->setObjectName(QString::fromLatin1(name));
    column->addLayout(row);
    return row;
}

void addHorizontalSpacer(QHBoxLayout *row)
{
    row->addItem(new QSpacerItem(40, 20, QSizePolicy::Expanding, QSizePolicy::Minimum));
}

void addVerticalSpacer(QVBoxLayout *column)
{
    column->addItem(new QSpacerItem(20, 40, QSizePolicy::Minimum, QSizePolicy::Expanding));
}

} // namespace

void Ui_CSettingDlg::setupUi(QDialog *dialog)
{
    if (dialog->objectName().isEmpty())
        dialog->setObjectName(QStringLiteral("CSettingDlg"));
    dialog->resize(692, 448);

    settingWidget = placed<QTabWidget>("settingWidget", dialog, QRect(10, 10, 671, 381));
    setupAdjustmentPage();
    setupFilePage();
    setupAboutPage();
    okBtn = placed<QPushButton>("okBtn", dialog, QRect(570, 410, 97, 26));
    cancelBtn = placed<QPushButton>("cancelBtn", dialog, QRect(440, 410, 97, 26));

    nameControlsByLabels();
    orderTabs();

    retranslateUi(dialog);
    settingWidget->setCurrentIndex(2);
    QMetaObject::connectSlotsByName(dialog);
}

/// A screen reader takes a control's name from the label whose buddy it is.
void Ui_CSettingDlg::nameControlsByLabels()
{
    label_13->setBuddy(horizontalSlider);
    label_14->setBuddy(horizontalSlider_2);
    label_15->setBuddy(horizontalSlider_3);
    label_11->setBuddy(filepathEdit);
    label_12->setBuddy(imgPressB);
}

/// The Tab key follows the eye: each page from its top, then the two buttons from the left.
void Ui_CSettingDlg::orderTabs()
{
    const std::array<QWidget *, 10> order{
        settingWidget, horizontalSlider, horizontalSlider_2, horizontalSlider_3, defaultbtn,
        filepathEdit,  openfiledlgbtn,   imgPressB,          cancelBtn,          okBtn};
    for (std::size_t i = 1; i < order.size(); ++i)
        QWidget::setTabOrder(order[i - 1], order[i]);
}

void Ui_CSettingDlg::setupAdjustmentPage()
{
    tab = named<QWidget>("tab", nullptr);
    label_16 = placed<QLabel>("label_16", tab, QRect(10, 20, 81, 17));
    frame = raisedFrame("frame", tab, QRect(10, 40, 641, 91));
    label_13 = placed<QLabel>("label_13", frame, QRect(20, 10, 67, 21));
    label_14 = placed<QLabel>("label_14", frame, QRect(390, 10, 67, 17));
    label_15 = placed<QLabel>("label_15", frame, QRect(20, 50, 41, 17));
    defaultbtn = placed<QPushButton>("defaultbtn", frame, QRect(460, 60, 97, 26));
    defaultbtn->setEnabled(false);
    horizontalSlider = idleSlider("horizontalSlider", frame, QRect(90, 10, 171, 21));
    horizontalSlider_2 = idleSlider("horizontalSlider_2", frame, QRect(460, 10, 171, 21));
    horizontalSlider_3 = idleSlider("horizontalSlider_3", frame, QRect(90, 50, 171, 21));
    settingWidget->addTab(tab, QString());
}

void Ui_CSettingDlg::setupFilePage()
{
    tab_4 = named<QWidget>("tab_4", nullptr);
    frame_2 = raisedFrame("frame_2", tab_4, QRect(10, 10, 651, 111));
    label_11 = placed<QLabel>("label_11", frame_2, QRect(20, 10, 67, 17));
    filepathEdit = placed<QLineEdit>("filepathEdit", frame_2, QRect(20, 30, 561, 27));
    openfiledlgbtn = placed<QPushButton>("openfiledlgbtn", frame_2, QRect(590, 30, 51, 26));
    label_12 = placed<QLabel>("label_12", frame_2, QRect(20, 80, 101, 17));
    imgPressB = placed<QComboBox>("imgPressB", frame_2, QRect(110, 70, 141, 31));
    settingWidget->addTab(tab_4, QString());
}

void Ui_CSettingDlg::setupAboutPage()
{
    tab_3 = named<QWidget>("tab_3", nullptr);
    layoutWidget = placed<QWidget>("layoutWidget", tab_3, QRect(110, 40, 431, 261));
    verticalLayout = new QVBoxLayout(layoutWidget);
    verticalLayout->setObjectName(QStringLiteral("verticalLayout"));
    verticalLayout->setContentsMargins(0, 0, 0, 0);

    horizontalLayout_3 = addRow("horizontalLayout_3", verticalLayout);
    softnamekeylable = largeLabel("softnamekeylable", layoutWidget);
    horizontalLayout_3->addWidget(softnamekeylable);
    softnamevaluelable = largeLabel("softnamevaluelable", layoutWidget);
    horizontalLayout_3->addWidget(softnamevaluelable);
    addHorizontalSpacer(horizontalLayout_3);
    addVerticalSpacer(verticalLayout);

    horizontalLayout_2 = addRow("horizontalLayout_2", verticalLayout);
    softinfolabel = largeLabel("softinfolabel", layoutWidget);
    horizontalLayout_2->addWidget(softinfolabel);
    softinfovaluelable = largeLabel("softinfovaluelable", layoutWidget);
    horizontalLayout_2->addWidget(softinfovaluelable);
    addHorizontalSpacer(horizontalLayout_2);
    addVerticalSpacer(verticalLayout);

    companylabel = largeLabel("companylabel", layoutWidget);
    QFont font = companylabel->font();
    font.setBold(false);
    font.setWeight(QFont::Normal);
    companylabel->setFont(font);
    companylabel->setTextFormat(Qt::AutoText);
    verticalLayout->addWidget(companylabel);
    addVerticalSpacer(verticalLayout);

    horizontalLayout = addRow("horizontalLayout", verticalLayout);
    label = largeLabel("label", layoutWidget);
    horizontalLayout->addWidget(label);
    addHorizontalSpacer(horizontalLayout);
    settingWidget->addTab(tab_3, QString());
}

void Ui_CSettingDlg::retranslateUi(QDialog *dialog)
{
    // the call is written out each time: the extraction of texts knows it by name
    dialog->setWindowTitle(QCoreApplication::translate("CSettingDlg", "Dialog"));
    label_16->setText(QCoreApplication::translate("CSettingDlg", "摄像头设置"));
    label_13->setText(QCoreApplication::translate("CSettingDlg", "曝光率:"));
    label_14->setText(QCoreApplication::translate("CSettingDlg", "对比度:"));
    label_15->setText(QCoreApplication::translate("CSettingDlg", "亮度:"));
    defaultbtn->setText(QCoreApplication::translate("CSettingDlg", "恢复默认值"));
    settingWidget->setTabText(settingWidget->indexOf(tab),
                              QCoreApplication::translate("CSettingDlg", "首选项"));

    label_11->setText(QCoreApplication::translate("CSettingDlg", "保存路径"));
    openfiledlgbtn->setText(QCoreApplication::translate("CSettingDlg", "..."));
    openfiledlgbtn->setAccessibleName(QCoreApplication::translate("CSettingDlg", "选择保存路径"));
    frame->setAccessibleName(QCoreApplication::translate("CSettingDlg", "摄像头设置"));
    frame_2->setAccessibleName(QCoreApplication::translate("CSettingDlg", "文件保存"));
    settingWidget->setAccessibleName(QCoreApplication::translate("CSettingDlg", "设置"));
    label_12->setText(QCoreApplication::translate("CSettingDlg", "JPG图像品质:"));
    imgPressB->clear();
    imgPressB->insertItems(0,
                           {QCoreApplication::translate("CSettingDlg", "最优品质(100%)"),
                            QCoreApplication::translate("CSettingDlg", "品质优先(70%)"),
                            QCoreApplication::translate("CSettingDlg", "平衡选择(50%)"),
                            QCoreApplication::translate("CSettingDlg", "大小优先(30%)"),
                            QCoreApplication::translate("CSettingDlg", "最大压缩(10%)")});
    settingWidget->setTabText(settingWidget->indexOf(tab_4),
                              QCoreApplication::translate("CSettingDlg", "文件保存"));

    softnamekeylable->setText(QCoreApplication::translate("CSettingDlg", "软件名称:"));
    softnamevaluelable->setText(QCoreApplication::translate("CSettingDlg", "TextLabel"));
    softinfolabel->setText(QCoreApplication::translate("CSettingDlg", "软件信息:"));
    softinfovaluelable->setText(QCoreApplication::translate("CSettingDlg", "TextLabel"));
    companylabel->setText(QCoreApplication::translate("CSettingDlg", "公司信息: 棱湾影像"));
    label->setText(QCoreApplication::translate(
        "CSettingDlg",
        "<p>官方网站: <a href=\"https://example.org/vexalin\"><span style=\"text-decoration: "
        "underline; color:#0000ff;\">https://example.org/vexalin</span></a></p>"));
    settingWidget->setTabText(settingWidget->indexOf(tab_3),
                              QCoreApplication::translate("CSettingDlg", "关于"));
    okBtn->setText(QCoreApplication::translate("CSettingDlg", "确定"));
    cancelBtn->setText(QCoreApplication::translate("CSettingDlg", "取消"));
}
