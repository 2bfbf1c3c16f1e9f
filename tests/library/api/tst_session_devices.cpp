#include "tests/library/fakes/session_fixture.h"

#include <cerrno>

using korv::Session;
using testing_support::becomesTrue;
using testing_support::hear;
using testing_support::SessionTest;
using testing_support::take;

namespace {

using SessionDevices = SessionTest;

} // namespace

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

TEST_F(SessionDevices, theOneDeviceThatStreamsIsNamed)
{
    Session &session = started();
    m_backend.plug("a", "A");
    m_backend.plug("b", "B");
    ASSERT_TRUE(session.open(0));
    ASSERT_TRUE(session.open(1));
    EXPECT_FALSE(session.streamingDevice());
    ASSERT_TRUE(session.startCapture(1, take));
    EXPECT_EQ(session.streamingDevice().value().name, "B");
    ASSERT_TRUE(session.startCapture(0, take));
    EXPECT_FALSE(session.streamingDevice());
    ASSERT_TRUE(session.close(1));
    EXPECT_EQ(session.streamingDevice().value().name, "A");
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
