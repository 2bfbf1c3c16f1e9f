#pragma once

#include <QPointer>
#include <QWidget>

class MainWindow;

/// Switches the window's controls off, and on again when it ends. A control that is switched off
/// hands the keyboard on to the next one; afterwards the keyboard is where it was.
class DisableControls
{
public:
    explicit DisableControls(MainWindow &window);
    ~DisableControls();
    DisableControls(const DisableControls &) = delete;
    DisableControls &operator=(const DisableControls &) = delete;

private:
    MainWindow &m_window;
    QPointer<QWidget> m_focused;
};
