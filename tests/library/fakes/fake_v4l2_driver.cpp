// The driver's side of FakeV4l2: what the backend sees.
#include "tests/library/fakes/fake_v4l2.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/ioctl.h>
#include <thread>

namespace testing_support {
namespace {

bool isReadable(int descriptor)
{
    pollfd source{descriptor, POLLIN, 0};
    return descriptor >= 0 && ::poll(&source, 1, 0) > 0;
}

template <std::size_t size> void setText(std::uint8_t (&field)[size], const std::string &text)
{
    // the kernel cuts to 31 bytes and a NUL
    std::memcpy(field, text.data(), std::min(text.size(), size - 1));
}

} // namespace

int FakeV4l2::hang(Lock &lock, unsigned long request)
{
    if (m_blocked.count(request) == 0)
        return 0;
    ++m_hanging;
    m_released.wait(lock, [&] { return m_blocked.count(request) == 0; });
    --m_hanging;
    return -EIO;
}

int FakeV4l2::open(const std::string &node)
{
    Lock lock(m_mutex);
    ++m_counts[kOpen];
    if (hang(lock, kOpen) < 0)
        return -EIO;
    if (!m_plugged || nodes.count(node) == 0)
        return -ENOENT;
    if (std::deque<int> &next = m_answers[kOpen]; !next.empty()) {
        const int result = next.front();
        next.pop_front();
        if (result < 0)
            return result;
    }
    m_descriptors.insert(++m_nextDescriptor);
    return m_nextDescriptor;
}

void FakeV4l2::close(int descriptor)
{
    const Lock lock(m_mutex);
    m_descriptors.erase(descriptor);
    m_dead.erase(descriptor);
    if (m_bufferOwner == descriptor) {
        streamOff();
        m_bufferOwner = -1;
    }
}

int FakeV4l2::control(int descriptor, unsigned long request, void *argument)
{
    Lock lock(m_mutex);
    ++m_counts[request];
    if (m_descriptors.count(descriptor) == 0)
        return -EBADF;
    if (hang(lock, request) < 0)
        return m_dead.count(descriptor) != 0 ? -ENODEV : -EIO;
    if (std::deque<int> &next = m_answers[request]; !next.empty()) {
        const int result = next.front();
        next.pop_front();
        if (result < 0)
            return result;
    }
    if (m_dead.count(descriptor) != 0)
        return -ENODEV;
    return carryOut(descriptor, request, argument);
}

int FakeV4l2::carryOut(int descriptor, unsigned long request, void *argument)
{
    switch (request) {
    case VIDIOC_QUERYCAP:
        return queryCapabilities(*static_cast<v4l2_capability *>(argument));
    case VIDIOC_ENUM_FMT:
        return enumerateFormats(*static_cast<v4l2_fmtdesc *>(argument));
    case VIDIOC_ENUM_FRAMESIZES:
        return enumerateSizes(*static_cast<v4l2_frmsizeenum *>(argument));
    case VIDIOC_ENUM_FRAMEINTERVALS:
        return enumerateIntervals(*static_cast<v4l2_frmivalenum *>(argument));
    case VIDIOC_S_FMT:
        return setFormat(*static_cast<v4l2_format *>(argument));
    case VIDIOC_S_PARM:
        m_interval = static_cast<v4l2_streamparm *>(argument)->parm.capture.timeperframe;
        return 0;
    case VIDIOC_REQBUFS:
        return requestBuffers(descriptor, *static_cast<v4l2_requestbuffers *>(argument));
    case VIDIOC_QUERYBUF: {
        v4l2_buffer &buffer = *static_cast<v4l2_buffer *>(argument);
        buffer.length = kBufferSize;
        buffer.m.offset = buffer.index * kBufferSize;
        return 0;
    }
    case VIDIOC_QBUF:
        m_queued.push_back(static_cast<v4l2_buffer *>(argument)->index);
        return 0;
    case VIDIOC_DQBUF:
        return dequeue(*static_cast<v4l2_buffer *>(argument));
    case VIDIOC_STREAMON:
        return streamOn();
    case VIDIOC_STREAMOFF:
        streamOff();
        return 0;
    default:
        return controls.ask(request, argument);
    }
}

int FakeV4l2::queryCapabilities(v4l2_capability &answer) const
{
    setText(answer.card, card);
    setText(answer.bus_info, bus);
    // the same for all nodes of a camera
    answer.capabilities =
        V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING | V4L2_CAP_DEVICE_CAPS;
    answer.device_caps = deviceCaps;
    return 0;
}

const FakeFormat *FakeV4l2::formatOf(std::uint32_t pixelFormat) const
{
    const auto found = std::find_if(formats.begin(), formats.end(), [=](const FakeFormat &each) {
        return each.pixelFormat == pixelFormat;
    });
    return found == formats.end() ? nullptr : &*found;
}

int FakeV4l2::enumerateFormats(v4l2_fmtdesc &entry) const
{
    if (entry.index >= formats.size())
        return -EINVAL;
    entry.pixelformat = formats[entry.index].pixelFormat;
    return 0;
}

int FakeV4l2::enumerateSizes(v4l2_frmsizeenum &entry) const
{
    const FakeFormat *format = formatOf(entry.pixel_format);
    if (!format)
        return -EINVAL;
    if (format->range.max_width != 0) {
        if (entry.index != 0)
            return -EINVAL;
        const bool continuous = format->range.step_width <= 1 && format->range.step_height <= 1;
        entry.type = continuous ? V4L2_FRMSIZE_TYPE_CONTINUOUS : V4L2_FRMSIZE_TYPE_STEPWISE;
        entry.stepwise = format->range;
        return 0;
    }
    if (entry.index >= format->sizes.size())
        return -EINVAL;
    entry.type = V4L2_FRMSIZE_TYPE_DISCRETE;
    entry.discrete = {format->sizes[entry.index].width, format->sizes[entry.index].height};
    return 0;
}

int FakeV4l2::enumerateIntervals(v4l2_frmivalenum &entry) const
{
    const FakeFormat *format = formatOf(entry.pixel_format);
    if (!format)
        return -EINVAL;
    for (const FakeSize &size : format->sizes) {
        if (size.width != entry.width || size.height != entry.height)
            continue;
        if (entry.index >= size.intervals.size())
            return -EINVAL;
        entry.type = V4L2_FRMIVAL_TYPE_DISCRETE;
        entry.discrete = {size.intervals[entry.index], 1000};
        return 0;
    }
    return -EINVAL;
}

int FakeV4l2::setFormat(v4l2_format &request)
{
    if (m_held || m_bufferOwner >= 0)
        return -EBUSY;
    v4l2_pix_format &picture = request.fmt.pix;
    if (!formatOf(picture.pixelformat))
        picture.pixelformat = formats.front().pixelFormat;
    if (m_insistedWidth != 0) {
        picture.width = m_insistedWidth;
        picture.height = m_insistedHeight;
    }
    m_format = picture.pixelformat;
    picture.bytesperline = bytesPerLine;
    picture.colorspace = V4L2_COLORSPACE_SRGB;
    return 0;
}

int FakeV4l2::requestBuffers(int descriptor, v4l2_requestbuffers &request)
{
    if (m_held || (m_bufferOwner >= 0 && m_bufferOwner != descriptor))
        return -EBUSY;
    if (request.count == 0)
        streamOff();
    m_bufferOwner = request.count == 0 ? -1 : descriptor;
    if (request.count != 0)
        request.count = std::max(request.count, leastBuffers);
    m_bufferCount = request.count;
    return 0;
}

bool FakeV4l2::hasPicture() const
{
    return m_streaming && !m_queued.empty()
        && (!m_coming.empty() || (!m_scripted && !m_otherwise.empty()));
}

int FakeV4l2::dequeue(v4l2_buffer &buffer)
{
    if (!m_streaming)
        return -EINVAL;
    if (!hasPicture())
        return -EAGAIN;
    Delivery next{Delivery::Kind::Picture, m_otherwise};
    if (!m_coming.empty()) {
        next = std::move(m_coming.front());
        m_coming.pop_front();
    }
    if (next.kind == Delivery::Kind::Unplug) {
        m_plugged = false;
        m_dead = m_descriptors;
        m_streaming = false;
        return -ENODEV;
    }
    buffer.index = m_queued.front();
    m_queued.pop_front();
    const bool damaged = next.kind == Delivery::Kind::Damaged;
    buffer.flags = V4L2_BUF_FLAG_MAPPED | (damaged ? V4L2_BUF_FLAG_ERROR : 0U);
    buffer.bytesused = static_cast<std::uint32_t>(next.bytes.size());
    std::vector<std::uint8_t> &memory =
        m_memory[static_cast<std::int64_t>(buffer.index * kBufferSize)];
    memory.resize(kBufferSize);
    std::copy(next.bytes.begin(), next.bytes.end(), memory.begin());
    return 0;
}

int FakeV4l2::streamOn()
{
    if (m_bufferOwner < 0)
        return -EINVAL;
    m_streaming = true;
    m_coming.clear();
    m_scripted = !m_scripts.empty();
    if (m_scripted) {
        m_coming.assign(m_scripts.front().begin(), m_scripts.front().end());
        m_scripts.pop_front();
    }
    return 0;
}

void FakeV4l2::streamOff()
{
    m_streaming = false;
    m_queued.clear();
}

void *FakeV4l2::map(int, std::size_t length, std::int64_t offset)
{
    const Lock lock(m_mutex);
    std::vector<std::uint8_t> &memory = m_memory[offset];
    memory.resize(length);
    m_mapped.insert(memory.data());
    return memory.data();
}

void FakeV4l2::unmap(void *start, std::size_t)
{
    const Lock lock(m_mutex);
    m_mapped.erase(start);
}

short FakeV4l2::readiness(short events) const
{
    if ((events & POLLIN) == 0)
        return 0;
    if (!m_streaming)
        return POLLERR;
    return hasPicture() ? POLLIN : 0;
}

FakeV4l2::Wakeup FakeV4l2::wait(int descriptor, short events, int caller,
                                std::chrono::milliseconds timeout)
{
    for (;;) {
        bool really = false;
        {
            const Lock lock(m_mutex);
            m_news.clear();
            if (isReadable(caller))
                return {0, 0, true};
            if (descriptor >= 0 && m_dead.count(descriptor) != 0)
                return {0, POLLPRI | POLLERR | POLLHUP, false};
            if (const short ready = descriptor >= 0 ? readiness(events) : short{0}; ready != 0) {
                m_now += std::chrono::milliseconds(1);
                really = m_coming.empty() && (ready & POLLIN) != 0;
                if (!really)
                    return {0, ready, false};
            } else if (timeout.count() >= 0 && !m_timeStands) {
                m_now += timeout;
                return {};
            }
        }
        if (really) {
            // what comes for ever comes a thousand times a second
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            return {0, POLLIN, false};
        }
        std::array<pollfd, 2> sources{{{m_news.fd(), POLLIN, 0}, {caller, POLLIN, 0}}};
        ::poll(sources.data(), sources.size(), -1);
    }
}

FakeV4l2::Clock::time_point FakeV4l2::now() const
{
    const Lock lock(m_mutex);
    return m_now;
}

} // namespace testing_support
