#include "cli/serve/scanstream.h"

#include "cli/base/translation.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace cli {
namespace {

/// How often a camera that is silent is looked for. An unplugged one sends nothing, not even an end.
constexpr std::chrono::milliseconds kLookEvery{100};

/// The number of the largest mode; nothing when the camera names none.
std::optional<int> largestMode(const OpenDevice &camera)
{
    const std::vector<_tag_unit_cam_res_unit> modes = camera.modes();
    const auto largest = std::max_element(
        modes.begin(), modes.end(), [](auto &one, auto &other) { return one.res_w < other.res_w; });
    return largest == modes.end() ? std::nullopt : std::optional(largest->res_no);
}

} // namespace

ScanOutcome refusal(int result, const std::string &doing)
{
    return {nullptr, result == -EBUSY, tr("cannot %1: %2", doing, std::strerror(-result))};
}

ScanStream::ScanStream(LibrarySession &session, const Device &device)
    : m_session(session)
    , m_index(device.index)
    , m_receiver(session.wakeup())
    , m_camera(session.library(), device.index)
    , m_problem(start(device))
{
}

bool ScanStream::isPluggedIn() const
{
    // one that comes back has another index as long as this one is open
    const std::vector<Device> present = m_session.presentDevices();
    return std::any_of(present.begin(), present.end(),
                       [this](const Device &device) { return device.index == m_index; });
}

std::string ScanStream::await(unsigned long seen, Wakeup::Clock::time_point deadline)
{
    const auto look = std::min(deadline, Wakeup::Clock::now() + kLookEvery);
    if (m_session.wakeup().wait(look) == Wake::Interrupted)
        return tr("the scanner was stopped");
    if (m_receiver.count() != seen)
        return {};
    if (!isPluggedIn())
        return tr("the camera was unplugged");
    return Wakeup::Clock::now() < deadline ? std::string() : tr("the camera sent no picture");
}

ScanOutcome ScanStream::start(const Device &device) const
{
    if (m_camera.result() < 0)
        return refusal(m_camera.result(), tr("open %1", device.name));
    if (const std::optional<int> mode = largestMode(m_camera)) {
        const int result = m_session.library().SetCurResolutionNo(device.index, *mode);
        if (result < 0)
            return refusal(result, tr("select the largest picture"));
    }
    const int result = m_session.library().StartCapture(device.index, &FrameReceiver::onFrame);
    return result < 0 ? refusal(result, tr("start %1", device.name)) : ScanOutcome();
}

} // namespace cli
