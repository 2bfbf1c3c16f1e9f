#include "library/device/udev/udev_nodes.h"

#include "library/base/log.h"
#include "library/base/shortage.h"
#include "library/device/device_name.h"
#include "library/device/udev/node_rights.h"
#include "library/device/v4l2/v4l2_modes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace korv {

UdevNodes::UdevNodes(std::shared_ptr<V4l2Calls> calls, Arrival arrival, Departure departure,
                     Preparation preparation)
    : m_calls(std::move(calls))
    , m_arrival(std::move(arrival))
    , m_departure(std::move(departure))
    , m_preparation(std::move(preparation))
{
}

// ---- what udev says ----

void UdevNodes::appeared(const VideoNode &node, TimePoint now)
{
    add(node, now, now, Appearance::PluggedIn);
}

void UdevNodes::wasThere(const VideoNode &node, TimePoint now)
{
    add(node, now - kRightsTime, now, Appearance::Found);
}

void UdevNodes::add(const VideoNode &node, TimePoint firstSeen, TimePoint now,
                    Appearance appearance)
{
    const auto known = m_entries.find(node.path);
    if (known != m_entries.end() && known->second.node.usbAddress == node.usbAddress) {
        // seen by the enumeration and by an event, or it changed
        Entry &entry = known->second;
        if (entry.state == State::NoCamera)
            entry.firstSeen = firstSeen;
        if (entry.state == State::NoCamera || entry.state == State::Waiting) {
            entry.node = node;
            entry.state = State::Waiting;
            lookAt(entry, now);
        }
        return;
    }
    // another camera on the same port: the earlier one's departure may still be on its way
    std::vector<std::string> replaced;
    for (const auto &[path, entry] : m_entries) {
        const bool samePort = !node.usbPath.empty() && entry.node.usbPath == node.usbPath
            && entry.node.usbAddress != node.usbAddress;
        if (path == node.path || samePort)
            replaced.push_back(path);
    }
    for (const std::string &path : replaced)
        vanished(path);

    Entry &entry = m_entries[node.path];
    entry.node = node;
    entry.firstSeen = firstSeen;
    entry.appearance = appearance;
    lookAt(entry, now);
}

void UdevNodes::vanished(const std::string &path)
{
    const auto found = m_entries.find(path);
    if (found == m_entries.end())
        return;
    depart(found->second);
    m_entries.erase(found);
}

void UdevNodes::reconcile(const std::vector<VideoNode> &present, TimePoint now)
{
    std::vector<std::string> missing;
    for (const auto &[path, entry] : m_entries) {
        const auto isThis = [&known = path](const VideoNode &node) { return node.path == known; };
        if (std::none_of(present.begin(), present.end(), isThis))
            missing.push_back(path);
    }
    for (const std::string &path : missing)
        vanished(path);
    for (const VideoNode &node : present)
        appeared(node, now);
}

// ---- what an open camera says ----

void UdevNodes::updateFrom(const std::string &key, V4l2Exit fate, TimePoint now)
{
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&](const auto &each) {
        return each.second.state == State::Arrived && each.second.key == key;
    });
    if (found == m_entries.end())
        return;
    Entry &entry = found->second;
    depart(entry);
    entry.firstSeen = now;
    entry.appearance = Appearance::Found; // it may have been plugged in long ago
    if (fate == V4l2Exit::Lost)
        lookAt(entry, now);
    else
        entry.nextLook = now + kLookForReturn; // its node should vanish before that
}

// ---- looking ----

std::optional<UdevNodes::TimePoint> UdevNodes::nextLook() const
{
    std::optional<TimePoint> next;
    for (const auto &[path, entry] : m_entries) {
        if (entry.nextLook && (!next || *entry.nextLook < *next))
            next = entry.nextLook;
    }
    return next;
}

void UdevNodes::lookAgain(TimePoint now)
{
    for (auto &[path, entry] : m_entries) {
        if (entry.nextLook && *entry.nextLook <= now)
            lookAt(entry, now);
    }
}

UdevNodes::Look UdevNodes::look(const Entry &entry) const
{
    const int descriptor = m_calls->open(entry.node.node);
    if (descriptor == -EACCES || descriptor == -EPERM)
        return {Finding::NoRights, {}, 0};
    if (descriptor == -ENOENT || descriptor == -ENODEV || descriptor == -ENXIO)
        return {Finding::Gone, {}, 0};
    if (descriptor < 0)
        return {isShortage(descriptor) ? Finding::Shortage : Finding::Unusable, {}, descriptor};
    const V4l2Node opened(m_calls, descriptor);
    const auto meaningOf = [](int error, Finding otherwise) {
        return error == -ENODEV ? Finding::Gone
                                : (isShortage(error) ? Finding::Shortage : otherwise);
    };
    const Result<V4l2Identity> identity = queryIdentity(opened);
    if (!identity)
        return {meaningOf(identity.code(), Finding::NoCamera), {}, identity.code()};
    const std::string &card = identity.value().card;
    if (!identity.value().capturesVideo())
        return {Finding::NoCamera, card, 0};
    const Result<std::vector<V4l2Mode>> modes = listModes(opened);
    if (!modes)
        return {meaningOf(modes.code(), Finding::Gone), card, modes.code()};
    if (modes.value().empty())
        return {Finding::NoCamera, card, 0};
    if (m_preparation)
        m_preparation(opened, entry.node, entry.appearance);
    return {Finding::Camera, card, 0};
}

void UdevNodes::lookAt(Entry &entry, TimePoint now)
{
    const bool departed = entry.state == State::Departed;
    entry.nextLook.reset();
    const Look seen = look(entry);
    switch (seen.finding) {
    case Finding::Camera:
        return arrive(entry, seen.card);
    case Finding::NoCamera:
        entry.state = State::NoCamera;
        return;
    case Finding::Gone:
        // the event that says so is on its way; a camera that was here may also come back
        if (departed)
            entry.nextLook = now + kLookForReturn;
        return;
    case Finding::Shortage:
        entry.nextLook = now + kShortageTime;
        if (!std::exchange(entry.shortageLogged, true))
            logLine(LogLevel::Warning, nodeLabel(entry.node.node, entry.node.product),
                    std::strerror(-seen.error) + std::string("; trying again"));
        return;
    case Finding::NoRights:
    case Finding::Unusable:
        break;
    }
    if (!entry.node.saidToCapture) {
        entry.state = State::NoCamera;
    } else if (now - entry.firstSeen < kRightsTime) {
        entry.nextLook = now + kLookAgain;
    } else {
        logLine(LogLevel::Warning, nodeLabel(entry.node.node, entry.node.product),
                whyNotToOpen(entry.node.node));
        arrive(entry, seen.card);
    }
}

void UdevNodes::arrive(Entry &entry, const std::string &card)
{
    entry.key = entry.node.path + "#" + std::to_string(++m_arrivals);
    entry.state = State::Arrived;
    const std::string &name = entry.node.product.empty() ? card : entry.node.product;
    {
        const MutexLock lock(m_mutex);
        m_places[entry.key] = {entry.node.node, std::make_shared<NodeLease>(), name};
    }
    entry.shortageLogged = false;
    const std::string &serial = entry.node.serial;
    m_arrival({entry.key, usableDeviceName(name), entry.node.vid, entry.node.pid, entry.node.node,
               serial.empty() ? serial : usableDeviceName(serial),
               nodeLabel(entry.node.node, name)});
}

void UdevNodes::depart(Entry &entry)
{
    if (entry.state != State::Arrived)
        return;
    entry.state = State::Departed;
    {
        const MutexLock lock(m_mutex);
        m_places.erase(entry.key);
    }
    m_departure(entry.key);
}

std::optional<UdevNodes::Place> UdevNodes::find(const std::string &key) const
{
    const MutexLock lock(m_mutex);
    const auto found = m_places.find(key);
    if (found == m_places.end())
        return std::nullopt;
    return found->second;
}

} // namespace korv
