#pragma once

#include "library/api/event_sender.h"
#include "library/api/stream_receiver.h"
#include "library/base/result.h"
#include "library/device/device_monitor.h"
#include "library/threads/mutex.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korv {

/// The time between Init and UnInit: the monitors, the devices they found, their streams.
///
/// A device's place in the table is its index. It is taken from arrival to departure and, when the
/// device is open as it departs, until it is closed.
///
///     absent --arrival--> closed --open--> open --startCapture--> streaming
///                           ^                |  <---stopCapture---    |
///                           +----close-------+-----------close--------+
///
/// Calls that change one device take turns; a turn is a mark in the table, no mutex is held while a
/// device, a monitor or the application is called. Questions never wait for a turn, so they may be
/// asked from inside a frame callback while another thread waits for that callback to end.
class Session
{
public:
    using Monitors = std::vector<std::unique_ptr<DeviceMonitor>>;

    /// Throws std::system_error or std::bad_alloc when no thread or memory is available.
    /// `from`: which frames of each stream are handed on.
    explicit Session(Monitors monitors, StreamReceiver::From from = StreamReceiver::From::First);
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    /// Starts the monitors; the first error ends it, and the session is to be thrown away.
    Result<void> start();

    /// Closes every device and ends every thread. Calls that come later, or were waiting, find no
    /// device. Not from a callback.
    void shutDown();

    /// No callback begins afterwards; nobody is waited for. For a process that ends from inside a
    /// callback.
    void silence();

    std::vector<IndexedDevice> presentDevices() const;
    std::vector<IndexedDevice> openDevices() const;

    Result<void> open(int index);
    Result<void> close(int index);
    Result<std::vector<CaptureMode>> modes(int index) const;
    Result<int> currentMode(int index) const;
    /// The one device that streams; nothing when none does, or several.
    std::optional<DeviceIdentity> streamingDevice() const;
    Result<void> selectMode(int index, int number);
    Result<void> startCapture(int index, StreamReceiver::Callback callback);
    Result<void> stopCapture(int index);

    /// See the contract. Waits for a call to the earlier receiver unless it is made from one.
    void setReceiver(EventSender::Receiver receiver);

private:
    class MonitorLink;
    class DeviceLock;
    struct Slot;

    void arrived(DeviceMonitor &monitor, const DeviceIdentity &identity);
    void departed(const DeviceMonitor &monitor, const std::string &key);
    std::size_t freeIndex() REQUIRES(m_mutex);
    const Slot *openSlot(int index) const REQUIRES(m_mutex);
    Slot *slotAt(int index) const REQUIRES(m_mutex);
    Result<void> closeLocked(Slot &slot);

    /// Also held to change the plain members of a slot; who has the turn may read them without.
    mutable Mutex m_mutex;
    Condition m_turnEnded;
    /// By index; null where the index is free.
    std::vector<std::unique_ptr<Slot>> m_slots GUARDED_BY(m_mutex);
    bool m_ending GUARDED_BY(m_mutex) = false;
    std::atomic<bool> m_silent{false}; // no frame goes to the application any more

    EventSender m_events;
    const StreamReceiver::From m_from;
    std::vector<std::unique_ptr<MonitorLink>> m_links; // changed by start() and shutDown() only
};

} // namespace korv
