#include "library/api/session.h"

#include "library/base/log.h"

#include <algorithm>
#include <cerrno>
#include <string>

namespace korv {

struct Session::Slot
{
    DeviceMonitor *monitor = nullptr;
    DeviceIdentity identity;
    bool present = true;
    bool taken = false; ///< somebody has the turn
    bool open = false;
    bool streaming = false;
    std::vector<CaptureMode> modes; ///< of the open device, so that questions need not ask it
    int currentMode = 0;

    // touched by the holder of the turn only
    std::unique_ptr<StreamReceiver> receiver;
    std::unique_ptr<CameraDevice> device; // after the receiver, which it borrows
};

/// Tells the session which monitor speaks.
class Session::MonitorLink : public DeviceObserver
{
public:
    MonitorLink(Session &session, std::unique_ptr<DeviceMonitor> monitor)
        : m_session(session)
        , m_monitor(std::move(monitor))
    {
    }

    Result<void> start() { return m_monitor->start(*this); }
    void onArrival(const DeviceIdentity &device) override { m_session.arrived(*m_monitor, device); }
    void onDeparture(const std::string &key) override { m_session.departed(*m_monitor, key); }

private:
    Session &m_session;
    std::unique_ptr<DeviceMonitor> m_monitor;
};

/// The right to change the device at an index; empty when there is no such device. A slot stays in
/// the table while somebody has its turn.
class Session::DeviceLock
{
public:
    enum class Purpose { Use, ShutDown };

    DeviceLock(Session &session, int index, Purpose purpose = Purpose::Use)
        : m_session(session)
        , m_index(index)
    {
        MutexLock lock(session.m_mutex);
        for (;;) {
            m_slot = session.m_ending && purpose == Purpose::Use ? nullptr : session.slotAt(index);
            if (!m_slot || !m_slot->taken)
                break;
            session.m_turnEnded.wait(lock);
        }
        if (m_slot)
            m_slot->taken = true;
    }

    ~DeviceLock()
    {
        if (!m_slot)
            return;
        const MutexLock lock(m_session.m_mutex);
        m_slot->taken = false;
        if (!m_slot->present && !m_slot->open)
            m_session.m_slots[static_cast<std::size_t>(m_index)].reset();
        m_session.m_turnEnded.notifyAll();
    }

    DeviceLock(const DeviceLock &) = delete;
    DeviceLock &operator=(const DeviceLock &) = delete;

    explicit operator bool() const { return m_slot != nullptr; }
    Slot &operator*() const { return *m_slot; }
    Slot *operator->() const { return m_slot; }

private:
    Session &m_session;
    int m_index;
    Slot *m_slot = nullptr;
};

namespace {

std::string sizeText(const std::vector<CaptureMode> &modes, int number)
{
    const auto mode = std::find_if(modes.begin(), modes.end(),
                                   [=](const CaptureMode &each) { return each.number == number; });
    return mode == modes.end() ? "no size"
                               : std::to_string(mode->width) + "x" + std::to_string(mode->height);
}

Error noDevice(int index)
{
    return Error{-ENODEV, "no device " + std::to_string(index)};
}

Error notOpen(int index)
{
    return Error{-ENODEV, "device " + std::to_string(index) + " is not open"};
}

} // namespace

Session::Session(Monitors monitors, StreamReceiver::From from)
    : m_from(from)
{
    for (std::unique_ptr<DeviceMonitor> &monitor : monitors)
        m_links.push_back(std::make_unique<MonitorLink>(*this, std::move(monitor)));
}

Session::~Session()
{
    shutDown();
}

Result<void> Session::start()
{
    for (const std::unique_ptr<MonitorLink> &link : m_links) {
        if (Result<void> started = link->start(); !started)
            return started;
    }
    return {};
}

void Session::shutDown()
{
    std::size_t count = 0;
    {
        const MutexLock lock(m_mutex);
        m_ending = true; // from here on the table does not grow
        count = m_slots.size();
        m_turnEnded.notifyAll();
    }
    // all are told before the first is waited for: each may take its time
    for (std::size_t index = 0; index < count; ++index) {
        const DeviceLock device(*this, static_cast<int>(index), DeviceLock::Purpose::ShutDown);
        if (device && device->open)
            device->device->prepareStop();
    }
    for (std::size_t index = 0; index < count; ++index) {
        const DeviceLock device(*this, static_cast<int>(index), DeviceLock::Purpose::ShutDown);
        if (device && device->open)
            static_cast<void>(closeLocked(*device));
    }
    m_links.clear(); // nobody opens a device any more, so nobody needs the monitors
    m_events.stop();
}

void Session::silence()
{
    m_silent = true;
    m_events.silence();
}

// ---- what the monitors say ----

void Session::arrived(DeviceMonitor &monitor, const DeviceIdentity &identity)
{
    logDebug([&] { return identity.label + ": arrived"; });
    const MutexLock lock(m_mutex);
    if (m_ending)
        return;
    auto slot = std::make_unique<Slot>();
    slot->monitor = &monitor;
    slot->identity = identity;
    const std::size_t index = freeIndex();
    m_slots[index] = std::move(slot);
    m_events.post({DeviceAction::Add, {static_cast<int>(index), identity}});
}

void Session::departed(const DeviceMonitor &monitor, const std::string &key)
{
    const MutexLock lock(m_mutex);
    const auto place = std::find_if(m_slots.begin(), m_slots.end(), [&](const auto &slot) {
        return slot && slot->present && slot->monitor == &monitor && slot->identity.key == key;
    });
    if (place == m_slots.end() || m_ending)
        return;
    Slot &slot = **place;
    slot.present = false;
    m_events.post({DeviceAction::Remove,
                   {static_cast<int>(std::distance(m_slots.begin(), place)), slot.identity}});
    if (!slot.open && !slot.taken)
        place->reset();
}

std::size_t Session::freeIndex()
{
    const auto place = std::find(m_slots.begin(), m_slots.end(), nullptr);
    if (place != m_slots.end())
        return static_cast<std::size_t>(std::distance(m_slots.begin(), place));
    m_slots.emplace_back();
    return m_slots.size() - 1;
}

void Session::setReceiver(EventSender::Receiver receiver)
{
    EventSender::Mark mark = 0;
    {
        // both under one lock: a device that comes now is either in the list or posted after it
        const MutexLock lock(m_mutex);
        std::deque<DeviceEvent> present;
        for (std::size_t index = 0; index < m_slots.size(); ++index) {
            const Slot *slot = m_slots[index].get();
            if (slot && slot->present && !m_ending)
                present.push_back({DeviceAction::Add, {static_cast<int>(index), slot->identity}});
        }
        mark = m_events.setReceiver(m_ending ? nullptr : receiver, std::move(present));
    }
    m_events.waitUntilPast(mark);
}

// ---- questions ----

Session::Slot *Session::slotAt(int index) const
{
    const auto place = static_cast<std::size_t>(index);
    return index >= 0 && place < m_slots.size() ? m_slots[place].get() : nullptr;
}

const Session::Slot *Session::openSlot(int index) const
{
    const Slot *slot = slotAt(index);
    return slot && slot->open && !m_ending ? slot : nullptr;
}

std::vector<IndexedDevice> Session::presentDevices() const
{
    const MutexLock lock(m_mutex);
    std::vector<IndexedDevice> devices;
    for (std::size_t index = 0; index < m_slots.size(); ++index) {
        if (m_slots[index] && m_slots[index]->present)
            devices.push_back({static_cast<int>(index), m_slots[index]->identity});
    }
    return devices;
}

std::vector<IndexedDevice> Session::openDevices() const
{
    const MutexLock lock(m_mutex);
    std::vector<IndexedDevice> devices;
    for (std::size_t index = 0; index < m_slots.size(); ++index) {
        if (m_slots[index] && m_slots[index]->open)
            devices.push_back({static_cast<int>(index), m_slots[index]->identity});
    }
    return devices;
}

Result<std::vector<CaptureMode>> Session::modes(int index) const
{
    const MutexLock lock(m_mutex);
    const Slot *slot = openSlot(index);
    if (!slot)
        return notOpen(index);
    return slot->modes;
}

std::optional<DeviceIdentity> Session::streamingDevice() const
{
    const MutexLock lock(m_mutex);
    std::optional<DeviceIdentity> found;
    for (const std::unique_ptr<Slot> &slot : m_slots) {
        if (!slot || !slot->streaming)
            continue;
        if (found)
            return std::nullopt;
        found = slot->identity;
    }
    return found;
}

Result<int> Session::currentMode(int index) const
{
    const MutexLock lock(m_mutex);
    const Slot *slot = openSlot(index);
    if (!slot)
        return notOpen(index);
    return slot->currentMode;
}

// ---- changes ----

Result<void> Session::open(int index)
{
    const DeviceLock device(*this, index);
    if (!device)
        return noDevice(index);
    if (device->open)
        return Error{-EBUSY, "device " + std::to_string(index) + " is already open"};
    auto opened = device->monitor->open(device->identity.key);
    if (!opened)
        return opened.error();

    device->device = std::move(opened).value();
    logDebug([&] {
        const std::vector<CaptureMode> &modes = device->device->modes();
        return device->identity.label + ": opened as device " + std::to_string(index) + ", "
            + std::to_string(modes.size()) + " resolutions, "
            + sizeText(modes, device->device->currentMode()) + " chosen";
    });
    const MutexLock lock(m_mutex);
    device->modes = device->device->modes();
    device->currentMode = device->device->currentMode();
    device->open = true;
    return {};
}

Result<void> Session::close(int index)
{
    const DeviceLock device(*this, index);
    if (!device)
        return noDevice(index);
    if (!device->open)
        return notOpen(index);
    return closeLocked(*device);
}

Result<void> Session::closeLocked(Slot &slot)
{
    if (slot.streaming)
        static_cast<void>(slot.device->stop()); // the device is destroyed next in any case
    slot.device.reset();
    slot.receiver.reset();
    logDebug([&] { return slot.identity.label + ": closed"; });
    const MutexLock lock(m_mutex);
    slot.open = false;
    slot.streaming = false;
    slot.modes.clear();
    return {};
}

Result<void> Session::selectMode(int index, int number)
{
    const DeviceLock device(*this, index);
    if (!device || !device->open)
        return notOpen(index);
    if (device->streaming)
        return Error{-EBUSY, "the resolution cannot change while the device streams"};
    if (Result<void> selected = device->device->selectMode(number); !selected)
        return selected;
    logDebug([&] {
        return device->identity.label + ": " + sizeText(device->modes, number) + " chosen";
    });
    const MutexLock lock(m_mutex);
    device->currentMode = device->device->currentMode();
    return {};
}

Result<void> Session::startCapture(int index, StreamReceiver::Callback callback)
{
    if (!callback)
        return Error{-EINVAL, "no frame callback"};
    const DeviceLock device(*this, index);
    if (!device || !device->open)
        return notOpen(index);
    if (device->streaming)
        return Error{-EBUSY, "device " + std::to_string(index) + " is already streaming"};
    auto receiver =
        std::make_unique<StreamReceiver>(callback, m_silent, device->identity.label, m_from);
    if (Result<void> started = device->device->start(*receiver); !started)
        return started;
    device->receiver = std::move(receiver);
    const MutexLock lock(m_mutex);
    device->streaming = true;
    return {};
}

Result<void> Session::stopCapture(int index)
{
    const DeviceLock device(*this, index);
    if (!device || !device->open)
        return notOpen(index);
    if (!device->streaming)
        return Error{-EINVAL, "device " + std::to_string(index) + " is not streaming"};
    const Result<void> stopped = device->device->stop();
    device->receiver.reset();
    const MutexLock lock(m_mutex);
    device->streaming = false;
    return stopped;
}

} // namespace korv
