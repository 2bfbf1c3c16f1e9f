#include "tests/app/window/windowtools.h"

#include "tests/fakes/scripted_camera.h"

#include <QApplication>
#include <QDesktopServices>
#include <QListWidget>

namespace {

constexpr int kTickMs = 5;
constexpr int kTicksToWait = 400;

QWidget *openWidget()
{
    QWidget *popup = QApplication::activePopupWidget();
    return popup != nullptr ? popup : QApplication::activeModalWidget();
}

} // namespace

std::string withoutSourceLines(const std::string &traces, const std::string &function)
{
    const std::string prefix = "[" + function + "][";
    std::string text;
    std::size_t from = 0;
    for (std::size_t at = 0; (at = traces.find(prefix, from)) != std::string::npos;) {
        const std::size_t digits = at + prefix.size();
        const std::size_t end = traces.find_first_not_of("0123456789", digits);
        text.append(traces, from, digits - from);
        if (end != std::string::npos && end > digits && traces[end] == ']')
            text += '#';
        else
            text.append(traces, digits, end - digits);
        from = end == std::string::npos ? traces.size() : end;
    }
    return text.append(traces, from);
}

CallWatch::CallWatch(Watcher watcher)
    : m_watcher(std::move(watcher))
{
    fake_set_hook(&CallWatch::forward, this);
}

CallWatch::~CallWatch()
{
    fake_set_hook(nullptr, nullptr);
}

void CallWatch::forward(const char *name, const char *path, void *self)
{
    static_cast<CallWatch *>(self)->m_watcher(name, path);
}

ModalDriver::ModalDriver(Action action)
    : m_action(std::move(action))
{
    startTimer(kTickMs);
}

void ModalDriver::timerEvent(QTimerEvent *event)
{
    QWidget *widget = openWidget();
    if (widget != nullptr && widget->isVisible() && !m_seen) {
        m_seen = true;
        m_ticks = 0;
        m_action(*widget);
    } else if (++m_ticks > kTicksToWait) {
        killTimer(event->timerId());
        if (widget != nullptr)
            widget->close();
    }
}

ModalDriver::Action closeIt()
{
    return [](QWidget &widget) { widget.close(); };
}

UrlCatcher::UrlCatcher()
{
    QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open");
}

UrlCatcher::~UrlCatcher()
{
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
}

void UrlCatcher::open(const QUrl &url)
{
    opened.push_back(url);
}

QPoint placeOfItem(const QListWidget &list, int row)
{
    return list.mapToGlobal(list.visualItemRect(list.item(row)).center());
}

QStringList itemTexts(const QListWidget &list)
{
    QStringList texts;
    for (int row = 0; row < list.count(); ++row)
        texts.append(list.item(row)->text());
    return texts;
}
