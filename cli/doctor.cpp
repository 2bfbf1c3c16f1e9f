#include "cli/doctor.h"

#include "cli/advice.h"
#include "cli/framereceiver.h"
#include "cli/opendevice.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace cli {
namespace {

using Clock = Wakeup::Clock;
using Seconds = std::chrono::duration<double>;

/// Long enough to count frames.
constexpr std::chrono::milliseconds kCountTime{2000};

std::string fixed(double value, int digits)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string joined(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

/// One examination: prints as it goes and collects what is wrong.
class Doctor
{
public:
    Doctor(Session &session, const Options &options)
        : m_session(session)
        , m_options(options)
    {
        if (const char *const desk = std::getenv("KORV_CAMERA_DESK"); desk && *desk != '\0')
            m_desk = desk;
    }

    void examineSystem(const SystemFolders &folders);
    void examineCameras();
    ExitCode conclude();

private:
    void problem(const std::string &text, ExitCode code)
    {
        m_problems.push_back(text);
        if (m_code == ExitCode::Success)
            m_code = code;
    }
    void problem(const Device &device, const std::string &doing, int result);
    void examine(const Device &device);
    void examineStream(const Device &device, FrameReceiver &receiver);
    bool awaitFrame(FrameReceiver &receiver, ReceivedFrame &frame, Clock::time_point deadline);
    void tryPhotograph(const Device &device, ReceivedFrame &frame);

    Session &m_session;
    const Options &m_options;
    std::optional<std::string> m_desk; ///< the simulated one, where it is chosen
    std::vector<std::string> m_problems;
    ExitCode m_code = ExitCode::Success;
};

void Doctor::problem(const Device &device, const std::string &doing, int result)
{
    const std::string words = advice(result);
    problem(device.name + ": cannot " + doing + ": "
                + (words.empty() ? std::strerror(-result) : words),
            ExitCode::Failure);
}

void Doctor::examineSystem(const SystemFolders &folders)
{
    const std::vector<UsbCamera> cameras = usbCameras(folders);
    m_session.print("USB cameras");
    for (const UsbCamera &camera : cameras)
        m_session.print("  " + camera.id + "  " + camera.name + "  "
                        + (camera.driver.empty() ? "no driver" : "driver " + camera.driver));
    if (cameras.empty())
        m_session.print("  none");

    const std::vector<VideoNode> nodes = videoNodes(folders);
    m_session.print("Video nodes");
    for (const VideoNode &node : nodes)
        m_session.print("  " + describe(node));
    if (nodes.empty())
        m_session.print("  none");
    if (m_desk)
        return; // the cameras of the machine are not used
    for (const std::string &text : problemsOf(cameras, nodes))
        problem(text, ExitCode::Failure);
}

bool Doctor::awaitFrame(FrameReceiver &receiver, ReceivedFrame &frame, Clock::time_point deadline)
{
    while (!receiver.take(frame)) {
        if (m_session.wakeup().wait(deadline) != Wake::Notified)
            return false;
    }
    return true;
}

void Doctor::tryPhotograph(const Device &device, ReceivedFrame &frame)
{
    std::string folder = (std::filesystem::temp_directory_path() / "korvcam-XXXXXX").string();
    if (!mkdtemp(folder.data()))
        return;
    const std::string path = folder + "/photograph.jpg";
    const int result = m_session.library().SaveVideoData(frame.jpeg.data(), frame.width,
                                                         frame.height, 0, path.c_str());
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    if (result < 0)
        problem(device, "make a photograph of its picture", result);
    else
        m_session.print("     a photograph of it can be made");
}

void Doctor::examineStream(const Device &device, FrameReceiver &receiver)
{
    const Clock::time_point start = Clock::now();
    const int started = m_session.library().StartCapture(device.index, &FrameReceiver::onFrame);
    if (started < 0)
        return problem(device, "start its stream", started);
    ReceivedFrame frame;
    if (!awaitFrame(receiver, frame, start + std::chrono::milliseconds(m_options.timeoutMs))) {
        return problem(device.name + ": no picture came in "
                           + std::to_string(m_options.timeoutMs / 1000)
                           + " s; try another cable, a port of the computer itself instead of a "
                             "hub, or another resolution",
                       ExitCode::NoFrame);
    }
    const Clock::time_point first = Clock::now();
    const unsigned long firstNumber = frame.number;
    while (awaitFrame(receiver, frame, first + kCountTime)) { }
    const double rate =
        static_cast<double>(frame.number - firstNumber) / Seconds(Clock::now() - first).count();
    m_session.print("     first picture after " + fixed(Seconds(first - start).count(), 2) + " s, "
                    + sizeText(frame.width, frame.height) + ", then " + fixed(rate, 1)
                    + " a second");
    tryPhotograph(device, frame);
}

void Doctor::examine(const Device &device)
{
    m_session.print("  " + describe(device));
    // outlives the stream, which ends when the camera is closed
    FrameReceiver receiver(m_session.wakeup());
    const OpenDevice camera(m_session.library(), device.index);
    if (camera.result() < 0)
        return problem(device, "open it", camera.result());
    const std::vector<_tag_unit_cam_res_unit> modes = camera.modes();
    if (modes.empty())
        return problem(device.name + ": it offers no resolution", ExitCode::Failure);
    const int current = m_session.library().GetCurResolutionNo(device.index);
    const auto chosen = std::find_if(modes.begin(), modes.end(),
                                     [=](const auto &mode) { return mode.res_no == current; });
    m_session.print("     " + std::to_string(modes.size()) + " resolutions"
                    + (chosen == modes.end()
                           ? std::string()
                           : ", " + sizeText(chosen->res_w, chosen->res_h) + " to begin with"));
    examineStream(device, receiver);
}

void Doctor::examineCameras()
{
    char version[64] = {};
    m_session.library().GetVersion(version, sizeof version);
    m_session.print("Camera library " + std::string(version));
    // the desk takes the place of the cameras, which surprises who has forgotten it
    if (m_desk)
        m_session.print("  KORV_CAMERA_DESK is set: simulated desk " + *m_desk);
    const std::vector<Device> devices = m_session.devices(m_options.device);
    for (const Device &device : devices) {
        if (!m_options.device || device.index == *m_options.device)
            examine(device);
    }
    if (devices.empty()) {
        m_session.print("  no camera");
        problem("the camera library finds no camera", ExitCode::NoDevice);
        m_code = ExitCode::NoDevice;
    }
}

ExitCode Doctor::conclude()
{
    if (m_problems.empty()) {
        m_session.print("No problem found.");
        return ExitCode::Success;
    }
    m_session.print(m_problems.size() == 1 ? "Problem" : "Problems");
    for (const std::string &text : m_problems)
        m_session.print("  - " + text);
    return m_code;
}

} // namespace

std::string describe(const VideoNode &node)
{
    const std::string start = node.path + "  ";
    if (node.openError != 0)
        return start + "cannot be opened: " + std::strerror(node.openError);
    if (!node.isV4l2)
        return start + "is no V4L2 node";
    if (!node.capturesVideo)
        return start + node.card + "  no pictures; a camera's second node is like that";
    return start + node.card + "  " + joined(node.formats)
        + (node.users.empty() ? "" : "  open in " + joined(node.users));
}

std::vector<std::string> problemsOf(const std::vector<UsbCamera> &cameras,
                                    const std::vector<VideoNode> &nodes)
{
    std::vector<std::string> problems;
    for (const UsbCamera &camera : cameras) {
        if (camera.driver.empty())
            problems.push_back("the USB camera " + camera.id + " " + camera.name
                               + " has no driver: `sudo modprobe uvcvideo`");
    }
    if (!cameras.empty() && nodes.empty() && problems.empty())
        problems.emplace_back("there is a USB camera but no /dev/video node; in a container or "
                              "virtual machine, the nodes have to be passed in");
    if (cameras.empty() && nodes.empty())
        problems.emplace_back("no camera is plugged in, or its cable carries no data; `lsusb` "
                              "shows what the computer sees");
    std::vector<std::string> forbidden;
    NodeRights rights; // of the first of them: a camera's nodes do not differ
    for (const VideoNode &node : nodes) {
        if (node.openError == EACCES || node.openError == EPERM) {
            if (forbidden.empty())
                rights = node.rights;
            forbidden.push_back(node.path);
        } else if (node.capturesVideo && !node.usable)
            problems.push_back(node.path + " offers only " + joined(node.formats)
                               + ", which cannot be read");
        else if (node.busy)
            problems.push_back(node.path + " is in use by "
                               + (node.users.empty() ? "another program" : joined(node.users)));
    }
    if (!forbidden.empty())
        problems.push_back(adviceOnRights(forbidden, rights));
    return problems;
}

ExitCode doctor(Session &session, const Options &options, const SystemFolders &folders)
{
    Doctor examination(session, options);
    examination.examineSystem(folders);
    examination.examineCameras();
    return examination.conclude();
}

} // namespace cli
