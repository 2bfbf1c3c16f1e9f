#include "app/window/disablecontrols.h"

#include "app/window/mainwindow.h"

DisableControls::DisableControls(MainWindow &window)
    : m_window(window)
    , m_focused(window.focusWidget())
{
    m_window.EnableWidgets(false, false);
}

DisableControls::~DisableControls()
{
    m_window.EnableWidgets(true, true);
    if (m_focused && m_focused->isEnabled())
        m_focused->setFocus();
}
