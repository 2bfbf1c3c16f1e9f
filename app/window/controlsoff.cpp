#include "app/window/controlsoff.h"

#include "app/window/mainwindow.h"

ControlsOff::ControlsOff(MainWindow &window)
    : m_window(window)
    , m_focused(window.focusWidget())
{
    m_window.EnableWidgets(false, false);
}

ControlsOff::~ControlsOff()
{
    m_window.EnableWidgets(true, true);
    if (m_focused && m_focused->isEnabled())
        m_focused->setFocus();
}
