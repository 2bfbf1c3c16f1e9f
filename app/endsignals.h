#pragma once

#include <QObject>

class QSocketNotifier;

/// Turns SIGINT, SIGTERM and SIGHUP into a signal of the event loop, so that the program can end as
/// it does by its window. Signals that the starter chose to ignore stay ignored (nohup). As closing
/// may hang in a driver, one that comes three seconds after the first or later ends the process at
/// once. One object at a time, on the user-interface thread.
class EndSignals : public QObject
{
    Q_OBJECT

public:
    EndSignals();
    /// The signals have their default effect again, unless one has come: then the program ends, and
    /// only what comes three seconds after the first ends it sooner.
    ~EndSignals() override;

signals:
    void received(int number);

private:
    void readNumbers();

    QSocketNotifier *m_notifier = nullptr; ///< a child of this
};
