#pragma once

#include "library/base/bytes.h"
#include "library/base/event_fd.h"
#include "library/device/v4l2/v4l2_calls.h"
#include "tests/library/fakes/fake_controls.h"

#include <linux/videodev2.h>

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace testing_support {

/// What comes from the camera after a STREAMON.
struct Delivery
{
    enum class Kind { Picture, Damaged, Unplug };
    Kind kind = Kind::Picture;
    korv::Bytes bytes;
};

/// A picture size with its frame intervals in milliseconds.
struct FakeSize
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint32_t> intervals{66};
};

struct FakeFormat
{
    std::uint32_t pixelFormat = V4L2_PIX_FMT_MJPEG;
    std::vector<FakeSize> sizes;
    v4l2_frmsize_stepwise range{}; ///< instead of sizes when its maximum is set
};

/// A V4L2 driver with one camera behind /dev/video0 that behaves as uvcvideo was seen to behave.
/// Time is its own: where nothing comes, a wait ends at once and the clock has moved on; so a test
/// of long silences takes no time. Any thread.
class FakeV4l2 : public korv::V4l2Calls
{
public:
    static constexpr unsigned long kOpen = 0; ///< stands for open(2) among the requests

    FakeV4l2();

    // ---- what the test sets; before the camera is used, or under its own lock where noted ----
    std::string card = "Camera: Camera";
    std::string bus = "usb-1";
    std::uint32_t deviceCaps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    std::vector<FakeFormat> formats;
    std::set<std::string> nodes{"/dev/video0"}; ///< all with the same camera behind
    std::uint32_t bytesPerLine = 0; ///< of raw formats; 0: without padding
    FakeControls controls; ///< none at first
    std::uint32_t leastBuffers = 0; ///< the driver gives as many, however few it is asked for

    /// Pictures after each STREAMON, in turn; after the last script `otherwise` comes.
    void script(std::vector<Delivery> deliveries);
    /// What comes for ever when no script is left; empty: nothing.
    void otherwise(korv::Bytes picture);
    /// The next answers to a request, before it works again.
    void answer(unsigned long request, std::vector<int> results);
    /// The request hangs until release(), then answers -EIO.
    void block(unsigned long request);
    void release();
    void unplug();
    void plug();
    /// Another camera is behind the node from now on.
    void moveTo(const std::string &otherBus);
    void holdByOther(bool held);
    /// S_FMT answers with this size whatever it is asked for.
    void insistOn(std::uint32_t width, std::uint32_t height);
    /// Waits block really instead of moving the clock.
    void letTimeStand();
    void letTimeRun();
    /// Now several pictures lie ready at once.
    void deliverNow(const std::vector<korv::Bytes> &pictures);

    // ---- what happened ----
    int openDescriptors() const;
    int mappings() const;
    int count(unsigned long request) const; ///< successful or not
    bool isBlocking() const; ///< a thread hangs in a blocked request
    bool isStreaming() const;
    v4l2_fract intervalSet() const;
    std::uint32_t formatSet() const;
    std::vector<std::string> controlsSet() const;

    // ---- V4l2Calls ----
    int open(const std::string &node) override;
    void close(int descriptor) override;
    int control(int descriptor, unsigned long request, void *argument) override;
    void *map(int descriptor, std::size_t length, std::int64_t offset) override;
    void unmap(void *start, std::size_t length) override;
    Wakeup wait(int descriptor, short events, int caller,
                std::chrono::milliseconds timeout) override;
    Clock::time_point now() const override;

private:
    using Lock = std::unique_lock<std::mutex>;
    static constexpr std::size_t kBufferSize = 1 << 20;

    int hang(Lock &lock, unsigned long request);
    int carryOut(int descriptor, unsigned long request, void *argument);
    int queryCapabilities(v4l2_capability &answer) const;
    int enumerateFormats(v4l2_fmtdesc &entry) const;
    int enumerateSizes(v4l2_frmsizeenum &entry) const;
    int enumerateIntervals(v4l2_frmivalenum &entry) const;
    int setFormat(v4l2_format &request);
    int requestBuffers(int descriptor, v4l2_requestbuffers &request);
    int dequeue(v4l2_buffer &buffer);
    int streamOn();
    void streamOff();
    bool hasPicture() const;
    short readiness(short events) const;
    const FakeFormat *formatOf(std::uint32_t pixelFormat) const;

    mutable std::mutex m_mutex;
    std::condition_variable m_released;
    korv::EventFd m_news;
    std::set<int> m_descriptors;
    int m_nextDescriptor = 100'000;
    bool m_plugged = true;
    std::set<int> m_dead; ///< descriptors of a camera that was unplugged
    bool m_held = false;
    bool m_timeStands = false;
    std::uint32_t m_insistedWidth = 0;
    std::uint32_t m_insistedHeight = 0;
    std::map<unsigned long, std::deque<int>> m_answers;
    std::set<unsigned long> m_blocked;
    int m_hanging = 0;
    std::map<unsigned long, int> m_counts;
    std::deque<std::vector<Delivery>> m_scripts;
    std::deque<Delivery> m_coming;
    korv::Bytes m_otherwise;
    bool m_scripted = false;
    std::map<std::int64_t, std::vector<std::uint8_t>> m_memory; ///< of the buffers, by offset
    std::set<void *> m_mapped;
    std::deque<std::uint32_t> m_queued;
    std::uint32_t m_bufferCount = 0;
    int m_bufferOwner = -1;
    bool m_streaming = false;
    v4l2_fract m_interval{};
    std::uint32_t m_format = 0;
    Clock::time_point m_now{std::chrono::hours(1)};
};

} // namespace testing_support
