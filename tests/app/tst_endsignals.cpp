#include "app/endsignals.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <csignal>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

class EndSignalsTest : public testing::Test
{
protected:
    EndSignalsTest() { listen(m_signals); }

    void listen(EndSignals &endSignals)
    {
        QObject::connect(&endSignals, &EndSignals::received,
                         [this](int number) { m_received.push_back(number); });
    }

    std::vector<int> received()
    {
        QCoreApplication::processEvents();
        return m_received;
    }

    EndSignals m_signals;
    std::vector<int> m_received;
};

/// How a child process ends that does this: its status, or minus the signal that ended it.
template <typename Function> int endOfAChild(Function function)
{
    const pid_t child = fork();
    if (child == 0) {
        function();
        _exit(7);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

TEST_F(EndSignalsTest, signalsArriveInTheEventLoop)
{
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        m_received.clear();
        std::raise(number);
        EXPECT_TRUE(m_received.empty()) << "not from inside the handler";
        EXPECT_EQ(received(), std::vector<int>{number});
    }
}

TEST_F(EndSignalsTest, oneAfterTheOtherCountAsOne)
{
    // timeout(1) and closing terminals send two
    std::raise(SIGTERM);
    std::raise(SIGHUP);
    std::raise(SIGTERM);
    EXPECT_EQ(received(), std::vector<int>{SIGTERM});
}

TEST_F(EndSignalsTest, secondSignalAtTheVeryEndDoesNotChangeTheExitStatus)
{
    EXPECT_EQ(endOfAChild([] {
                  {
                      const EndSignals ended;
                      std::raise(SIGTERM);
                  }
                  std::raise(SIGTERM);
              }),
              7);
}

TEST_F(EndSignalsTest, secondSignalEndsAProcessThatHangs)
{
    EXPECT_EQ(endOfAChild([] {
                  std::raise(SIGTERM);
                  std::raise(SIGINT);
              }),
              7);
    EXPECT_EQ(endOfAChild([] {
                  std::raise(SIGTERM);
                  sleep(3);
                  std::raise(SIGINT);
              }),
              -SIGINT);
}

TEST(EndSignalsLife, ignoredSignalStaysIgnored)
{
    std::signal(SIGHUP, SIG_IGN);
    {
        const EndSignals endSignals;
        int count = 0;
        QObject::connect(&endSignals, &EndSignals::received, [&count](int) { ++count; });
        std::raise(SIGHUP);
        QCoreApplication::processEvents();
        EXPECT_EQ(count, 0);
    }
    std::raise(SIGHUP);
    std::signal(SIGHUP, SIG_DFL);
}

TEST(EndSignalsLife, defaultIsBackAtTheEnd)
{
    {
        const EndSignals endSignals;
    }
    EXPECT_EQ(endOfAChild([] { std::raise(SIGTERM); }), -SIGTERM);
}
