#pragma once

#include <QObject>

class QWidget;

/// Tells when the keyboard asks for a widget's context menu: by the menu key, or by Shift+F10, which
/// Qt leaves to the application on X11 and on Wayland. The mouse is not heard.
class ContextMenuKey : public QObject
{
    Q_OBJECT

public:
    /// Belongs to the widget, which receives neither event any more.
    explicit ContextMenuKey(QWidget &widget);

signals:
    void pressed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};
