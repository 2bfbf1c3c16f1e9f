#include "app/window/contextmenukey.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QWidget>

namespace {

bool isMenuKey(const QEvent &event)
{
    if (event.type() == QEvent::ContextMenu) {
        const auto &asked = static_cast<const QContextMenuEvent &>(event);
        return asked.reason() == QContextMenuEvent::Keyboard;
    }
    if (event.type() == QEvent::KeyPress) {
        const auto &key = static_cast<const QKeyEvent &>(event);
        return key.key() == Qt::Key_F10 && key.modifiers() == Qt::ShiftModifier;
    }
    return false;
}

} // namespace

ContextMenuKey::ContextMenuKey(QWidget &widget)
    : QObject(&widget)
{
    widget.installEventFilter(this);
}

bool ContextMenuKey::eventFilter(QObject *watched, QEvent *event)
{
    if (!isMenuKey(*event))
        return QObject::eventFilter(watched, event);
    emit pressed();
    return true;
}
