#include "library/device/v4l2/v4l2_device.h"

#include "tests/library/fakes/v4l2_fixture.h"
#include "tests/library/support/folder_entries.h"

#include <atomic>
#include <cerrno>
#include <gmock/gmock.h>
#include <new>
#include <thread>

using namespace korv;
using testing::IsEmpty;
using testing_support::becomesTrue;
using testing_support::Delivery;
using testing_support::entriesIn;
using testing_support::FakeV4l2;
using testing_support::secondsOf;
using testing_support::threadCount;
using testing_support::threadCountAtRest;
using testing_support::V4l2Fixture;

namespace {

/// Long enough to tell a bounded wait from one that takes a driver's five seconds.
constexpr double kBounded = 1.0;

class V4l2Trouble : public V4l2Fixture
{
protected:
    static Delivery good() { return {Delivery::Kind::Picture, picture()}; }
    static Delivery damaged() { return {Delivery::Kind::Damaged, {}}; }
    static Delivery unplugged() { return {Delivery::Kind::Unplug, {}}; }

    std::unique_ptr<CameraDevice> streaming()
    {
        auto device = opened();
        EXPECT_TRUE(device->start(m_frames));
        return device;
    }
};

} // namespace

// ---- unplug ----

TEST_F(V4l2Trouble, unplugInPollEndsTheStreamAndClosesTheNodeAtOnce)
{
    m_calls->script({good(), good()});
    m_calls->letTimeStand();
    const auto device = streaming();
    ASSERT_TRUE(becomesTrue([&] { return m_frames.count() > 0; }));
    m_calls->unplug();
    EXPECT_TRUE(isTold(V4l2Exit::Gone));
    EXPECT_TRUE(isLeftClean());
    EXPECT_TRUE(device->stop());
    EXPECT_EQ(device->start(m_frames).code(), -ENODEV);
    EXPECT_TRUE(isTold(V4l2Exit::Gone)); // once
}

TEST_F(V4l2Trouble, unplugInDequeueEndsTheStream)
{
    m_calls->script({good(), unplugged()});
    const auto device = streaming();
    EXPECT_TRUE(isTold(V4l2Exit::Gone));
    EXPECT_TRUE(isLeftClean());
}

TEST_F(V4l2Trouble, dequeueWithInvalidArgumentIsAnUnplugWhenTheNodeSaysSo)
{
    const auto device = opened();
    m_calls->answer(VIDIOC_DQBUF, {-EINVAL});
    m_calls->answer(VIDIOC_QUERYCAP, {-ENODEV});
    ASSERT_TRUE(device->start(m_frames));
    EXPECT_TRUE(isTold(V4l2Exit::Gone));
    EXPECT_TRUE(isLeftClean());
}

TEST_F(V4l2Trouble, dequeueWithInvalidArgumentAloneRestartsTheStream)
{
    m_calls->answer(VIDIOC_DQBUF, {-EINVAL});
    const auto device = streaming();
    EXPECT_TRUE(getsFrames());
    EXPECT_EQ(m_calls->count(VIDIOC_STREAMON), 2);
    EXPECT_THAT(m_fates.all(), IsEmpty());
}

TEST_F(V4l2Trouble, unplugInAnyOtherCallEndsTheStream)
{
    for (const unsigned long request :
         {VIDIOC_S_FMT, VIDIOC_REQBUFS, VIDIOC_QUERYBUF, VIDIOC_QBUF, VIDIOC_STREAMON}) {
        m_calls->answer(request, {-ENODEV});
        auto device = opened();
        EXPECT_EQ(device->start(m_frames).code(), -ENODEV);
        EXPECT_TRUE(isLeftClean());
        EXPECT_TRUE(isTold(V4l2Exit::Gone)); // on the camera's thread, after start() has answered
        device.reset();
        EXPECT_EQ(m_fates.all().size(), 1U);
        m_fates.clear();
    }
}

TEST_F(V4l2Trouble, unplugInQueueWhileStreamingEndsTheStream)
{
    const auto device = opened();
    m_calls->answer(VIDIOC_QBUF, {0, 0, 0, 0, 0, -ENODEV});
    ASSERT_TRUE(device->start(m_frames));
    EXPECT_TRUE(isTold(V4l2Exit::Gone));
    EXPECT_TRUE(isLeftClean());
}

TEST_F(V4l2Trouble, idleNodeIsClosedWhenItsCameraGoes)
{
    const auto device = opened();
    m_calls->unplug();
    EXPECT_TRUE(isTold(V4l2Exit::Gone));
    EXPECT_TRUE(isLeftClean());
    EXPECT_EQ(device->start(m_frames).code(), -ENODEV);
}

// ---- stalls ----

TEST_F(V4l2Trouble, silentStreamIsStartedAgainOnTheSameDescriptor)
{
    m_calls->script({good()});
    const auto device = streaming();
    ASSERT_TRUE(becomesTrue([&] { return m_frames.count() > 5; }));
    EXPECT_EQ(m_calls->count(VIDIOC_STREAMON), 2);
    EXPECT_EQ(m_calls->count(FakeV4l2::kOpen), 1);
    EXPECT_THAT(m_fates.all(), IsEmpty());
}

TEST_F(V4l2Trouble, burstOfFailedTransfersIsSurvivedWithoutARestart)
{
    m_calls->script({good(), damaged(), damaged(), damaged(), damaged(), good()});
    m_calls->letTimeStand();
    const auto device = streaming();
    ASSERT_TRUE(becomesTrue([&] { return m_frames.count() == 2; }));
    EXPECT_EQ(m_calls->count(VIDIOC_STREAMON), 1);
}

TEST_F(V4l2Trouble, failedTransfersAloneAreASilence)
{
    m_calls->script({good(), damaged(), damaged(), damaged(), damaged(), damaged()});
    const auto device = streaming();
    ASSERT_TRUE(becomesTrue([&] { return m_frames.count() > 5; }));
    EXPECT_EQ(m_calls->count(VIDIOC_STREAMON), 2);
}

TEST_F(V4l2Trouble, slowCameraGetsMoreTimeWithEachAttempt)
{
    m_calls->script({});
    m_calls->script({});
    const auto before = m_calls->now();
    const auto device = streaming();
    ASSERT_TRUE(getsFrames());
    EXPECT_GE(m_calls->now() - before, std::chrono::seconds(2 + 3));
}

TEST_F(V4l2Trouble, nodeIsOpenedAnewAfterThreeRestartsInVain)
{
    for (int start = 0; start < 4; ++start)
        m_calls->script({});
    const auto device = streaming();
    ASSERT_TRUE(getsFrames());
    EXPECT_EQ(m_calls->count(VIDIOC_STREAMON), 5);
    EXPECT_EQ(m_calls->count(FakeV4l2::kOpen), 2);
    EXPECT_EQ(m_calls->openDescriptors(), 1);
    EXPECT_THAT(m_fates.all(), IsEmpty());
}

TEST_F(V4l2Trouble, cameraWhoseThreadFailsIsLost)
{
    class OutOfMemory : public FrameSink
    {
        void onFrame(const Frame &) override { throw std::bad_alloc(); }
    } receiver;
    const auto device = opened();
    ASSERT_TRUE(device->start(receiver));
    EXPECT_TRUE(isTold(V4l2Exit::Lost));
    EXPECT_TRUE(isLeftClean());
    EXPECT_TRUE(device->stop());
    EXPECT_EQ(device->start(m_frames).code(), -ENODEV);
    EXPECT_TRUE(isTold(V4l2Exit::Lost)); // once
    EXPECT_TRUE(opened());
}

TEST_F(V4l2Trouble, startThatWaitsForAThreadThatFailsIsToldSo)
{
    class Slow : public FrameSink
    {
    public:
        std::atomic<bool> entered = false;

    private:
        void onFrame(const Frame &) override
        {
            entered = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            throw std::bad_alloc();
        }
    } receiver;
    Result<EventFd> wakeUp = EventFd::create();
    ASSERT_TRUE(wakeUp);
    V4l2Work work({m_calls, "/dev/video0", m_turn, [](V4l2Exit) {}}, std::move(wakeUp).value());
    std::thread thread([&] { work.run(); });
    const auto opened = work.waitUntilOpen(std::chrono::seconds(10));
    ASSERT_TRUE(opened && *opened);
    const V4l2Mode mode = opened->value().front();
    const std::chrono::seconds longest(10);
    ASSERT_TRUE(work.start(mode, std::make_shared<CallGate<FrameSink>>(receiver), longest));
    EXPECT_TRUE(becomesTrue([&] { return receiver.entered.load(); }));
    EXPECT_EQ(work.start(mode, std::make_shared<CallGate<FrameSink>>(m_frames), longest).code(),
              -ENODEV);
    thread.join();
}

TEST_F(V4l2Trouble, cameraThatStaysSilentIsLost)
{
    m_calls->otherwise({});
    const auto device = streaming();
    EXPECT_TRUE(isTold(V4l2Exit::Lost));
    EXPECT_EQ(m_calls->count(VIDIOC_STREAMON), 5);
    EXPECT_TRUE(isLeftClean());
    EXPECT_TRUE(device->stop());
}

TEST_F(V4l2Trouble, picturesBetweenTwoSilencesStartTheCountAgain)
{
    for (int start = 0; start < 10; ++start)
        m_calls->script({good()});
    const auto device = streaming();
    ASSERT_TRUE(becomesTrue([&] { return m_calls->count(VIDIOC_STREAMON) == 11; }));
    EXPECT_EQ(m_calls->count(FakeV4l2::kOpen), 1);
}

TEST_F(V4l2Trouble, restartsThatAreRefusedLeadToANewOpen)
{
    m_calls->script({good()});
    const auto device = opened();
    m_calls->answer(VIDIOC_STREAMON, {0, -EIO, -EIO, -EIO});
    ASSERT_TRUE(device->start(m_frames));
    EXPECT_TRUE(becomesTrue([&] { return m_frames.count() > 5; }));
    EXPECT_EQ(m_calls->count(FakeV4l2::kOpen), 2);
}

TEST_F(V4l2Trouble, anotherCameraBehindTheNodeIsNotTakenForThisOne)
{
    m_calls->script({good()});
    m_calls->otherwise({});
    m_calls->letTimeStand();
    const auto device = streaming();
    ASSERT_TRUE(becomesTrue([&] { return m_frames.count() > 0; }));
    m_calls->moveTo("usb-2");
    m_calls->letTimeRun();
    EXPECT_TRUE(isTold(V4l2Exit::Gone));
    EXPECT_TRUE(isLeftClean());
}

// ---- a camera that does not answer ----

TEST_F(V4l2Trouble, openThatHangsIsGivenUpInTime)
{
    m_patience.open = std::chrono::milliseconds(200);
    m_calls->block(FakeV4l2::kOpen);
    const double seconds = secondsOf([&] { EXPECT_EQ(tryOpen().code(), -ETIMEDOUT); });
    EXPECT_LT(seconds, kBounded);
    m_calls->release();
    EXPECT_TRUE(isLeftClean());
}

TEST_F(V4l2Trouble, startThatHangsGoesOnWithoutTheCaller)
{
    m_calls->block(VIDIOC_S_FMT);
    const auto device = opened();
    const double seconds = secondsOf([&] { EXPECT_TRUE(device->start(m_frames)); });
    EXPECT_LT(seconds, kBounded);
    ASSERT_TRUE(m_calls->isBlocking());
    m_calls->release(); // -EIO: the node is reopened, and now the camera answers
    EXPECT_TRUE(getsFrames());
}

TEST_F(V4l2Trouble, closeReturnsInTimeWhateverHangs)
{
    for (const unsigned long request : {VIDIOC_S_FMT, VIDIOC_STREAMON, VIDIOC_STREAMOFF}) {
        auto device = opened();
        const int frames = m_frames.count();
        m_calls->block(request);
        EXPECT_TRUE(device->start(m_frames));
        if (request == VIDIOC_STREAMOFF) {
            EXPECT_TRUE(becomesTrue([&] { return m_frames.count() > frames; }));
        }
        const double seconds = secondsOf([&] {
            EXPECT_TRUE(device->stop());
            device.reset();
        });
        EXPECT_LT(seconds, kBounded);
        EXPECT_TRUE(m_calls->isBlocking());
        const int count = m_frames.count();
        m_calls->release();
        EXPECT_TRUE(isLeftClean());
        EXPECT_EQ(m_frames.count(), count);
    }
}

TEST_F(V4l2Trouble, cameraOpensAgainWhenTheThreadLeftBehindHasEnded)
{
    auto device = streaming();
    m_calls->block(VIDIOC_STREAMOFF);
    device.reset();
    m_patience.open = std::chrono::milliseconds(100);
    EXPECT_EQ(tryOpen().code(), -ETIMEDOUT);
    m_calls->release();
    EXPECT_TRUE(becomesTrue([&] { return static_cast<bool>(tryOpen()); }));
    EXPECT_TRUE(isLeftClean());
}

TEST_F(V4l2Trouble, stopDuringARecoveryReturnsInTime)
{
    m_calls->script({good()});
    auto device = streaming();
    ASSERT_TRUE(becomesTrue([&] { return m_frames.count() > 0; }));
    m_calls->letTimeStand();
    EXPECT_LT(secondsOf([&] { EXPECT_TRUE(device->stop()); }), kBounded);
    EXPECT_LT(secondsOf([&] { device.reset(); }), kBounded);
    EXPECT_TRUE(isLeftClean());
}

// ---- leaks ----

TEST_F(V4l2Trouble, twoHundredCyclesLeaveNothingBehind)
{
    const long threads = threadCountAtRest();
    const long descriptors = entriesIn("/proc/self/fd");
    for (int cycle = 0; cycle < 200; ++cycle) {
        auto device = opened();
        ASSERT_TRUE(device->start(m_frames));
        if (cycle % 10 == 0) {
            ASSERT_TRUE(getsFrames());
        }
        if (cycle % 3 == 1)
            m_calls->unplug();
        if (cycle % 3 == 2) {
            EXPECT_TRUE(device->stop());
        }
        device.reset();
        EXPECT_EQ(m_calls->openDescriptors(), 0);
        EXPECT_EQ(m_calls->mappings(), 0);
        m_calls->plug();
    }
    // the kernel forgets a thread a moment after it was joined
    EXPECT_TRUE(becomesTrue([=] { return threadCount() == threads; }));
    EXPECT_EQ(entriesIn("/proc/self/fd"), descriptors);
}
