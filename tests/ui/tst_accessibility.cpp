#include "ui/ui_csettingdlg.h"
#include "ui/ui_mainwindow.h"

#include "tests/support/accessible_tree.h"
#include "tests/support/qt_printing.h"

#include <QComboBox>
#include <QDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QSlider>
#include <QTabBar>
#include <QTabWidget>
#include <QTranslator>
#include <gtest/gtest.h>

#include <algorithm>

using support::AccessibleNode;

namespace {

std::string described(const AccessibleNode &node)
{
    return node.objectName.toStdString() + " of role " + std::to_string(node.role);
}

/// Whoever cannot see must hear what has the keyboard.
void expectNames(const std::vector<AccessibleNode> &tree, std::size_t leastControls)
{
    std::size_t controls = 0;
    for (const AccessibleNode &node : tree) {
        // Qt does not say of a list that it takes the keyboard; those without an object's name are
        // parts of selectors
        const bool isList = node.role == QAccessible::List && !node.objectName.isEmpty();
        if (!node.state.focusable && !isList)
            continue;
        ++controls;
        EXPECT_TRUE(node.isNamed()) << described(node);
    }
    EXPECT_GE(controls, leastControls) << "the tree was not walked";
}

/// Names of the widgets that the Tab key visits, from `first` round to it again.
QStringList tabChain(QWidget &first)
{
    QStringList names;
    QWidget *widget = &first;
    do {
        const bool ours = !widget->objectName().isEmpty()
            && !widget->objectName().startsWith(QLatin1String("qt_"))
            && qobject_cast<const QTabBar *>(widget->parent()) == nullptr;
        if (ours && (widget->focusPolicy() & Qt::TabFocus) != 0)
            names.append(widget->objectName());
        widget = widget->nextInFocusChain();
    } while (widget != &first);
    return names;
}

/// The named widgets inside `group`, as the eye reads them: lines from the top, each from the left.
QStringList readingOrder(const QWidget &group)
{
    std::vector<const QWidget *> widgets;
    for (const QObject *child : group.children()) {
        const auto *widget = qobject_cast<const QWidget *>(child);
        if (widget != nullptr && (widget->focusPolicy() & Qt::TabFocus) != 0)
            widgets.push_back(widget);
    }
    std::sort(widgets.begin(), widgets.end(), [](const QWidget *one, const QWidget *other) {
        return std::make_pair(one->y(), one->x()) < std::make_pair(other->y(), other->x());
    });
    QStringList names;
    for (const QWidget *widget : widgets)
        names.append(widget->objectName());
    return names;
}

class MainWindowAccess : public testing::Test
{
protected:
    MainWindowAccess()
    {
        ui.setupUi(&window);
        window.show();
    }

    QMainWindow window;
    Ui_MainWindow ui{};
};

class SettingDlgAccess : public testing::Test
{
protected:
    SettingDlgAccess()
    {
        ui.setupUi(&dialog);
        dialog.show();
    }

    std::vector<AccessibleNode> page(int index)
    {
        ui.settingWidget->setCurrentIndex(index);
        return support::accessibleTree(dialog);
    }

    QDialog dialog;
    Ui_CSettingDlg ui;
};

} // namespace

TEST_F(MainWindowAccess, everyControlHasAName)
{
    expectNames(support::accessibleTree(window), 11);
}

TEST_F(MainWindowAccess, captionsNameTheSelectors)
{
    const auto tree = support::accessibleTree(window);
    const std::vector<std::pair<const char *, const char *>> captions{
        {"devlistcomb", "设备列表"},   {"dpilistcomb", "分辨率"},
        {"colormodecomb", "文件颜色"}, {"filemodecomb", "文件模式"},
        {"cropstylecomb", "裁切方式"}, {"rotatestylecomb", "旋转方式"}};
    for (const auto &[name, caption] : captions) {
        const AccessibleNode node = support::nodeOf(tree, name);
        EXPECT_EQ(node.role, QAccessible::ComboBox) << name;
        EXPECT_EQ(node.label, QString::fromUtf8(caption)) << name;
    }
}

TEST_F(MainWindowAccess, rolesAndNamesOfTheOthers)
{
    const auto tree = support::accessibleTree(window);
    const std::vector<std::tuple<const char *, QAccessible::Role, const char *>> expected{
        {"multPageCB", QAccessible::CheckBox, "多页"},
        {"photoBtn", QAccessible::Button, "拍照"},
        {"saveBtn", QAccessible::Button, "导出"},
        {"setBtn", QAccessible::Button, "设置"},
        {"imgshowwidgt", QAccessible::List, "照片列表"},
        {"groupBox", QAccessible::Grouping, "拍摄选项"},
        {"groupBox_2", QAccessible::Grouping, "操作"}};
    for (const auto &[name, role, text] : expected) {
        const AccessibleNode node = support::nodeOf(tree, name);
        EXPECT_EQ(node.role, role) << name;
        EXPECT_EQ(node.name, QString::fromUtf8(text)) << name;
    }
    EXPECT_EQ(support::nodeOf(tree, "frame").name, QStringLiteral("实时画面"));
    EXPECT_FALSE(support::nodeOf(tree, "frame").description.isEmpty());
    EXPECT_FALSE(support::nodeOf(tree, "imgshowwidgt").description.isEmpty());
}

TEST_F(MainWindowAccess, tabKeyFollowsTheEye)
{
    EXPECT_EQ(tabChain(*ui.devlistcomb),
              QStringList({"devlistcomb", "dpilistcomb", "colormodecomb", "multPageCB",
                           "filemodecomb", "cropstylecomb", "rotatestylecomb", "photoBtn",
                           "saveBtn", "setBtn", "imgshowwidgt"}));
    EXPECT_EQ(tabChain(*ui.devlistcomb).mid(0, 7), readingOrder(*ui.groupBox));
    EXPECT_EQ(tabChain(*ui.devlistcomb).mid(7, 3), readingOrder(*ui.groupBox_2));
}

TEST_F(MainWindowAccess, namesAreTranslated)
{
    const QFileInfo file(QStringLiteral(KORV_TRANSLATION));
    QTranslator translator;
    ASSERT_TRUE(
        translator.load(file.fileName(), file.path() + QLatin1Char('/'), QString(), QString()));
    for (const QWidget *widget :
         std::vector<QWidget *>{ui.frame, ui.imgshowwidgt, ui.groupBox, ui.groupBox_2}) {
        for (const QString &text : {widget->accessibleName(), widget->accessibleDescription()}) {
            if (!text.isEmpty()) {
                EXPECT_EQ(translator.translate("MainWindow", text.toUtf8()), text);
            }
        }
    }
}

TEST_F(SettingDlgAccess, everyControlOfEveryPageHasAName)
{
    for (int index = 0; index < ui.settingWidget->count(); ++index)
        expectNames(page(index), 3);
}

TEST_F(SettingDlgAccess, pagesAreTabsWithNames)
{
    EXPECT_EQ(support::namesOf(page(0), QAccessible::PageTab),
              QStringList({"首选项", "文件保存", "关于"}));
}

TEST_F(SettingDlgAccess, captionsNameTheAdjustments)
{
    const auto tree = page(0);
    const std::vector<std::pair<const char *, const char *>> captions{
        {"horizontalSlider", "曝光率:"},
        {"horizontalSlider_2", "对比度:"},
        {"horizontalSlider_3", "亮度:"}};
    for (const auto &[name, caption] : captions) {
        const AccessibleNode node = support::nodeOf(tree, name);
        EXPECT_EQ(node.role, QAccessible::Slider) << name;
        EXPECT_EQ(node.name, QString::fromUtf8(caption)) << name;
        EXPECT_TRUE(node.state.disabled) << name;
    }
}

TEST_F(SettingDlgAccess, namesOfTheFilePage)
{
    const auto tree = page(1);
    EXPECT_EQ(support::nodeOf(tree, "filepathEdit").role, QAccessible::EditableText);
    EXPECT_EQ(support::nodeOf(tree, "filepathEdit").name, QStringLiteral("保存路径"));
    EXPECT_EQ(support::nodeOf(tree, "imgPressB").label, QStringLiteral("JPG图像品质:"));
    // three dots tell nobody anything
    EXPECT_EQ(support::nodeOf(tree, "openfiledlgbtn").name, QStringLiteral("选择保存路径"));
    EXPECT_EQ(ui.openfiledlgbtn->text(), QStringLiteral("..."));
}

TEST_F(SettingDlgAccess, tabKeyFollowsTheEye)
{
    EXPECT_EQ(tabChain(*ui.settingWidget),
              QStringList({"settingWidget", "horizontalSlider", "horizontalSlider_2",
                           "horizontalSlider_3", "defaultbtn", "filepathEdit", "openfiledlgbtn",
                           "imgPressB", "cancelBtn", "okBtn"}));
    EXPECT_EQ(tabChain(*ui.horizontalSlider).mid(0, 4), readingOrder(*ui.frame));
    EXPECT_EQ(tabChain(*ui.filepathEdit).mid(0, 3), readingOrder(*ui.frame_2));
    EXPECT_EQ(tabChain(*ui.cancelBtn).mid(0, 2), QStringList({"cancelBtn", "okBtn"}));
}
