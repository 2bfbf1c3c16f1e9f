#include "tests/library/fakes/fake_v4l2.h"

namespace testing_support {

FakeV4l2::FakeV4l2()
    : m_news(korv::EventFd::create().value())
{
}

// ---- set by the test ----

void FakeV4l2::script(std::vector<Delivery> deliveries)
{
    const Lock lock(m_mutex);
    m_scripts.push_back(std::move(deliveries));
}

void FakeV4l2::otherwise(korv::Bytes picture)
{
    const Lock lock(m_mutex);
    m_otherwise = std::move(picture);
    m_news.set();
}

void FakeV4l2::answer(unsigned long request, std::vector<int> results)
{
    const Lock lock(m_mutex);
    m_answers[request].assign(results.begin(), results.end());
}

void FakeV4l2::block(unsigned long request)
{
    const Lock lock(m_mutex);
    m_blocked.insert(request);
}

void FakeV4l2::release()
{
    const Lock lock(m_mutex);
    m_blocked.clear();
    m_released.notify_all();
}

void FakeV4l2::unplug()
{
    const Lock lock(m_mutex);
    m_plugged = false;
    m_dead = m_descriptors;
    m_streaming = false;
    m_bufferOwner = -1;
    m_news.set();
}

void FakeV4l2::plug()
{
    const Lock lock(m_mutex);
    m_plugged = true;
}

void FakeV4l2::moveTo(const std::string &otherBus)
{
    const Lock lock(m_mutex);
    bus = otherBus;
}

void FakeV4l2::holdByOther(bool held)
{
    const Lock lock(m_mutex);
    m_held = held;
}

void FakeV4l2::insistOn(std::uint32_t width, std::uint32_t height)
{
    const Lock lock(m_mutex);
    m_insistedWidth = width;
    m_insistedHeight = height;
}

void FakeV4l2::letTimeStand()
{
    const Lock lock(m_mutex);
    m_timeStands = true;
}

void FakeV4l2::letTimeRun()
{
    const Lock lock(m_mutex);
    m_timeStands = false;
    m_news.set();
}

void FakeV4l2::deliverNow(const std::vector<korv::Bytes> &pictures)
{
    const Lock lock(m_mutex);
    for (const korv::Bytes &picture : pictures)
        m_coming.push_back({Delivery::Kind::Picture, picture});
    m_news.set();
}

// ---- asked by the test ----

int FakeV4l2::openDescriptors() const
{
    const Lock lock(m_mutex);
    return static_cast<int>(m_descriptors.size());
}

int FakeV4l2::mappings() const
{
    const Lock lock(m_mutex);
    return static_cast<int>(m_mapped.size());
}

int FakeV4l2::count(unsigned long request) const
{
    const Lock lock(m_mutex);
    const auto found = m_counts.find(request);
    return found == m_counts.end() ? 0 : found->second;
}

bool FakeV4l2::isBlocking() const
{
    const Lock lock(m_mutex);
    return m_hanging > 0;
}

bool FakeV4l2::isStreaming() const
{
    const Lock lock(m_mutex);
    return m_streaming;
}

v4l2_fract FakeV4l2::intervalSet() const
{
    const Lock lock(m_mutex);
    return m_interval;
}

std::vector<std::string> FakeV4l2::controlsSet() const
{
    const Lock lock(m_mutex);
    return controls.writes;
}

std::uint32_t FakeV4l2::formatSet() const
{
    const Lock lock(m_mutex);
    return m_format;
}

} // namespace testing_support
