#pragma once

#include <QObject>
#include <QPoint>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <string>
#include <vector>

class QFileDialog;
class QListWidget;
class QMenu;
class QWidget;

/// Puts "#" for the line numbers that name a place in the source and not a message: they follow a
/// function's name in square brackets.
std::string withoutSourceLines(const std::string &traces, const std::string &function);

/// Looks on inside every call to the scripted camera library while the object lives.
class CallWatch
{
public:
    using Watcher = std::function<void(const std::string &name, const std::string &path)>;

    explicit CallWatch(Watcher watcher);
    ~CallWatch();
    CallWatch(const CallWatch &) = delete;
    CallWatch &operator=(const CallWatch &) = delete;

private:
    static void forward(const char *name, const char *path, void *self);

    Watcher m_watcher;
};

/// Waits inside the event loop for the next modal widget or popup that is visible, hands it over
/// once, and makes sure that none stays open. Without one within two seconds `seen()` stays false.
class ModalDriver : public QObject
{
public:
    using Action = std::function<void(QWidget &)>;

    explicit ModalDriver(Action action);
    bool seen() const { return m_seen; }

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    Action m_action;
    bool m_seen = false;
    int m_ticks = 0;
};

/// Closes whatever modal widget or popup appears.
ModalDriver::Action closeIt();

/// Stands in for the desktop's viewer.
class UrlCatcher : public QObject
{
    Q_OBJECT

public:
    UrlCatcher();
    ~UrlCatcher() override;
    std::vector<QUrl> opened;

public slots:
    void open(const QUrl &url);
};

/// The point of the list from which the window finds the item: list coordinates are taken for the
/// viewport's. Global position.
QPoint placeOfItem(const QListWidget &list, int row);

QStringList itemTexts(const QListWidget &list);
