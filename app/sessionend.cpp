#include "app/sessionend.h"

#include "app/window/mainwindow.h"
#include "settings/backupsetting.h"

#include <QApplication>
#include <QThread>

#include <cstdio>
#include <cstdlib>

namespace {

// exit() tells its handlers nothing
MainWindow *openWindow = nullptr;

void saveAtExit()
{
    if (openWindow != nullptr && QThread::currentThread() == openWindow->thread())
        openWindow->saveSession();
}

} // namespace

SessionEnd::SessionEnd(MainWindow &window, EndSignals &endSignals)
    : m_window(window)
{
    // Qt would close the window at the question already: called off, the program would run on
    // unseen and refuse to be started again.
    QGuiApplication::setFallbackSessionManagementEnabled(false);
    connect(qApp, &QGuiApplication::commitDataRequest, &window,
            [&window] { window.saveSession(); });
    connect(qApp, &QCoreApplication::aboutToQuit, this, &SessionEnd::closeWindow);
    connect(&endSignals, &EndSignals::received, this, &SessionEnd::closeEverything);
    openWindow = &window;
    // What Qt makes for settings files when the first one is used must be there before the handler:
    // what is made after it is gone when it runs.
    backupSetting(QStringLiteral("/dev/null/none")).sync();
    static_cast<void>(std::atexit(saveAtExit));
}

SessionEnd::~SessionEnd()
{
    openWindow = nullptr;
}

void SessionEnd::closeEverything(int signalNumber)
{
    std::printf("signal %d: the window is closed\n", signalNumber);
    // dialogs and menus first, as a user would
    QApplication::closeAllWindows();
    QCoreApplication::quit();
}

/// For an event loop that was ended from outside while the window was open.
void SessionEnd::closeWindow()
{
    if (m_window.isVisible())
        m_window.close();
}
