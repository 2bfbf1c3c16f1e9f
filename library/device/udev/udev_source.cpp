#include "library/device/udev/udev_source.h"

#include "library/base/held_descriptors.h"
#include "library/base/log.h"
#include "library/base/shortage.h"

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

/// Notices when libudev had no descriptor or memory for one of the questions asked meanwhile. It
/// answers those like questions after something that does not exist.
class ShortageWatch
{
public:
    /// Of an answer that is null on failure.
    template <typename Answer> Answer *seen(Answer *answer)
    {
        if (!answer && isShortage(-errno))
            m_error = -errno;
        errno = 0;
        return answer;
    }
    int error() const { return m_error; }

private:
    int m_error = 0;
};

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

/// The USB device that a node belongs to, if any. It lives as long as the node.
void describeUsb(udev_device *device, udev_device *usb, ShortageWatch &watch, VideoNode &node)
{
    const auto attribute = [&](const char *name) {
        return watch.seen(udev_device_get_sysattr_value(usb, name));
    };
    const auto property = [&](const char *name) {
        return watch.seen(udev_device_get_property_value(device, name));
    };
    node.usbPath = textOf(udev_device_get_syspath(usb));
    node.usbAddress = textOf(attribute("busnum")) + ":" + textOf(attribute("devnum"));
    node.product = textOf(attribute("product"));
    if (node.product.empty())
        node.product = decoded(textOf(property("ID_MODEL_ENC")));
    node.serial = textOf(attribute("serial"));
    node.vid = idOf(property("ID_VENDOR_ID"), attribute("idVendor"));
    node.pid = idOf(property("ID_MODEL_ID"), attribute("idProduct"));
}

/// An error when there was no descriptor or memory to find everything out.
Result<VideoNode> nodeOf(udev_device *device)
{
    errno = 0;
    ShortageWatch watch;
    VideoNode node;
    node.path = textOf(udev_device_get_syspath(device));
    node.node = textOf(udev_device_get_devnode(device));
    errno = 0;
    const char *capabilities =
        watch.seen(udev_device_get_property_value(device, "ID_V4L_CAPABILITIES"));
    const char *index = watch.seen(udev_device_get_sysattr_value(device, "index"));
    // without udev's word for it: the first node of a camera is the one with the pictures
    node.saidToCapture = capabilities ? std::strstr(capabilities, ":capture:") != nullptr
                                      : index && std::strcmp(index, "0") == 0;
    udev_device *usb =
        watch.seen(udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device"));
    if (usb)
        describeUsb(device, usb, watch, node);
    if (watch.error() != 0)
        return systemError(-watch.error(), std::strerror(-watch.error()));
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

/// Null when the system does not say what comes and goes. A shortage is in errno then.
UdevSource::Monitor UdevSource::listen(udev *context, bool daemonRuns)
{
    const HeldDescriptors held;
    errno = 0;
    // udevd announces a node when its rights are set; the kernel when there is no udevd
    Monitor monitor(udev_monitor_new_from_netlink(context, daemonRuns ? "udev" : "kernel"));
    if (!monitor)
        return nullptr;
    udev_monitor_filter_add_match_subsystem_devtype(monitor.get(), kSubsystem, nullptr);
    // refused without privileges; the default holds some hundred events
    udev_monitor_set_receive_buffer_size(monitor.get(), kReceiveBuffer);
    if (const int enabled = udev_monitor_enable_receiving(monitor.get()); enabled < 0) {
        monitor.reset();
        errno = -enabled;
    }
    return monitor;
}

Result<std::unique_ptr<NodeSource>> UdevSource::create()
{
    const auto shortage = [] { return systemError(errno, std::strerror(errno)); };
    errno = 0;
    Context context(udev_new());
    if (!context && isShortage(-errno))
        return shortage();
    const bool daemonRuns = ::access("/run/udev/control", F_OK) == 0;
    Monitor monitor;
    if (context) {
        errno = 0;
        monitor = listen(context.get(), daemonRuns);
        if (!monitor && isShortage(-errno))
            return shortage();
        if (!monitor)
            logLine(LogLevel::Warning,
                    "no device events; cameras plugged in from now on will not be found");
    } else {
        logLine(LogLevel::Error, "cannot use libudev; real cameras will not be found");
    }
    return std::unique_ptr<NodeSource>(
        new UdevSource(daemonRuns, std::move(context), std::move(monitor)));
}

int UdevSource::descriptor() const
{
    return m_monitor ? udev_monitor_get_fd(m_monitor.get()) : -1;
}

Result<std::vector<VideoNode>> UdevSource::list()
{
    std::vector<VideoNode> nodes;
    if (!m_context)
        return nodes;
    const Enumeration enumeration(udev_enumerate_new(m_context.get()));
    if (!enumeration)
        return systemError(ENOMEM, std::strerror(ENOMEM));
    int scanned = udev_enumerate_add_match_subsystem(enumeration.get(), kSubsystem);
    if (scanned >= 0)
        scanned = udev_enumerate_scan_devices(enumeration.get());
    if (scanned < 0 && isShortage(scanned))
        return systemError(-scanned, std::strerror(-scanned));
    udev_list_entry *entry = udev_enumerate_get_list_entry(enumeration.get());
    for (; entry; entry = udev_list_entry_get_next(entry)) {
        errno = 0;
        const Device device(
            udev_device_new_from_syspath(m_context.get(), udev_list_entry_get_name(entry)));
        // one that udevd has not finished with will be announced by an event
        const bool ready = device && isVideo(device.get())
            && (!m_daemonRuns || udev_device_get_is_initialized(device.get()) > 0);
        if (!ready && isShortage(-errno))
            return systemError(errno, std::strerror(errno));
        if (!ready)
            continue;
        Result<VideoNode> node = nodeOf(device.get());
        if (!node)
            return node.error();
        nodes.push_back(std::move(node).value());
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
            m_lostEvents = m_lostEvents || isShortage(-errno);
            return std::nullopt;
        }
        const std::string action = textOf(udev_device_get_action(device.get()));
        if (!isVideo(device.get()) || (action != "add" && action != "change" && action != "remove"))
            continue;
        Result<VideoNode> node = nodeOf(device.get());
        if (node)
            return VideoEvent{action != "remove", std::move(node).value()};
        m_lostEvents = true;
    }
    return std::nullopt;
}

} // namespace korv
