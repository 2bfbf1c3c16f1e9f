#include "cli/session/framereceiver.h"

#include <algorithm>
#include <atomic>

namespace cli {
namespace {

std::atomic<FrameReceiver *> activeReceiver{nullptr};

} // namespace

FrameReceiver::FrameReceiver(Wakeup &wakeup)
    : m_wakeup(wakeup)
{
    activeReceiver = this;
}

FrameReceiver::~FrameReceiver()
{
    activeReceiver = nullptr;
}

int FrameReceiver::onFrame(void *data, int size, int width, int height)
{
    if (FrameReceiver *const receiver = activeReceiver; receiver && data && size > 0)
        receiver->keep(static_cast<const unsigned char *>(data), size, width, height);
    return 0;
}

void FrameReceiver::keep(const unsigned char *data, int size, int width, int height)
{
    {
        const MutexLock lock(m_mutex);
        m_newest.jpeg.assign(data, data + size);
        m_newest.width = width;
        m_newest.height = height;
        ++m_newest.number;
        if (m_notesArrivals)
            m_arrivals.push_back(Wakeup::Clock::now());
    }
    m_wakeup.notify();
}

void FrameReceiver::noteArrivals()
{
    const MutexLock lock(m_mutex);
    m_notesArrivals = true;
    m_arrivals.clear();
}

std::vector<Wakeup::Clock::time_point> FrameReceiver::arrivals() const
{
    const MutexLock lock(m_mutex);
    return m_arrivals;
}

bool FrameReceiver::takeBare(ReceivedFrame &frame)
{
    const MutexLock lock(m_mutex);
    if (frame.number == m_newest.number)
        return false;
    frame = m_newest;
    return true;
}

Wake FrameReceiver::await(ReceivedFrame &frame, Wakeup::Clock::time_point deadline)
{
    while (!take(frame)) {
        if (const Wake wake = m_wakeup.wait(deadline); wake != Wake::Notified)
            return wake;
    }
    return Wake::Notified;
}

unsigned long FrameReceiver::count() const
{
    const MutexLock lock(m_mutex);
    return m_newest.number;
}

void FrameReceiver::makeRoom(ReceivedFrame &frame)
{
    // the library looks for the end of the JPEG within that many bytes
    const std::size_t room = static_cast<std::size_t>(std::max(0, frame.width))
        * static_cast<std::size_t>(std::max(0, frame.height)) * 3;
    frame.jpeg.resize(std::max(frame.jpeg.size(), room));
}

bool FrameReceiver::take(ReceivedFrame &frame)
{
    const bool isNew = takeBare(frame);
    if (isNew)
        makeRoom(frame);
    return isNew;
}

} // namespace cli
