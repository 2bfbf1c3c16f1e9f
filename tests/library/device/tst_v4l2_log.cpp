#include "tests/library/fakes/v4l2_fixture.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <string>

using namespace korv;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing_support::becomesTrue;
using testing_support::Delivery;
using testing_support::V4l2Fixture;

namespace {

/// The log's level is chosen once in a process, so each case has a process of its own.
class V4l2Log : public V4l2Fixture
{
protected:
    V4l2Log() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    ~V4l2Log() override { ::unsetenv("KORV_LOG"); }

    /// Streams until `frames` frames have arrived, and ends the process.
    void streamAndExit(int frames)
    {
        Result<std::unique_ptr<CameraDevice>> opening = V4l2Device::open(
            {m_calls, "/dev/video0", m_turn, [](V4l2Exit) {}, "Model"}, m_patience);
        std::unique_ptr<CameraDevice> device = std::move(opening).value();
        bool arrived = static_cast<bool>(device->start(m_frames));
        arrived = arrived && becomesTrue([&] { return m_frames.count() >= frames; });
        device.reset();
        std::exit(arrived ? 0 : 1);
    }

    static Delivery good() { return {Delivery::Kind::Picture, picture()}; }
    static Delivery halfAPicture()
    {
        Bytes bytes = picture();
        bytes.resize(bytes.size() / 2);
        return {Delivery::Kind::Picture, bytes};
    }
};

} // namespace

TEST_F(V4l2Log, showsWhatWasAgreedWithTheDriver)
{
    ::setenv("KORV_LOG", "debug", 1);
    m_calls->letTimeStand();
    m_calls->script({good()});
    EXPECT_EXIT(
        streamAndExit(1), testing::ExitedWithCode(0),
        AllOf(HasSubstr("korvcamera: debug: /dev/video0 (Model): Camera: Camera at usb-1, "
                        "2 sizes\n"),
              HasSubstr("korvcamera: debug: /dev/video0 (Model): MJPG 320x240, a frame each "
                        "66/1000 s, 4 buffers\n")));
}

TEST_F(V4l2Log, saysWhyAFrameOfSeveralWasDropped)
{
    ::setenv("KORV_LOG", "debug", 1);
    m_calls->letTimeStand();
    m_calls->script({{Delivery::Kind::Damaged, {}}, halfAPicture(), halfAPicture(), good()});
    EXPECT_EXIT(
        streamAndExit(1), testing::ExitedWithCode(0),
        AllOf(HasSubstr("debug: /dev/video0 (Model): dropped a frame: the driver marked it as "
                        "damaged\n"),
              HasSubstr("debug: /dev/video0 (Model): dropped a frame: a newer one is there\n")));
}

TEST_F(V4l2Log, warnsOfTheFirstIncompleteFrameOnly)
{
    ::unsetenv("KORV_LOG");
    m_calls->script({halfAPicture()});
    m_calls->script({halfAPicture()}); // after a restart
    const std::string warning = "warning: /dev/video0 \\(Model\\): dropping incomplete frames: ";
    EXPECT_EXIT(streamAndExit(1), testing::ExitedWithCode(0),
                AllOf(ContainsRegex(warning), Not(ContainsRegex(warning + ".*" + warning)),
                      Not(HasSubstr("debug"))));
}

TEST_F(V4l2Log, saysWhyEachIncompleteFrameWasDropped)
{
    ::setenv("KORV_LOG", "debug", 1);
    m_calls->script({halfAPicture()});
    m_calls->script({halfAPicture()});
    EXPECT_EXIT(streamAndExit(1), testing::ExitedWithCode(0),
                AllOf(HasSubstr("dropping incomplete frames: "),
                      HasSubstr("debug: /dev/video0 (Model): dropped a frame: ")));
}
