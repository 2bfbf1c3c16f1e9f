#include "library/api/callback_scope.h"
#include "tests/library/fakes/session_fixture.h"

#include <atomic>
#include <cerrno>
#include <thread>

using korv::Session;
using testing_support::becomesTrue;
using testing_support::Gate;
using testing_support::hear;
using testing_support::SessionTest;
using testing_support::take;

namespace {

using SessionThreads = SessionTest;

} // namespace

TEST_F(SessionThreads, questionsFromAFrameCallbackAreAnsweredWhileItsDeviceCloses)
{
    Session &session = started();
    m_backend.plug("a");
    ASSERT_TRUE(session.open(0));
    Gate inside;
    Gate closing;
    std::atomic<bool> asked{false};
    m_heard.onFrame = [&] {
        inside.open();
        closing.wait();
        session.modes(0).code();
        session.presentDevices();
        asked = true;
    };
    ASSERT_TRUE(session.startCapture(0, take));
    ASSERT_TRUE(inside.wait());
    std::thread other([&] { closing.open(); });
    EXPECT_TRUE(session.close(0));
    EXPECT_TRUE(asked);
    other.join();
}

TEST_F(SessionThreads, receiverMayWorkWithDevices)
{
    Session &session = started();
    std::atomic<int> code{1};
    m_heard.onEvent = [&] {
        static_cast<void>(session.open(0));
        static_cast<void>(session.startCapture(0, take));
        code = session.close(0).code();
    };
    session.setReceiver(hear);
    m_backend.plug("a", "A");
    EXPECT_TRUE(becomesTrue([&] { return code == 0; }));
    session.setReceiver(nullptr);
}

TEST_F(SessionThreads, departureIsReportedWhileCloseWaitsForTheStream)
{
    Session &session = started();
    m_backend.plug("a", "A");
    ASSERT_TRUE(session.open(0));
    Gate inside;
    Gate reported;
    m_heard.onFrame = [&] {
        inside.open();
        EXPECT_TRUE(reported.wait());
    };
    m_heard.onEvent = [&] {
        if (m_heard.soFar().back() == "remove 0 A")
            reported.open();
    };
    session.setReceiver(hear);
    ASSERT_TRUE(hears({"add 0 A"}));
    ASSERT_TRUE(session.startCapture(0, take));
    ASSERT_TRUE(inside.wait());
    std::thread closer([&] { EXPECT_TRUE(session.close(0)); });
    m_backend.pull("a");
    closer.join();
    EXPECT_TRUE(hears({"add 0 A", "remove 0 A"}));
    session.setReceiver(nullptr);
}

TEST_F(SessionThreads, slowOpenHoldsUpNobodyElse)
{
    Session &session = started();
    session.setReceiver(hear);
    m_backend.plug("a", "A");
    m_backend.plug("b", "B");
    Gate inside;
    Gate mayGoOn;
    std::atomic<bool> first{true};
    m_backend.duringOpen = [&] {
        if (first.exchange(false)) {
            inside.open();
            EXPECT_TRUE(mayGoOn.wait());
        }
    };
    std::thread slow([&] { EXPECT_TRUE(session.open(0)); });
    ASSERT_TRUE(inside.wait());
    EXPECT_EQ(session.presentDevices().size(), 2U);
    EXPECT_TRUE(session.open(1));
    m_backend.pull("a");
    EXPECT_TRUE(hears({"add 0 A", "add 1 B", "remove 0 A"}));
    m_backend.plug("c", "C");
    EXPECT_EQ(session.presentDevices().back().index, 2) << "index 0 is in somebody's hands";
    mayGoOn.open();
    slow.join();
    EXPECT_TRUE(session.close(0));
}

TEST_F(SessionThreads, shutDownClosesWhatStreamsAndTurnsWaitersAway)
{
    Session &session = started();
    m_backend.plug("a");
    m_backend.plug("b");
    ASSERT_TRUE(session.open(0));
    ASSERT_TRUE(session.open(1));
    ASSERT_TRUE(session.startCapture(0, take));
    session.shutDown();
    const int frames = m_heard.frames;
    EXPECT_EQ(*m_backend.alive, 0);
    EXPECT_EQ(m_backend.ended, 1);
    EXPECT_EQ(session.open(0).code(), -ENODEV);
    EXPECT_EQ(session.currentMode(0).code(), -ENODEV);
    EXPECT_EQ(m_heard.frames, frames);
}

TEST_F(SessionThreads, manyThreadsAtOnceLeaveNothingBehind)
{
    Session &session = started();
    session.setReceiver(hear);
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread) {
        threads.emplace_back([&, thread] {
            while (!done) {
                for (int index = 0; index < 3; ++index) {
                    static_cast<void>(session.open(index));
                    static_cast<void>(session.startCapture(index, take));
                    static_cast<void>(session.selectMode(index, thread == 0 ? 3 : 5));
                    static_cast<void>(session.currentMode(index));
                    static_cast<void>(session.close(index));
                }
                session.openDevices();
            }
        });
    }
    for (int round = 0; round < 60; ++round) {
        for (const char *key : {"a", "b", "c"})
            m_backend.plug(key, key);
        for (const char *key : {"b", "a", "c"})
            m_backend.pull(key);
    }
    session.shutDown();
    done = true;
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(*m_backend.alive, 0);
    const std::vector<std::string> events = m_heard.soFar();
    const auto isAdd = [](const std::string &event) { return event.rfind("add", 0) == 0; };
    const auto adds = std::count_if(events.begin(), events.end(), isAdd);
    const auto removes = static_cast<std::ptrdiff_t>(events.size()) - adds;
    EXPECT_GE(adds, removes);
}
