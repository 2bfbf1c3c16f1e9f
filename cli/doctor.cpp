#include "cli/doctor.h"

#include "cli/advice/advice.h"
#include "cli/advice/deskadvice.h"
#include "cli/advice/framerate.h"
#include "cli/advice/libraryadvice.h"
#include "cli/base/temporaryfolder.h"
#include "cli/base/translation.h"
#include "cli/calls/librarycall.h"
#include "cli/doctorlines.h"
#include "cli/session/deviceselection.h"
#include "cli/session/framereceiver.h"
#include "cli/session/opendevice.h"
#include "cli/session/shownwait.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace cli {
namespace {

using Clock = Wakeup::Clock;
using Seconds = std::chrono::duration<double>;

/// Before the lines about a camera.
constexpr char kDetail[] = "     ";

/// Long enough to count frames.
constexpr std::chrono::milliseconds kCountTime{2000};

/// Frames a second of a simulated camera.
constexpr double kSimulatedRate = 15;

/// One examination: prints as it goes and collects what is wrong.
class Doctor
{
public:
    Doctor(LibrarySession &session, const Options &options, const SystemFolders &folders)
        : m_session(session)
        , m_options(options)
        , m_folders(folders)
        , m_desk(simulatedDesk())
    {
    }

    void examineSystem();
    void examineLibrary();
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
    FrameRate countFrames(FrameReceiver &receiver, Clock::time_point first, ShownWait &wait);
    void printPhotograph(const char *result);
    void tryPhotograph(const Device &device, ReceivedFrame &frame);
    void noCamera(const std::string &text);

    LibrarySession &m_session;
    const Options &m_options;
    const SystemFolders &m_folders;
    std::string m_desk; ///< the simulated one; empty without it
    std::vector<std::string> m_problems;
    ExitCode m_code = ExitCode::Success;
};

void Doctor::problem(const Device &device, const std::string &doing, int result)
{
    const std::string words = advice(result);
    problem(
        tr("%1: cannot %2: %3", device.name, doing, words.empty() ? std::strerror(-result) : words),
        ExitCode::Failure);
}

void Doctor::examineSystem()
{
    const std::vector<UsbCamera> cameras = usbCameras(m_folders);
    m_session.printHeading(tr("USB cameras"));
    for (const UsbCamera &camera : cameras)
        m_session.print("  " + describe(camera), objectOf(camera));
    if (cameras.empty())
        m_session.printHeading("  " + tr("none"));

    const std::vector<VideoNodeInfo> nodes = videoNodes(m_folders);
    m_session.printHeading(tr("Video nodes"));
    for (const VideoNodeInfo &node : nodes)
        m_session.print("  " + describe(node), objectOf(node));
    if (nodes.empty())
        m_session.printHeading("  " + tr("none"));
    if (!usesRealCameras())
        return;
    for (const std::string &text : problemsOf(cameras, nodes))
        problem(text, ExitCode::Failure);
}

void Doctor::printPhotograph(const char *result)
{
    JsonLine object;
    object.add("check", "photograph").add("result", result);
    m_session.print(kDetail + tr("test photograph: %1", tr(result)), object);
}

void Doctor::tryPhotograph(const Device &device, ReceivedFrame &frame)
{
    const TemporaryFolder folder;
    if (folder.error() != 0)
        return printPhotograph(trLater("not taken, no folder for it can be made"));
    const std::string path = folder.pathOf("photograph.jpg");
    const Answer answer = askLibrary(m_options.verbose, [&] {
        return m_session.library().SaveVideoData(frame.jpeg.data(), frame.width, frame.height, 0,
                                                 path.c_str());
    });
    if (answer.result < 0)
        return problem(device, tr("make a photograph of its picture"), answer.result);
    printPhotograph(answer.isOutOfFocus ? trLater("out of focus") : trLater("OK"));
    if (answer.isOutOfFocus)
        problem(tr("%1: its picture is out of focus; wait until the camera has focused, clean its "
                   "lens, or set its focus or its height",
                   device.name),
                ExitCode::Failure);
}

/// Counts what comes in a while after the first frame.
FrameRate Doctor::countFrames(FrameReceiver &receiver, Clock::time_point first, ShownWait &wait)
{
    wait.awaitTime(first + kCountTime);
    std::optional<double> promised = rateOfOurStream(m_folders);
    if (!promised && !m_desk.empty() && !usesRealCameras())
        promised = kSimulatedRate;
    return measureRate(receiver.arrivals(), Clock::now(), promised);
}

void Doctor::examineStream(const Device &device, FrameReceiver &receiver)
{
    receiver.noteArrivals();
    const Clock::time_point start = Clock::now();
    const int started = m_session.library().StartCapture(device.index, &FrameReceiver::onFrame);
    if (started < 0)
        return problem(device, tr("start its stream"), started);
    ReceivedFrame frame;
    ShownWait wait(m_options, m_session.wakeup(), [&](std::chrono::milliseconds elapsed) {
        return tr("examining %1, %2", device.name, clockText(elapsed));
    });
    const Wake wake =
        wait.await(receiver, frame, start + std::chrono::milliseconds(m_options.timeoutMs));
    if (wake == Wake::TimedOut)
        return problem(tr("%1: no picture came in %2 s; try another cable, a port of the computer "
                          "itself instead of a hub, or another resolution",
                          device.name, m_options.timeoutMs / 1000),
                       ExitCode::NoFrame);
    if (wake == Wake::Interrupted)
        return;
    const Clock::time_point first = Clock::now();
    const FrameRate rate = countFrames(receiver, first, wait);
    wait.clear();
    if (m_session.wakeup().stopSignal() != 0)
        return;
    const StreamFinding finding{Seconds(first - start).count(), frame.width, frame.height, rate};
    m_session.print(kDetail + describe(finding), objectOf(finding));
    if (const std::string text = rateProblem(rate); !text.empty())
        problem(device.name + ": " + text, ExitCode::Failure);
    tryPhotograph(device, frame);
}

void Doctor::examine(const Device &device)
{
    m_session.printHeading("  " + describe(device));
    // outlives the stream, which ends when the camera is closed
    FrameReceiver receiver(m_session.wakeup());
    const OpenDevice camera(m_session.library(), device.index);
    if (camera.result() < 0)
        return problem(device, tr("open it"), camera.result());
    const std::vector<_tag_unit_cam_res_unit> modes = camera.modes();
    if (modes.empty())
        return problem(tr("%1: it offers no resolution", device.name), ExitCode::Failure);
    const int current = m_session.library().GetCurResolutionNo(device.index);
    const auto chosen = std::find_if(modes.begin(), modes.end(),
                                     [=](const auto &mode) { return mode.res_no == current; });
    JsonLine object = objectOf(device);
    object.add("check", "camera").add("resolutions", static_cast<double>(modes.size()));
    m_session.print(kDetail
                        + (chosen == modes.end()
                               ? tr("%1 resolutions", modes.size())
                               : tr("%1 resolutions, %2 to begin with", modes.size(),
                                    sizeText(chosen->res_w, chosen->res_h))),
                    object);
    examineStream(device, receiver);
}

/// Says what a missing camera means; nothing else counts then.
void Doctor::noCamera(const std::string &text)
{
    problem(text, ExitCode::NoDevice);
    m_code = ExitCode::NoDevice;
}

void Doctor::examineLibrary()
{
    JsonLine object;
    object.add("check", "library").add("path", m_options.library).add("usable", false);
    m_session.printHeading(tr("Camera library"));
    m_session.print("  " + m_options.library + "  " + tr("cannot be used"), object);
    const std::string words = adviceOnLibrary(m_options.library);
    problem(words.empty()
                ? tr("the camera library %1 cannot be used", m_options.library)
                : tr("the camera library %1 cannot be used: %2", m_options.library, words),
            ExitCode::NoLibrary);
    m_code = ExitCode::NoLibrary;
}

void Doctor::examineCameras()
{
    char version[64] = {};
    m_session.library().GetVersion(version, sizeof version);
    JsonLine object;
    object.add("check", "library").add("path", m_options.library).add("usable", true);
    object.add("version", version);
    m_session.print(tr("Camera library") + " " + version, object);
    // the desk takes the place of the cameras, which surprises users who have forgotten it
    if (!m_desk.empty())
        m_session.print("  " + tr("KORV_CAMERA_DESK is set: simulated desk %1", m_desk),
                        JsonLine().add("check", "environment").add("KORV_CAMERA_DESK", m_desk));
    const bool isSwitchedOff = m_desk.empty() && !usesRealCameras();
    if (isSwitchedOff)
        m_session.print("  " + tr("KORV_CAMERA_REAL=0 is set: cameras are not used"),
                        JsonLine().add("check", "environment").add("KORV_CAMERA_REAL", "0"));
    const std::vector<Device> devices = m_session.devices(m_options.device);
    const std::vector<Device> wanted =
        m_options.device ? matching(devices, *m_options.device) : devices;
    for (const Device &device : wanted)
        examine(device);
    if (!wanted.empty())
        return;
    if (devices.empty())
        m_session.printHeading("  " + tr("no camera"));
    if (const std::string words = adviceOnDesk(m_desk); devices.empty() && !words.empty())
        noCamera(words);
    else if (isSwitchedOff)
        noCamera(tr("KORV_CAMERA_REAL=0 keeps the camera library from looking for cameras, and "
                    "KORV_CAMERA_DESK names no simulated one"));
    else if (m_options.device)
        noCamera(tr("there is no camera %1; `korvcam list` shows those that are there",
                    *m_options.device));
    else
        noCamera(tr("the camera library finds no camera"));
}

ExitCode Doctor::conclude()
{
    if (m_session.wakeup().stopSignal() != 0)
        return m_session.interrupted(tr(" before the examination was complete"));
    if (m_problems.empty())
        m_session.printHeading(tr("No problem found."));
    else
        m_session.printHeading(m_problems.size() == 1 ? tr("Problem") : tr("Problems"));
    for (const std::string &text : m_problems)
        m_session.print("  - " + text, JsonLine().add("problem", text));
    return m_code;
}

} // namespace

std::vector<std::string> problemsOf(const std::vector<UsbCamera> &cameras,
                                    const std::vector<VideoNodeInfo> &nodes)
{
    std::vector<std::string> problems;
    for (const UsbCamera &camera : cameras) {
        if (camera.driver.empty())
            problems.push_back(tr("the USB camera %1 %2 has no driver: `sudo modprobe uvcvideo`",
                                  camera.id, camera.name));
    }
    if (!cameras.empty() && nodes.empty() && problems.empty())
        problems.push_back(tr("there is a USB camera but no /dev/video node; in a container or "
                              "virtual machine, the nodes have to be passed in"));
    if (cameras.empty() && nodes.empty())
        problems.push_back(tr("no camera is plugged in, or its cable carries no data; `lsusb` "
                              "shows what the computer sees"));
    std::vector<std::string> forbidden;
    NodeRights rights; // of the first of them: a camera's nodes do not differ
    for (const VideoNodeInfo &node : nodes) {
        if (node.openError == EACCES || node.openError == EPERM) {
            if (forbidden.empty())
                rights = node.rights;
            forbidden.push_back(node.path);
        } else if (node.capturesVideo && !node.usable)
            problems.push_back(
                tr("%1 offers only %2, which cannot be read", node.path, joined(node.formats)));
        else if (node.busy)
            problems.push_back(node.users.empty()
                                   ? tr("%1 is in use by another program", node.path)
                                   : tr("%1 is in use by %2", node.path, joined(node.users)));
    }
    if (!forbidden.empty())
        problems.push_back(adviceOnRights(forbidden, rights));
    return problems;
}

ExitCode doctor(LibrarySession &session, const Options &options, ExitCode opened,
                const SystemFolders &folders)
{
    if (opened != ExitCode::Success && opened != ExitCode::NoLibrary)
        return opened;
    Doctor examination(session, options, folders);
    examination.examineSystem();
    if (opened == ExitCode::Success)
        examination.examineCameras();
    else
        examination.examineLibrary();
    return examination.conclude();
}

} // namespace cli
