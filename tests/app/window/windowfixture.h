#pragma once

#include "app/window/mainwindow.h"
#include "tests/fakes/scripted_camera.h"
#include "tests/support/stdout_capture.h"
#include "tests/support/temp_home.h"
#include "ui/ui_mainwindow.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QSize>
#include <QString>

#include <memory>
#include <string>
#include <vector>

/// The main window with its inside showing.
class WindowUnderTest : public MainWindow
{
public:
    explicit WindowUnderTest(const char *cameraLibrary)
        : MainWindow(nullptr, cameraLibrary)
    {
    }

    using MainWindow::closeEvent;
    using MainWindow::m_cameras;
    using MainWindow::m_deviceLock;
    using MainWindow::m_fileArgv;
    using MainWindow::m_frame;
    using MainWindow::m_KorvCamera;
    using MainWindow::m_resolutionNo;
    using MainWindow::m_resolutions;
    using MainWindow::m_resolutionSelectorReady;
    using MainWindow::ui;
};

/// A window on the scripted camera library, in a home directory of its own, with standard output
/// collected. The window's delayed start is taken away: a test calls startLibrary() when it wants.
class WindowTest : public testing::Test
{
protected:
    WindowTest();
    ~WindowTest() override;

    /// Runs onslot_StartCamera() and forgets its traces and calls.
    void startLibrary();

    /// startLibrary(), then one camera arrives and is opened; traces and calls are forgotten.
    void openOneCamera(const std::string &name = "Cam", int index = 0, int vid = 0x1234,
                       int pid = 0x5678);

    /// Hands a hot-plug event to the window as the library would, and runs all that follows.
    void plug(const std::string &name, int index, int vid = 0x1234, int pid = 0x5678);
    void unplug(const std::string &name, int index, int vid = 0x1234, int pid = 0x5678);

    /// Runs queued slots until nothing is queued any more.
    static void runQueued();

    /// Traces since the last call, without those of the thumbnail list's event filter, which says
    /// something for every event.
    std::string traces();
    /// The same with the event filter's.
    std::string allTraces();
    /// Calls to the library since the last time somebody asked.
    static std::string calls();

    static QString eventOf(const std::string &action, const std::string &name, int index, int vid,
                           int pid);
    static QByteArray jpeg(QSize size, QRgb colour = 0xff3366cc);

    /// The camera settings file of a model, whole.
    std::string settingsFile(const std::string &name) const;
    void writeSettings(const std::string &name, const std::string &content) const;

    /// Where exported files and photographs go: made by the first call, set as the save folder.
    std::string useSaveFolder();

    support::TempHome m_home;
    support::StdoutCapture m_output;
    std::unique_ptr<WindowUnderTest> m_window;

private:
    void emitEvent(const std::string &action, const std::string &name, int index, int vid, int pid);
};
