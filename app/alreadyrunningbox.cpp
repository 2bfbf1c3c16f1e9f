#include "app/alreadyrunningbox.h"

#include <QAbstractButton>
#include <QEvent>
#include <QGuiApplication>
#include <QIcon>
#include <QScreen>

namespace {

constexpr QSize kSize{600, 300};
constexpr int kAboveCentre = 150;

} // namespace

AlreadyRunningBox::AlreadyRunningBox()
{
    setWindowTitle(QStringLiteral("棱湾拍摄仪"));
    setText(QStringLiteral("程序已打开\n    请无重复打开"));
    setFixedSize(kSize);
    setWindowIcon(QIcon(QStringLiteral(":/icon/title.jpg")));
    setIcon(QMessageBox::Warning);
    setStandardButtons(QMessageBox::Ok);
    button(QMessageBox::Ok)->setText(QStringLiteral("确 定"));
    const QSize screen = QGuiApplication::primaryScreen()->size();
    move((screen.width() - kSize.width()) / 2,
         (screen.height() - kSize.height()) / 2 - kAboveCentre);
}

bool AlreadyRunningBox::event(QEvent *event)
{
    const bool result = QMessageBox::event(event);
    // A message box fits itself to its text whenever it lays itself out.
    if (size() != kSize)
        setFixedSize(kSize);
    return result;
}
