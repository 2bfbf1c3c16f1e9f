#include "tests/app/window/windowfixture.h"

#include <QAbstractEventDispatcher>
#include <QBuffer>
#include <QCoreApplication>
#include <QImage>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

/// What QTimer::singleShot() leaves behind belongs to the event dispatcher.
void dropSingleShotTimers()
{
    for (QObject *child : QAbstractEventDispatcher::instance()->children()) {
        if (QByteArray(child->metaObject()->className()) == "QSingleShotTimer")
            delete child;
    }
}

std::string backupFolder(const support::TempHome &home)
{
    return (home.home() / ".config/vexalin/plixo-base/backup").string();
}

} // namespace

WindowTest::WindowTest()
{
    fake_reset();
    m_window = std::make_unique<WindowUnderTest>(SCRIPTED_CAMERA);
    dropSingleShotTimers();
    m_output.take();
}

WindowTest::~WindowTest()
{
    m_window.reset();
    fake_reset();
}

void WindowTest::startLibrary()
{
    m_window->onslot_StartCamera();
    ASSERT_TRUE(m_window->m_KorvCamera) << m_output.take();
    m_output.take();
    fake_clear_calls();
}

void WindowTest::openOneCamera(const std::string &name, int index, int vid, int pid)
{
    startLibrary();
    plug(name, index, vid, pid);
    ASSERT_EQ(m_window->m_cameras.size(), 1U);
    ASSERT_EQ(m_window->m_cameras.front().status, 1) << m_output.take();
    m_output.take();
    fake_clear_calls();
}

void WindowTest::plug(const std::string &name, int index, int vid, int pid)
{
    emitEvent("add", name, index, vid, pid);
}

void WindowTest::unplug(const std::string &name, int index, int vid, int pid)
{
    emitEvent("remove", name, index, vid, pid);
}

void WindowTest::emitEvent(const std::string &action, const std::string &name, int index, int vid,
                           int pid)
{
    std::ostringstream json;
    json << R"({"action":")" << action << R"(","index":)" << index << R"(,"name":")" << name
         << R"(","vid":)" << vid << R"(,"pid":)" << pid << "}";
    ASSERT_EQ(fake_emit_hotplug_on_thread(json.str().c_str()), 0);
    runQueued();
}

void WindowTest::runQueued()
{
    // Each round may queue the next step; no chain of the window is longer than this.
    for (int round = 0; round < 20; ++round)
        QCoreApplication::processEvents();
}

std::string WindowTest::allTraces()
{
    return m_output.take();
}

std::string WindowTest::traces()
{
    std::istringstream lines(m_output.take());
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("func-eventFilter", 0) != 0)
            kept += line + "\n";
    }
    return kept;
}

std::string WindowTest::calls()
{
    std::string text = fake_calls();
    fake_clear_calls();
    return text;
}

QString WindowTest::eventOf(const std::string &action, const std::string &name, int index, int vid,
                            int pid)
{
    return QStringLiteral("%1,%2,%3,%4,%5")
        .arg(QString::fromStdString(action), QString::number(index), QString::fromStdString(name),
             QString::number(vid), QString::number(pid));
}

QByteArray WindowTest::jpeg(QSize size, QRgb colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPG", 92);
    return bytes;
}

std::string WindowTest::settingsFile(const std::string &name) const
{
    return support::readFile(backupFolder(m_home) + "/" + name);
}

void WindowTest::writeSettings(const std::string &name, const std::string &content) const
{
    std::filesystem::create_directories(backupFolder(m_home));
    std::ofstream(backupFolder(m_home) + "/" + name) << content;
}

std::string WindowTest::useSaveFolder()
{
    const std::string folder = (m_home.scratch() / "saved").string();
    std::filesystem::create_directories(folder);
    m_window->m_fileArgv.path = QString::fromStdString(folder);
    return folder;
}
