#include "library/device/udev_source.h"

#include "library/base/held_descriptors.h"
#include "library/base/log.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace korv {
namespace {

using Device = Handle<udev_device, udev_device_unref>;
using Enumeration = Handle<udev_enumerate, udev_enumerate_unref>;

constexpr char kSubsystem[] = "video4linux";

/// Enough for the events of many cameras while a slow one is looked at.
constexpr int kReceiveBuffer = 1 << 20;

std::string textOf(const char *text)
{
    return text ? text : "";
}

/// Hexadecimal, as udev and sysfs give ids.
int idOf(const char *property, const char *attribute)
{
    const char *text = property ? property : attribute;
    return text ? static_cast<int>(std::strtol(text, nullptr, 16) & 0xFFFF) : 0;
}

/// udev's ID_MODEL_ENC: characters that are special to a shell as \x20.
std::string decoded(const std::string &text)
{
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text.compare(at, 2, "\\x") == 0 && at + 3 < text.size()) {
            plain += static_cast<char>(std::strtol(text.substr(at + 2, 2).c_str(), nullptr, 16));
            at += 3;
        } else {
            plain += text[at];
        }
    }
    return plain;
}

VideoNode nodeOf(udev_device *device)
{
    VideoNode node;
    node.path = textOf(udev_device_get_syspath(device));
    node.node = textOf(udev_device_get_devnode(device));
    const char *capabilities = udev_device_get_property_value(device, "ID_V4L_CAPABILITIES");
    const char *index = udev_device_get_sysattr_value(device, "index");
    // without udev's word for it: the first node of a camera is the one with the pictures
    node.saidToCapture = capabilities ? std::strstr(capabilities, ":capture:") != nullptr
                                      : index && std::strcmp(index, "0") == 0;
    // the parent belongs to the device
    udev_device *usb = udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device");
    if (!usb)
        return node;
    node.usbPath = textOf(udev_device_get_syspath(usb));
    node.usbAddress = textOf(udev_device_get_sysattr_value(usb, "busnum")) + ":"
        + textOf(udev_device_get_sysattr_value(usb, "devnum"));
    node.product = textOf(udev_device_get_sysattr_value(usb, "product"));
    if (node.product.empty())
        node.product = decoded(textOf(udev_device_get_property_value(device, "ID_MODEL_ENC")));
    node.vid = idOf(udev_device_get_property_value(device, "ID_VENDOR_ID"),
                    udev_device_get_sysattr_value(usb, "idVendor"));
    node.pid = idOf(udev_device_get_property_value(device, "ID_MODEL_ID"),
                    udev_device_get_sysattr_value(usb, "idProduct"));
    return node;
}

/// Radio, teletext and sub-devices are in the subsystem too.
bool isVideo(udev_device *device)
{
    const char *name = udev_device_get_sysname(device);
    return name && std::strncmp(name, "video", 5) == 0 && udev_device_get_devnode(device);
}

long numberOf(const VideoNode &node)
{
    const std::size_t digits = node.node.find_last_not_of("0123456789") + 1;
    return std::strtol(node.node.c_str() + digits, nullptr, 10);
}

} // namespace

UdevSource::UdevSource()
    : m_daemonRuns(::access("/run/udev/control", F_OK) == 0)
    , m_context(udev_new())
{
    if (!m_context) {
        logLine("libudev cannot be used; real cameras are not looked for");
        return;
    }
    const HeldDescriptors held;
    // udevd announces a node when its rights are set; the kernel when there is no udevd
    m_monitor.reset(
        udev_monitor_new_from_netlink(m_context.get(), m_daemonRuns ? "udev" : "kernel"));
    if (m_monitor) {
        udev_monitor_filter_add_match_subsystem_devtype(m_monitor.get(), kSubsystem, nullptr);
        // refused without privileges; the default holds some hundred events
        udev_monitor_set_receive_buffer_size(m_monitor.get(), kReceiveBuffer);
    }
    if (!m_monitor || udev_monitor_enable_receiving(m_monitor.get()) < 0) {
        logLine("cameras plugged in from now on will not be seen: no device events");
        m_monitor.reset();
    }
}

int UdevSource::descriptor() const
{
    return m_monitor ? udev_monitor_get_fd(m_monitor.get()) : -1;
}

std::vector<VideoNode> UdevSource::list() const
{
    std::vector<VideoNode> nodes;
    if (!m_context)
        return nodes;
    const Enumeration enumeration(udev_enumerate_new(m_context.get()));
    if (!enumeration || udev_enumerate_add_match_subsystem(enumeration.get(), kSubsystem) < 0
        || udev_enumerate_scan_devices(enumeration.get()) < 0)
        return nodes;
    udev_list_entry *entry = udev_enumerate_get_list_entry(enumeration.get());
    for (; entry; entry = udev_list_entry_get_next(entry)) {
        const Device device(
            udev_device_new_from_syspath(m_context.get(), udev_list_entry_get_name(entry)));
        if (!device || !isVideo(device.get()))
            continue;
        // one that udevd has not finished with will be announced by an event
        if (!m_daemonRuns || udev_device_get_is_initialized(device.get()) > 0)
            nodes.push_back(nodeOf(device.get()));
    }
    std::sort(nodes.begin(), nodes.end(), [](const VideoNode &one, const VideoNode &other) {
        return numberOf(one) < numberOf(other);
    });
    return nodes;
}

std::optional<VideoEvent> UdevSource::next()
{
    while (m_monitor) {
        errno = 0;
        const Device device(udev_monitor_receive_device(m_monitor.get()));
        if (!device) {
            m_lostEvents = m_lostEvents || errno == ENOBUFS;
            return std::nullopt;
        }
        const std::string action = textOf(udev_device_get_action(device.get()));
        if (isVideo(device.get()) && (action == "add" || action == "change" || action == "remove"))
            return VideoEvent{action != "remove", nodeOf(device.get())};
    }
    return std::nullopt;
}

} // namespace korv
