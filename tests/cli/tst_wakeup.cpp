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

TEST(Wakeup, heededSignalIsKnownAndInterruptsNoMore)
{
    Wakeup wakeup;
    kill(getpid(), SIGTERM);
    EXPECT_EQ(wakeup.wait(std::nullopt), Wake::Interrupted);
    wakeup.heedStop();
    EXPECT_EQ(wakeup.stopSignal(), SIGTERM);
    EXPECT_EQ(wakeup.wait(Wakeup::Clock::now()), Wake::TimedOut);
    kill(getpid(), SIGINT);
    EXPECT_EQ(wakeup.wait(std::nullopt), Wake::Interrupted);
    EXPECT_EQ(wakeup.stopSignal(), SIGINT);
}

TEST(Wakeup, watchedDescriptorEndsTheWaitWhileItCanBeRead)
{
    Wakeup wakeup;
    int pipe[2] = {};
    ASSERT_EQ(::pipe(pipe), 0);
    wakeup.watch(pipe[0]);
    EXPECT_EQ(wakeup.wait(Wakeup::Clock::now()), Wake::TimedOut);
    ASSERT_EQ(write(pipe[1], "x", 1), 1);
    EXPECT_EQ(wakeup.wait(std::nullopt), Wake::Notified);
    EXPECT_EQ(wakeup.wait(std::nullopt), Wake::Notified);
    char letter = 0;
    ASSERT_EQ(read(pipe[0], &letter, 1), 1);
    EXPECT_EQ(wakeup.wait(Wakeup::Clock::now()), Wake::TimedOut);
    close(pipe[1]);
    EXPECT_EQ(wakeup.wait(std::nullopt), Wake::Notified);
    wakeup.unwatch(pipe[0]);
    EXPECT_EQ(wakeup.wait(Wakeup::Clock::now()), Wake::TimedOut);
    close(pipe[0]);
}

} // namespace
