#pragma once

#include "library/controls/control_restorer.h"
#include "library/device/device_monitor.h"
#include "library/device/v4l2/v4l2_work.h"
#include "library/threads/mutex.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korv {

/// A video node as udev and sysfs describe it.
struct VideoNode
{
    std::string path; ///< in sysfs; never that of two nodes at a time
    std::string node; ///< /dev/video0; a name that another camera may get later
    std::string usbPath; ///< of the USB device: the port; empty when it is none
    std::string usbAddress; ///< bus and device number: another one at each plug
    std::string product; ///< UTF-8, in full length; may be empty
    std::string serial; ///< of the USB device; may be empty
    int vid = 0;
    int pid = 0;
    bool saidToCapture = false; ///< what udev found out, for when we may not ask
};

/// Which of the nodes that come and go are cameras, and what has been said about them: exactly one
/// arrival and one departure each, in order. A camera without rights is given a moment to get them:
/// they are set after the node appears. One that cannot be looked at because descriptors or memory
/// are short is looked at again until it can.
///
/// Thread: the monitor's, except for find().
class UdevNodes
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Arrival = std::function<void(const DeviceIdentity &)>;
    using Departure = std::function<void(const std::string &key)>;
    /// What is done to a camera before it arrives; it is open meanwhile.
    using Preparation = std::function<void(const V4l2Node &, const VideoNode &, Appearance)>;

    static constexpr std::chrono::milliseconds kRightsTime{3000};
    static constexpr std::chrono::milliseconds kLookAgain{200};
    static constexpr std::chrono::milliseconds kShortageTime{1000};
    static constexpr std::chrono::milliseconds kLookForReturn{2000};

    UdevNodes(std::shared_ptr<V4l2Calls> calls, Arrival arrival, Departure departure,
              Preparation preparation = {});

    /// Also called for a node that changed: it may have become a camera, or its rights may differ.
    void appeared(const VideoNode &node, TimePoint now);
    /// A node that existed before the monitor started: its rights are final, so nobody waits for them.
    void wasThere(const VideoNode &node, TimePoint now);
    void vanished(const std::string &path);
    /// All nodes there are: after events were lost.
    void reconcile(const std::vector<VideoNode> &present, TimePoint now);
    /// What an open camera found out about itself. Lost: it leaves and arrives again.
    void updateFrom(const std::string &key, V4l2Exit fate, TimePoint now);
    /// Looks again at what was not ready.
    void lookAgain(TimePoint now);
    /// When to call lookAgain(); nothing: no need.
    std::optional<TimePoint> nextLook() const;

    /// Where a camera that has arrived is, for opening it. Any thread.
    struct Place
    {
        std::string node;
        std::shared_ptr<NodeLease> turn;
        std::string model;
    };
    std::optional<Place> find(const std::string &key) const;

private:
    enum class State {
        Waiting, ///< not to be opened yet
        Arrived,
        Departed, ///< gone although its node is still there
        NoCamera,
    };
    struct Entry
    {
        VideoNode node;
        State state = State::Waiting;
        std::string key; ///< of the arrival
        TimePoint firstSeen;
        Appearance appearance = Appearance::PluggedIn;
        std::optional<TimePoint> nextLook;
        bool shortageLogged = false;
    };
    enum class Finding { Camera, NoCamera, NoRights, Unusable, Shortage, Gone };
    /// What a look at a node brought.
    struct Look
    {
        Finding finding = Finding::Unusable;
        std::string card; ///< what the driver calls the camera
        int error = 0; ///< negative errno of a shortage
    };

    void add(const VideoNode &node, TimePoint firstSeen, TimePoint now, Appearance appearance);
    Look look(const Entry &entry) const;
    void lookAt(Entry &entry, TimePoint now);
    void arrive(Entry &entry, const std::string &card);
    void depart(Entry &entry);

    const std::shared_ptr<V4l2Calls> m_calls;
    const Arrival m_arrival;
    const Departure m_departure;
    const Preparation m_preparation; ///< may be empty
    std::map<std::string, Entry> m_entries; // by path
    unsigned m_arrivals = 0;

    mutable Mutex m_mutex;
    std::map<std::string, Place> m_places GUARDED_BY(m_mutex); // by key
};

} // namespace korv
