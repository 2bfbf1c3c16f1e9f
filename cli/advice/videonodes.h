#pragma once

#include "util/noderights.h"

#include <optional>
#include <string>
#include <vector>

namespace cli {

using noderights::isForbidden;
using noderights::NodeRights;
using noderights::rightsOf;

/// Where the system shows its devices; tests use other folders.
struct SystemFolders
{
    std::string dev = "/dev";
    std::string usbDevices = "/sys/bus/usb/devices";
    std::string proc = "/proc";
};

/// A camera as the USB bus shows it, whether or not a driver cares for it.
struct UsbCamera
{
    std::string id; ///< "1b17:0211"
    std::string name; ///< may be empty
    std::string driver; ///< of its video interface; empty: none
};

/// A video node, looked at from outside the camera library.
struct VideoNodeInfo
{
    std::string path;
    int openError = 0; ///< errno; 0: it opens
    NodeRights rights;
    bool isV4l2 = false;
    bool capturesVideo = false;
    std::string card; ///< what the driver calls it
    std::vector<std::string> formats; ///< "MJPG", "YUYV"
    bool usable = false; ///< the camera library supports one of the formats
    bool busy = false; ///< another program has its buffers
    std::vector<std::string> users; ///< programs that have it open: "cheese (4711)"
};

/// The devices with a video interface (USB class 14).
std::vector<UsbCamera> usbCameras(const SystemFolders &folders);

/// The video nodes, in the order of their numbers. Opens each of them for a moment.
std::vector<VideoNodeInfo> videoNodes(const SystemFolders &folders);

/// Frames a second that the node which this process streams from was set to; nothing when there is
/// no such node, or its driver does not say.
std::optional<double> rateOfOurStream(const SystemFolders &folders);

/// The video nodes that this user may not open, in the same order. Opens none.
std::vector<std::string> forbiddenNodes(const SystemFolders &folders);

} // namespace cli
