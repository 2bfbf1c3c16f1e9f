#include "library/device/simulated/simulated_device.h"

#include "library/device/simulated/page_frames.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>

namespace korv {
namespace {

const std::vector<CaptureMode> kUsualModes{
    {0, 3264, 2448}, {1, 2592, 1944}, {2, 1920, 1080},
    {3, 1600, 1200}, {4, 1280, 720},  {5, 640, 480},
};

/// Of the mode that is as large as the largest page; the others keep theirs with or without it.
constexpr int kPageModeNumber = 6;

/// More would take a frame longer to make and to look at than it is worth.
constexpr std::int64_t kMaxFramePixels = 50'000'000;

std::int64_t pixels(int width, int height)
{
    return std::int64_t{width} * height;
}

std::vector<CaptureMode> modesFor(PageSource::Size page)
{
    std::vector<CaptureMode> modes = kUsualModes;
    const std::int64_t size = pixels(page.width, page.height);
    if (size > pixels(modes.front().width, modes.front().height) && size <= kMaxFramePixels
        && isSupportedSize(page.width, page.height))
        modes.insert(modes.begin(), {kPageModeNumber, page.width, page.height});
    return modes;
}

} // namespace

SimulatedDevice::SimulatedDevice(std::shared_ptr<const Plug> plug,
                                 std::unique_ptr<PageSource> pages)
    : m_plug(std::move(plug))
    , m_pages(std::move(pages))
    , m_scene([source = m_pages.get()](int width, int height) {
        return std::make_unique<PageFrames>(*source, width, height);
    })
    , m_modes(modesFor(m_pages->largestPage()))
    , m_current(kUsualModes.front())
{
}

SimulatedDevice::SimulatedDevice(std::shared_ptr<const Plug> plug, Scene scene)
    : m_plug(std::move(plug))
    , m_scene(std::move(scene))
    , m_modes(kUsualModes)
    , m_current(kUsualModes.front())
{
}

Result<void> SimulatedDevice::selectMode(int number)
{
    if (m_stream)
        return Error{-EBUSY, "the camera is streaming"};
    const auto mode = std::find_if(m_modes.begin(), m_modes.end(),
                                   [=](const CaptureMode &each) { return each.number == number; });
    if (mode == m_modes.end())
        return Error{-EINVAL, "no resolution has number " + std::to_string(number)};
    m_current = *mode;
    return {};
}

Result<void> SimulatedDevice::start(FrameSink &sink)
{
    if (m_stream)
        return Error{-EBUSY, "the camera is streaming already"};
    if (m_plug->isPulled())
        return Error{-ENODEV, "the camera is gone"};
    m_stream = std::make_unique<SimulatedStream>(m_scene(m_current.width, m_current.height), m_plug,
                                                 m_current, sink);
    return {};
}

Result<void> SimulatedDevice::stop()
{
    if (!m_stream)
        return Error{-EINVAL, "the camera is not streaming"};
    m_stream.reset();
    return {};
}

} // namespace korv
