#include "library/api/session.h"

#include "library/api/callback_scope.h"
#include "tests/library/support/fake_devices.h"
#include "tests/library/support/wait.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <thread>

using korv::Session;
using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::becomesTrue;
using testing_support::FakeBackend;
using testing_support::FakeMonitor;
using testing_support::Gate;

namespace {

/// What the plain C callbacks write to; one test at a time uses it.
struct Heard
{
    std::mutex mutex;
    std::vector<std::string> events; ///< "add 0 Cam"
    std::atomic<int> frames{0};
    std::function<void()> onFrame;
    std::function<void()> onEvent;

    std::vector<std::string> soFar()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return events;
    }
};

Heard *heard = nullptr;

std::string between(const std::string &text, const std::string &before, const std::string &after)
{
    const std::size_t start = text.find(before) + before.size();
    return text.substr(start, text.find(after, start) - start);
}

void hear(char *json)
{
    const std::string text(json);
    std::free(json);
    {
        const std::lock_guard<std::mutex> lock(heard->mutex);
        heard->events.push_back(between(text, "\"action\":\"", "\"") + " "
                                + between(text, "\"index\":", ",") + " "
                                + between(text, "\"name\":\"", "\""));
    }
    if (heard->onEvent)
        heard->onEvent();
}

void hearElsewhere(char *json)
{
    std::free(json);
    const std::lock_guard<std::mutex> lock(heard->mutex);
    heard->events.push_back("elsewhere");
}

int take(void *, int, int, int)
{
    ++heard->frames;
    if (heard->onFrame)
        heard->onFrame();
    return 0;
}

class SessionTest : public testing::Test
{
protected:
    void SetUp() override { heard = &m_heard; }
    void TearDown() override
    {
        m_session.reset();
        heard = nullptr;
    }

    /// Starts a session with as many monitors as backends.
    Session &started(std::size_t monitors = 1)
    {
        Session::Monitors all;
        for (std::size_t each = 0; each < monitors; ++each)
            all.push_back(std::make_unique<FakeMonitor>(m_backends[each]));
        m_session = std::make_unique<Session>(std::move(all));
        EXPECT_TRUE(m_session->start());
        return *m_session;
    }

    bool hears(const std::vector<std::string> &expected)
    {
        return becomesTrue([&] { return m_heard.soFar() == expected; });
    }

    Heard m_heard;
    FakeBackend m_backends[2];
    FakeBackend &m_backend = m_backends[0];
    std::unique_ptr<Session> m_session;
};

using SessionEvents = SessionTest;
using SessionDevices = SessionTest;
using SessionThreads = SessionTest;

} // namespace

// ---- events ----

TEST_F(SessionEvents, devicesPresentAreAnnouncedAtRegistration)
{
    m_backend.presentAtStart = {{"a", "A", 1, 2}, {"b", "B", 1, 2}};
    started().setReceiver(hear);
    EXPECT_TRUE(hears({"add 0 A", "add 1 B"}));
}

TEST_F(SessionEvents, eachDeviceArrivesAndLeavesOnceAndInOrder)
{
    Session &session = started();
    session.setReceiver(hear);
    m_backend.plug("a", "A");
    m_backend.plug("b", "B");
    m_backend.pull("a");
    m_backend.pull("a");
    m_backend.pull("never there");
    m_backend.pull("b");
    EXPECT_TRUE(hears({"add 0 A", "add 1 B", "remove 0 A", "remove 1 B"}));
    EXPECT_TRUE(session.presentDevices().empty());
}

TEST_F(SessionEvents, deviceThatCameAndWentBeforeRegistrationIsNotMentioned)
{
    Session &session = started();
    m_backend.plug("a", "A");
    m_backend.pull("a");
    m_backend.plug("b", "B");
    session.setReceiver(hear);
    EXPECT_TRUE(hears({"add 0 B"}));
}

TEST_F(SessionEvents, replacedReceiverHearsNothingMore)
{
    Session &session = started();
    session.setReceiver(hearElsewhere);
    session.setReceiver(hear);
    m_backend.plug("a", "A");
    EXPECT_TRUE(hears({"add 0 A"}));
}

TEST_F(SessionEvents, registrationWaitsForTheEarlierReceiversCall)
{
    Session &session = started();
    Gate inside;
    Gate mayReturn;
    std::atomic<bool> returned{false};
    m_heard.onEvent = [&] {
        inside.open();
        EXPECT_TRUE(mayReturn.wait());
        returned = true;
    };
    session.setReceiver(hear);
    m_backend.plug("a", "A");
    ASSERT_TRUE(inside.wait());
    std::thread opener([&] { mayReturn.open(); });
    session.setReceiver(nullptr);
    EXPECT_TRUE(returned);
    opener.join();
    m_heard.onEvent = nullptr;
}

TEST_F(SessionEvents, registrationDoesNotWaitForTheNewReceiversCall)
{
    m_backend.presentAtStart = {{"a", "A", 1, 2}};
    Session &session = started();
    std::mutex ofTheProgram;
    m_heard.onEvent = [&] { const std::lock_guard<std::mutex> lock(ofTheProgram); };
    {
        const std::lock_guard<std::mutex> lock(ofTheProgram);
        session.setReceiver(hear);
    }
    EXPECT_TRUE(hears({"add 0 A"}));
    session.setReceiver(nullptr); // the call has ended when this returns
    m_heard.onEvent = nullptr;
}

TEST_F(SessionEvents, receiverMayReplaceItself)
{
    Session &session = started();
    m_heard.onEvent = [&] { session.setReceiver(nullptr); };
    session.setReceiver(hear);
    m_backend.plug("a", "A");
    ASSERT_TRUE(hears({"add 0 A"}));
    m_backend.plug("b", "B");
    session.shutDown();
    EXPECT_THAT(m_heard.soFar(), ElementsAre("add 0 A"));
}

TEST_F(SessionEvents, noEventAfterShutDown)
{
    Session &session = started();
    session.setReceiver(hear);
    session.shutDown();
    session.setReceiver(hear);
    EXPECT_THAT(m_heard.soFar(), IsEmpty());
    EXPECT_EQ(m_backend.ended, 1);
}

TEST_F(SessionEvents, monitorsShareTheIndices)
{
    Session &session = started(2);
    session.setReceiver(hear);
    m_backends[0].plug("same key", "A");
    m_backends[1].plug("same key", "B");
    m_backends[0].pull("same key");
    EXPECT_TRUE(hears({"add 0 A", "add 1 B", "remove 0 A"}));
}

// ---- indices ----

TEST_F(SessionDevices, lowestFreeIndexIsUsedAgain)
{
    Session &session = started();
    for (const char *key : {"a", "b", "c"})
        m_backend.plug(key, key);
    m_backend.pull("a");
    m_backend.pull("b");
    m_backend.plug("d", "d");
    const auto devices = session.presentDevices();
    ASSERT_EQ(devices.size(), 2U);
    EXPECT_EQ(devices[0].index, 0);
    EXPECT_EQ(devices[0].identity.key, "d");
    EXPECT_EQ(devices[1].index, 2);
}

TEST_F(SessionDevices, openDeviceThatLeftKeepsItsIndexUntilClosed)
{
    Session &session = started();
    m_backend.plug("a", "A");
    ASSERT_TRUE(session.open(0));
    m_backend.pull("a");
    EXPECT_TRUE(session.presentDevices().empty());
    m_backend.plug("a", "A");
    EXPECT_EQ(session.presentDevices().at(0).index, 1);
    EXPECT_TRUE(session.close(0));
    EXPECT_EQ(session.close(0).code(), -ENODEV);
    m_backend.plug("b", "B");
    EXPECT_EQ(session.presentDevices().at(0).identity.key, "b");
}

TEST_F(SessionDevices, streamingDeviceThatLeftIsReportedAndCloses)
{
    Session &session = started();
    session.setReceiver(hear);
    m_backend.plug("a", "A");
    ASSERT_TRUE(session.open(0));
    ASSERT_TRUE(session.startCapture(0, take));
    m_backend.pull("a");
    EXPECT_TRUE(hears({"add 0 A", "remove 0 A"}));
    EXPECT_TRUE(session.close(0));
    EXPECT_EQ(*m_backend.alive, 0);
}

// ---- devices ----

TEST_F(SessionDevices, nothingWorksOnAnIndexWithoutDevice)
{
    Session &session = started();
    for (const int index : {-1, 0, 7, 1 << 30}) {
        EXPECT_EQ(session.open(index).code(), -ENODEV);
        EXPECT_EQ(session.close(index).code(), -ENODEV);
        EXPECT_EQ(session.modes(index).code(), -ENODEV);
        EXPECT_EQ(session.currentMode(index).code(), -ENODEV);
        EXPECT_EQ(session.selectMode(index, 3).code(), -ENODEV);
        EXPECT_EQ(session.startCapture(index, take).code(), -ENODEV);
        EXPECT_EQ(session.stopCapture(index).code(), -ENODEV);
    }
}

TEST_F(SessionDevices, closedDeviceIsPresentButNotOpen)
{
    Session &session = started();
    m_backend.plug("a");
    EXPECT_EQ(session.presentDevices().size(), 1U);
    EXPECT_TRUE(session.openDevices().empty());
    EXPECT_EQ(session.modes(0).code(), -ENODEV);
    EXPECT_EQ(session.close(0).code(), -ENODEV);
}

TEST_F(SessionDevices, openDeviceAnswersAndCannotBeOpenedAgain)
{
    Session &session = started();
    m_backend.plug("a");
    ASSERT_TRUE(session.open(0));
    EXPECT_EQ(session.open(0).code(), -EBUSY);
    EXPECT_EQ(session.openDevices().size(), 1U);
    EXPECT_EQ(session.modes(0).value().size(), 2U);
    EXPECT_EQ(session.currentMode(0).value(), 3);
    EXPECT_TRUE(session.close(0));
    EXPECT_EQ(*m_backend.alive, 0);
    EXPECT_TRUE(session.open(0)) << "a closed device opens again";
}

TEST_F(SessionDevices, failureToOpenIsPassedOnAndLeavesTheDeviceClosed)
{
    Session &session = started();
    m_backend.plug("a");
    m_backend.openError = -EACCES;
    EXPECT_EQ(session.open(0).code(), -EACCES);
    EXPECT_TRUE(session.openDevices().empty());
    m_backend.openError = 0;
    EXPECT_TRUE(session.open(0));
}

TEST_F(SessionDevices, resolutionChangesOnlyToOneOfferedAndOnlyAtRest)
{
    Session &session = started();
    m_backend.plug("a");
    ASSERT_TRUE(session.open(0));
    EXPECT_EQ(session.selectMode(0, 4).code(), -EINVAL);
    EXPECT_EQ(session.currentMode(0).value(), 3);
    EXPECT_TRUE(session.selectMode(0, 5));
    EXPECT_EQ(session.currentMode(0).value(), 5);
    ASSERT_TRUE(session.startCapture(0, take));
    EXPECT_EQ(session.selectMode(0, 3).code(), -EBUSY);
    EXPECT_EQ(session.currentMode(0).value(), 5);
}

TEST_F(SessionDevices, captureStartsOnceAndStopsOnce)
{
    Session &session = started();
    m_backend.plug("a");
    ASSERT_TRUE(session.open(0));
    EXPECT_EQ(session.startCapture(0, nullptr).code(), -EINVAL);
    EXPECT_EQ(session.stopCapture(0).code(), -EINVAL);
    ASSERT_TRUE(session.startCapture(0, take));
    EXPECT_EQ(session.startCapture(0, take).code(), -EBUSY);
    EXPECT_TRUE(becomesTrue([&] { return m_heard.frames > 10; }));
    EXPECT_TRUE(session.stopCapture(0));
    const int frames = m_heard.frames;
    EXPECT_EQ(session.stopCapture(0).code(), -EINVAL);
    EXPECT_EQ(session.openDevices().size(), 1U);
    ASSERT_TRUE(session.startCapture(0, take));
    EXPECT_TRUE(becomesTrue([&] { return m_heard.frames > frames; }));
}

TEST_F(SessionDevices, noFrameAfterClose)
{
    Session &session = started();
    m_backend.plug("a");
    for (int round = 0; round < 20; ++round) {
        m_heard.frames = 0;
        ASSERT_TRUE(session.open(0));
        ASSERT_TRUE(session.startCapture(0, take));
        ASSERT_TRUE(becomesTrue([&] { return m_heard.frames > 0; }));
        ASSERT_TRUE(session.close(0));
        ASSERT_EQ(*m_backend.alive, 0);
    }
}

// ---- threads ----

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
