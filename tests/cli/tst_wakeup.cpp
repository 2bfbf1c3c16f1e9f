#include "cli/base/wakeup.h"

#include <csignal>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using cli::Wake;
using cli::Wakeup;

TEST(Wakeup, endsAtTheDeadline)
{
    Wakeup wakeup;
    const auto start = Wakeup::Clock::now();
    EXPECT_EQ(wakeup.wait(start + 30ms), Wake::TimedOut);
    EXPECT_GE(Wakeup::Clock::now() - start, 30ms);
}

TEST(Wakeup, newsBeforeTheWaitAreNotLostAndCountOnce)
{
    Wakeup wakeup;
    wakeup.notify();
    wakeup.notify();
    EXPECT_EQ(wakeup.wait(Wakeup::Clock::now() + 5s), Wake::Notified);
    EXPECT_EQ(wakeup.wait(Wakeup::Clock::now()), Wake::TimedOut);
}

TEST(Wakeup, newsOfAnotherThreadEndTheWait)
{
    Wakeup wakeup;
    std::thread other([&] {
        std::this_thread::sleep_for(20ms);
        wakeup.notify();
    });
    EXPECT_EQ(wakeup.wait(std::nullopt), Wake::Notified);
    other.join();
}

TEST(Wakeup, aSignalInterruptsEveryWaitFromThenOn)
{
    Wakeup wakeup;
    wakeup.notify();
    kill(getpid(), SIGTERM);
    EXPECT_EQ(wakeup.wait(std::nullopt), Wake::Interrupted);
    EXPECT_EQ(wakeup.wait(std::nullopt), Wake::Interrupted);

    // nobody else may find it
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    int received = 0;
    ASSERT_EQ(sigwait(&signals, &received), 0);
    EXPECT_EQ(received, SIGTERM);
}

} // namespace
