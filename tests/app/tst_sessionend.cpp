#include "app/sessionend.h"

#include "settings/csettingdlg.h"
#include "tests/app/window/windowfixture.h"

#include <QApplication>
#include <QTimer>

#include <csignal>

class SessionEndTest : public WindowTest
{
protected:
    SessionEndTest()
    {
        openOneCamera();
        m_window->show();
        m_window->ui->filemodecomb->setCurrentText(QStringLiteral("pdf"));
        runQueued();
        m_output.take();
        // an end that does not come must not take the whole run with it
        m_watchdog.setSingleShot(true);
        QObject::connect(&m_watchdog, &QTimer::timeout, [] { QCoreApplication::exit(99); });
        m_watchdog.start(20000);
    }

    /// Runs the event loop and does this as soon as it runs.
    template <typename Function> static int exec(Function function)
    {
        QTimer::singleShot(0, function);
        return QApplication::exec();
    }

    void expectClosedAndSaved()
    {
        EXPECT_FALSE(m_window->isVisible());
        EXPECT_EQ(calls(), "Close(0)\n");
        EXPECT_NE(settingsFile("1234*5678.ini").find("type=pdf"), std::string::npos);
    }

    EndSignals m_signals;
    SessionEnd m_end{*m_window, m_signals};
    QTimer m_watchdog;
};

TEST_F(SessionEndTest, signalsGoTheWayOfTheWindow)
{
    EXPECT_EQ(exec([] { std::raise(SIGTERM); }), 0);
    EXPECT_EQ(traces(),
              "signal 15: the window is closed\n"
              "[ondeviceRunningSwitch] Enter type:3 \n"
              "[CloseCamera] KorvCamera_Close-0\n");
    expectClosedAndSaved();
}

TEST_F(SessionEndTest, signalEndsAnOpenDialogToo)
{
    bool returned = false;
    EXPECT_EQ(exec([&] {
                  QTimer::singleShot(0, [] { std::raise(SIGINT); });
                  m_window->onslot_setbtn_setwidget();
                  returned = true;
              }),
              0);
    EXPECT_TRUE(returned);
    expectClosedAndSaved();
}

TEST_F(SessionEndTest, signalEndsAnOpenMenuToo)
{
    useSaveFolder();
    bool returned = false;
    EXPECT_EQ(exec([&] {
                  QTimer::singleShot(0, [] { std::raise(SIGHUP); });
                  m_window->onslot_imglistwidget_popupmenu();
                  returned = true;
              }),
              0);
    EXPECT_TRUE(returned);
    expectClosedAndSaved();
}

TEST_F(SessionEndTest, loopEndedFromOutsideClosesTheWindow)
{
    EXPECT_EQ(exec([] { QCoreApplication::quit(); }), 0);
    expectClosedAndSaved();
}

TEST_F(SessionEndTest, closedWindowIsClosedOnce)
{
    EXPECT_EQ(exec([this] { m_window->close(); }), 0);
    EXPECT_EQ(traces(),
              "[ondeviceRunningSwitch] Enter type:3 \n"
              "[CloseCamera] KorvCamera_Close-0\n");
    expectClosedAndSaved();
}

TEST_F(SessionEndTest, questionOfTheDesktopSavesAndLeavesTheWindow)
{
    EXPECT_FALSE(QGuiApplication::isFallbackSessionManagementEnabled());
    m_window->saveSession();
    EXPECT_TRUE(m_window->isVisible());
    EXPECT_EQ(calls(), "");
    EXPECT_NE(settingsFile("1234*5678.ini").find("type=pdf"), std::string::npos);
}

TEST_F(SessionEndTest, questionDuringWorkOnTheRecordsIsPassedOver)
{
    const SpinGuard guard{m_window->m_deviceLock};
    m_window->saveSession();
    EXPECT_EQ(settingsFile("1234*5678.ini"), "");
}
