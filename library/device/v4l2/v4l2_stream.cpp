#include "library/device/v4l2/v4l2_stream.h"

#include "library/base/log.h"

#include <algorithm>
#include <cerrno>
#include <linux/videodev2.h>
#include <poll.h>
#include <string>
#include <utility>

namespace korv {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kSilence{2000};
constexpr double kMaxInterval = 20; ///< seconds; what a driver states beyond that is nonsense

std::string sizeText(int width, int height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

/// The four characters of a pixel format's code.
std::string formatName(std::uint32_t pixelFormat)
{
    std::string name;
    for (int shift = 0; shift < 32; shift += 8) {
        const char letter = static_cast<char>(pixelFormat >> shift & 0x7F);
        name += letter >= ' ' ? letter : '?';
    }
    return name;
}

/// The kernel's rule for what a driver leaves open (V4L2_MAP_QUANTIZATION_DEFAULT), except that
/// gray sensors use the whole range.
bool isFullRange(const v4l2_pix_format &format)
{
    // without the magic number the field is not filled in
    if (format.priv == V4L2_PIX_FMT_PRIV_MAGIC && format.quantization != V4L2_QUANTIZATION_DEFAULT)
        return format.quantization == V4L2_QUANTIZATION_FULL_RANGE;
    return format.pixelformat == V4L2_PIX_FMT_GREY || format.colorspace == V4L2_COLORSPACE_JPEG;
}

} // namespace

Result<void> V4l2Stream::setFormat(const V4l2Mode &mode)
{
    v4l2_format request{};
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    v4l2_pix_format &picture = request.fmt.pix;
    picture.width = static_cast<std::uint32_t>(mode.mode.width);
    picture.height = static_cast<std::uint32_t>(mode.mode.height);
    picture.pixelformat = mode.pixelFormat;
    picture.field = V4L2_FIELD_NONE;
    if (const int result = m_node.control(VIDIOC_S_FMT, &request); result < 0)
        return systemError(-result, "VIDIOC_S_FMT");

    V4l2Format agreed;
    agreed.pixelFormat = picture.pixelformat;
    agreed.width = static_cast<int>(picture.width);
    agreed.height = static_cast<int>(picture.height);
    agreed.stride = picture.bytesperline;
    agreed.fullRange = isFullRange(picture);
    if (!isJpegFormat(agreed.pixelFormat) && !layoutOf(agreed.pixelFormat))
        return Error{-EINVAL,
                     "the driver selected the unsupported pixel format "
                         + formatName(agreed.pixelFormat)};
    if (agreed.width != mode.mode.width || agreed.height != mode.mode.height)
        logLine(LogLevel::Warning, m_label,
                "frames of " + sizeText(agreed.width, agreed.height) + " instead of "
                    + sizeText(mode.mode.width, mode.mode.height));
    m_frames.emplace(agreed);
    return {};
}

/// What was agreed with the driver, for the log.
std::string V4l2Stream::agreement() const
{
    const V4l2Format &format = m_frames->format();
    std::string text = formatName(format.pixelFormat) + " " + sizeText(format.width, format.height);
    if (m_interval.isKnown())
        text += ", a frame each " + std::to_string(m_interval.numerator) + "/"
            + std::to_string(m_interval.denominator) + " s";
    return text + ", " + std::to_string(m_buffers.count()) + " buffers";
}

void V4l2Stream::setInterval(const V4l2Mode &mode)
{
    m_interval = mode.interval;
    if (!m_interval.isKnown())
        return;
    v4l2_streamparm request{};
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.parm.capture.timeperframe = {m_interval.numerator, m_interval.denominator};
    // a driver that cannot set it goes at its own speed
    m_node.control(VIDIOC_S_PARM, &request);
}

Result<void> V4l2Stream::begin(const V4l2Mode &mode)
{
    m_buffers.release();
    m_tookPictures = false;
    if (Result<void> agreed = setFormat(mode); !agreed)
        return agreed;
    setInterval(mode);
    if (Result<void> allocated = m_buffers.allocate(); !allocated)
        return allocated;
    logDebug([&] { return m_label + ": " + agreement(); });
    return m_buffers.streamOn();
}

Result<void> V4l2Stream::restart()
{
    m_buffers.streamOff();
    return m_buffers.streamOn();
}

milliseconds V4l2Stream::silenceLimit() const
{
    const double interval = std::min(m_interval.seconds(), kMaxInterval);
    return std::max(kSilence, milliseconds(static_cast<int>(interval * 3000)));
}

V4l2Stream::End V4l2Stream::run(CallGate<FrameSink> &sink, const EventFd &caller,
                                milliseconds patience)
{
    V4l2Calls &calls = m_node.calls();
    auto deadline = calls.now() + patience;
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - calls.now());
        if (left.count() <= 0)
            return End::Silent;
        const V4l2Calls::Wakeup wakeup = calls.wait(m_node.descriptor(), POLLIN, caller.fd(), left);
        if (wakeup.called)
            return End::Called;
        if (wakeup.error != 0)
            return End::Failed;
        if (wakeup.device == 0)
            continue;
        const Result<bool> taken = takeBuffers(sink);
        if (!taken)
            return meaningOf(taken.error());
        if (taken.value())
            deadline = calls.now() + silenceLimit();
        else if ((wakeup.device & POLLIN) == 0)
            return meaningOf(Error{-EIO, "the driver reports an error"});
    }
}

/// True when one of the buffers held picture data.
Result<bool> V4l2Stream::takeBuffers(CallGate<FrameSink> &sink)
{
    std::optional<V4l2Buffers::Filled> newest;
    bool alive = false;
    // as many as there are: not without end where pictures come faster than they are taken
    for (std::size_t count = 0; count < m_buffers.count(); ++count) {
        Result<V4l2Buffers::Filled> next = m_buffers.dequeue();
        if (!next && next.code() == -EAGAIN)
            break;
        if (!next)
            return next.error();
        const bool usable = !next.value().damaged && !next.value().bytes.empty();
        if (!usable)
            logDroppedFrame(next.value().damaged ? "the driver marked it as damaged" : "empty");
        else if (newest)
            logDroppedFrame("a newer one is there");
        // what a slow receiver had no time for goes back: the next picture it sees is a new one
        const std::optional<std::uint32_t> back = usable
            ? (newest ? std::optional(newest->index) : std::nullopt)
            : std::optional(next.value().index);
        if (usable)
            newest = next.value();
        if (back) {
            if (Result<void> queued = m_buffers.queue(*back); !queued)
                return queued.error();
        }
        alive = alive || usable;
    }
    if (!newest)
        return alive;
    m_tookPictures = true;
    deliver(sink, newest->bytes);
    if (Result<void> queued = m_buffers.queue(newest->index); !queued)
        return queued.error();
    return alive;
}

void V4l2Stream::logDroppedFrame(const char *reason) const
{
    logLine(LogLevel::Debug, m_label, "dropped a frame", reason);
}

void V4l2Stream::deliver(CallGate<FrameSink> &sink, ByteView bytes)
{
    const Result<Frame> frame = m_frames->make(bytes);
    if (frame) {
        sink.call([&](FrameSink &receiver) { receiver.onFrame(frame.value()); });
        return;
    }
    if (std::exchange(m_reportedIncomplete, true))
        return logDroppedFrame(frame.error().text.c_str());
    logLine(LogLevel::Warning, m_label, "dropping incomplete frames", frame.error().text);
}

V4l2Stream::End V4l2Stream::meaningOf(const Error &error) const
{
    if (error.code == -ENODEV)
        return End::Gone;
    // a DQBUF that sleeps while the camera goes wakes up with EINVAL: ask again
    const Result<V4l2Identity> identity = queryIdentity(m_node);
    return !identity && identity.code() == -ENODEV ? End::Gone : End::Failed;
}

} // namespace korv
