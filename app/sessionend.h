#pragma once

#include "app/endsignals.h"

#include <QObject>

class MainWindow;

/// Lets every end of the program go the way of its window: SIGINT, SIGTERM, SIGHUP and the end of
/// the desktop session close it, so that settings are written and working files deleted. When the
/// desktop asks before the end of a session, settings are written and the window stays, because
/// the user may still call it off. When the display vanishes, Qt ends the process from inside its
/// event loop: settings are written then, and photographs stay for the next start to find.
/// One object at a time.
class SessionEnd : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive the object.
    SessionEnd(MainWindow &window, EndSignals &endSignals);
    ~SessionEnd() override;

private:
    void closeEverything(int signalNumber);
    void closeWindow();

    MainWindow &m_window;
};
