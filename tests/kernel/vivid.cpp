#include "tests/kernel/vivid.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <linux/videodev2.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace kernel_tests {
namespace {

constexpr char kModule[] = "/modules/vivid.ko";

[[noreturn]] void fail(const std::string &doing)
{
    throw std::runtime_error(doing + ": " + std::strerror(errno));
}

/// The first node there is; its number depends on what was open when the driver was loaded.
std::string firstNode()
{
    std::string first;
    for (const auto &entry : std::filesystem::directory_iterator("/sys/class/video4linux")) {
        const std::string node = "/dev/" + entry.path().filename().string();
        if (first.empty() || node < first)
            first = node;
    }
    return first;
}

int openNode()
{
    const int descriptor = open(firstNode().c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        fail("open " + firstNode());
    return descriptor;
}

std::uint32_t controlCalled(int descriptor, const std::string &name)
{
    v4l2_queryctrl query = {};
    query.id = V4L2_CTRL_FLAG_NEXT_CTRL;
    while (ioctl(descriptor, VIDIOC_QUERYCTRL, &query) == 0) {
        if (name == reinterpret_cast<const char *>(query.name))
            return query.id;
        query.id |= V4L2_CTRL_FLAG_NEXT_CTRL;
    }
    throw std::runtime_error("vivid has no control " + name);
}

} // namespace

Vivid::Vivid(int cameras)
{
    load(cameras);
}

Vivid::~Vivid()
{
    unload();
}

void Vivid::load(int cameras)
{
    // node type 1: video capture; four webcam inputs, whose sizes and speeds are discrete
    std::string arguments = "n_devs=" + std::to_string(cameras);
    std::string types;
    for (int camera = 0; camera < cameras; ++camera)
        types += (camera == 0 ? " node_types=" : ",") + std::string("0x1");
    arguments += types;
    const int module = open(kModule, O_RDONLY | O_CLOEXEC);
    if (module < 0 || syscall(SYS_finit_module, module, arguments.c_str(), 0) != 0)
        fail("load vivid");
    close(module);
}

bool Vivid::unload()
{
    // a closed node is let go of a moment later
    for (int attempt = 0; attempt < 40; ++attempt) {
        if (syscall(SYS_delete_module, "vivid", O_NONBLOCK) == 0 || errno == ENOENT)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

void Vivid::press(const std::string &control)
{
    set(control, 1);
}

void Vivid::set(const std::string &control, int value)
{
    const int descriptor = openNode();
    v4l2_control change = {};
    change.id = controlCalled(descriptor, control);
    change.value = value;
    const int result = ioctl(descriptor, VIDIOC_S_CTRL, &change);
    const int error = errno;
    close(descriptor);
    errno = error;
    if (result != 0)
        fail("set " + control);
}

OtherProgram::OtherProgram()
    : m_descriptor(openNode())
{
    v4l2_requestbuffers request = {};
    request.count = 2;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    if (ioctl(m_descriptor, VIDIOC_REQBUFS, &request) != 0)
        fail("take buffers");
}

OtherProgram::~OtherProgram()
{
    close(m_descriptor);
}

} // namespace kernel_tests
