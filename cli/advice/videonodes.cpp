#include "cli/advice/videonodes.h"

#include "cli/base/descriptor.h"
#include "cli/base/folderentries.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace cli {
namespace {

namespace fs = std::filesystem;

/// An open node for as long as it is looked at.
class OpenNode
{
public:
    explicit OpenNode(const std::string &path)
        : m_descriptor(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC))
        , m_error(m_descriptor ? 0 : errno)
    {
    }

    int error() const { return m_error; }
    /// 0, or errno.
    int ask(unsigned long request, void *argument) const
    {
        return ioctl(m_descriptor.get(), request, argument) < 0 ? errno : 0;
    }

private:
    Descriptor m_descriptor;
    int m_error;
};

std::string firstLine(const fs::path &file)
{
    std::string line;
    std::ifstream stream(file);
    std::getline(stream, line);
    return line;
}

std::string fourLetters(std::uint32_t code)
{
    std::string text;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        const char letter = static_cast<char>(code >> shift & 0x7F);
        text += letter > ' ' ? letter : '.';
    }
    return text;
}

bool isUsable(std::uint32_t format)
{
    constexpr std::array<std::uint32_t, 8> kUsable{
        V4L2_PIX_FMT_MJPEG, V4L2_PIX_FMT_JPEG,   V4L2_PIX_FMT_YUYV,  V4L2_PIX_FMT_UYVY,
        V4L2_PIX_FMT_NV12,  V4L2_PIX_FMT_YUV420, V4L2_PIX_FMT_RGB24, V4L2_PIX_FMT_GREY};
    return std::find(kUsable.begin(), kUsable.end(), format) != kUsable.end();
}

void listFormats(const OpenNode &descriptor, VideoNodeInfo &node)
{
    constexpr std::uint32_t kMaxNodes = 64;
    for (std::uint32_t index = 0; index < kMaxNodes; ++index) {
        v4l2_fmtdesc entry = {};
        entry.index = index;
        entry.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (descriptor.ask(VIDIOC_ENUM_FMT, &entry) != 0)
            return;
        node.formats.push_back(fourLetters(entry.pixelformat));
        node.usable = node.usable || isUsable(entry.pixelformat);
    }
}

void examine(VideoNodeInfo &node)
{
    const OpenNode descriptor(node.path);
    node.openError = descriptor.error();
    v4l2_capability answer = {};
    if (node.openError != 0 || descriptor.ask(VIDIOC_QUERYCAP, &answer) != 0)
        return;
    node.isV4l2 = true;
    const auto *const card = reinterpret_cast<const char *>(answer.card);
    node.card.assign(card, strnlen(card, sizeof answer.card));
    const std::uint32_t own = (answer.capabilities & V4L2_CAP_DEVICE_CAPS) != 0
        ? answer.device_caps
        : answer.capabilities;
    node.capturesVideo = (own & V4L2_CAP_VIDEO_CAPTURE) != 0 && (own & V4L2_CAP_STREAMING) != 0;
    if (!node.capturesVideo)
        return;
    listFormats(descriptor, node);
    // setting what is set already changes nothing, and fails while somebody streams
    v4l2_format format = {};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (descriptor.ask(VIDIOC_G_FMT, &format) == 0)
        node.busy = descriptor.ask(VIDIOC_S_FMT, &format) == EBUSY;
}

/// Whether a process has a file open, as far as this user may see.
bool hasOpen(const fs::path &process, const std::string &path)
{
    const std::vector<fs::path> descriptors = entriesOf(process / "fd");
    return std::any_of(descriptors.begin(), descriptors.end(), [&](const fs::path &descriptor) {
        std::error_code error;
        return fs::read_symlink(descriptor, error) == path;
    });
}

/// The programs that have a file open, as far as this user may see.
std::vector<std::string> usersOf(const std::string &path, const std::string &proc)
{
    std::vector<std::string> users;
    for (const fs::path &process : entriesOf(proc)) {
        const std::string id = process.filename().string();
        if (id.find_first_not_of("0123456789") == std::string::npos && hasOpen(process, path))
            users.push_back(firstLine(process / "comm") + " (" + id + ")");
    }
    return users;
}

long numberIn(const std::string &path)
{
    return std::strtol(path.c_str() + path.find_last_not_of("0123456789") + 1, nullptr, 10);
}

/// In the order of their numbers.
std::vector<std::string> nodePaths(const SystemFolders &folders)
{
    std::vector<std::string> paths;
    for (const fs::path &entry : entriesOf(folders.dev)) {
        const std::string name = entry.filename().string();
        if (name.compare(0, 5, "video") == 0 && name.size() > 5
            && name.find_first_not_of("0123456789", 5) == std::string::npos)
            paths.push_back(entry.string());
    }
    std::sort(paths.begin(), paths.end(), [](const std::string &one, const std::string &other) {
        return numberIn(one) < numberIn(other);
    });
    return paths;
}

} // namespace

std::vector<UsbCamera> usbCameras(const SystemFolders &folders)
{
    std::vector<UsbCamera> cameras;
    std::string lastDevice;
    for (const fs::path &entry : entriesOf(folders.usbDevices)) {
        // interfaces are called like "1-1:1.0", their device "1-1"
        const std::string name = entry.filename().string();
        const std::string device = name.substr(0, name.find(':'));
        if (device == name || device == lastDevice || firstLine(entry / "bInterfaceClass") != "0e")
            continue;
        lastDevice = device;
        const fs::path folder = entry.parent_path() / device;
        std::error_code error;
        cameras.push_back({firstLine(folder / "idVendor") + ":" + firstLine(folder / "idProduct"),
                           firstLine(folder / "product"),
                           fs::read_symlink(entry / "driver", error).filename().string()});
    }
    return cameras;
}

std::vector<VideoNodeInfo> videoNodes(const SystemFolders &folders)
{
    std::vector<VideoNodeInfo> nodes;
    for (const std::string &path : nodePaths(folders)) {
        VideoNodeInfo node;
        node.path = path;
        node.rights = rightsOf(node.path);
        node.users = usersOf(node.path, folders.proc);
        examine(node);
        nodes.push_back(std::move(node));
    }
    return nodes;
}

std::vector<std::string> forbiddenNodes(const SystemFolders &folders)
{
    std::vector<std::string> forbidden = nodePaths(folders);
    forbidden.erase(std::remove_if(forbidden.begin(), forbidden.end(),
                                   [](const std::string &path) { return !isForbidden(path); }),
                    forbidden.end());
    return forbidden;
}

std::optional<double> rateOfOurStream(const SystemFolders &folders)
{
    for (const std::string &path : nodePaths(folders)) {
        if (!hasOpen(fs::path(folders.proc) / "self", path))
            continue;
        v4l2_streamparm parameters = {};
        parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        const v4l2_fract &interval = parameters.parm.capture.timeperframe;
        if (OpenNode(path).ask(VIDIOC_G_PARM, &parameters) == 0 && interval.numerator > 0
            && interval.denominator > 0)
            return static_cast<double>(interval.denominator) / interval.numerator;
    }
    return std::nullopt;
}

} // namespace cli
