#include "tests/library/fakes/session_fixture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <mutex>
#include <thread>

using korv::Session;
using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::Gate;
using testing_support::hear;
using testing_support::hearElsewhere;
using testing_support::SessionTest;

namespace {

using SessionEvents = SessionTest;

} // namespace

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
