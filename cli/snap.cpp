#include "cli/snap.h"

#include "cli/framereceiver.h"
#include "cli/opendevice.h"

namespace cli {
namespace {

using Clock = Wakeup::Clock;
using std::chrono::milliseconds;

ExitCode selectResolution(Session &session, const Options &options, const OpenDevice &camera,
                          int index)
{
    if (!options.resolution)
        return ExitCode::Success;
    const auto [width, height] = *options.resolution;
    for (const _tag_unit_cam_res_unit &mode : camera.modes()) {
        if (mode.res_w == width && mode.res_h == height)
            return session.check(session.library().SetCurResolutionNo(index, mode.res_no),
                                 "select " + sizeText(width, height));
    }
    session.complain("the camera does not offer " + sizeText(width, height)
                     + "; see `korvcam modes`");
    return ExitCode::Failure;
}

ExitCode setPhotographOptions(Session &session, const Options &options)
{
    CCameraSDK &library = session.library();
    ExitCode code = ExitCode::Success;
    if (options.quality)
        code = session.check(library.SetImageJPGQuality(*options.quality), "set the quality");
    if (code == ExitCode::Success)
        code = session.check(library.SetAutoCrop(options.crop), "set the crop mode");
    if (code == ExitCode::Success)
        code = session.check(library.SetImageRotateMode(options.rotation), "set the rotation");
    if (code == ExitCode::Success)
        code = session.check(library.SetImageColorStyle(options.color), "set the colour mode");
    return code;
}

/// Waits for a frame newer than the one in `frame`, not taken before `notBefore`.
ExitCode nextFrame(Session &session, const Options &options, FrameReceiver &receiver,
                   ReceivedFrame &frame, Clock::time_point notBefore)
{
    if (notBefore > Clock::now()) {
        Wake wake = Wake::Notified;
        while (wake == Wake::Notified)
            wake = session.wakeup().wait(notBefore);
        if (wake == Wake::Interrupted)
            return ExitCode::Failure;
        // what came during the wait is older than asked for
        receiver.take(frame);
    }
    const Clock::time_point deadline = Clock::now() + milliseconds(options.timeoutMs);
    while (!receiver.take(frame)) {
        switch (session.wakeup().wait(deadline)) {
        case Wake::Notified:
            break;
        case Wake::TimedOut:
            session.complain("the camera sent no picture in time; `korvcam doctor` may know why");
            return ExitCode::NoFrame;
        case Wake::Interrupted:
            return ExitCode::Failure;
        }
    }
    return ExitCode::Success;
}

ExitCode savePhotographs(Session &session, const Options &options, FrameReceiver &receiver)
{
    ReceivedFrame frame;
    Clock::time_point due = Clock::now();
    for (int number = 1; number <= options.count; ++number) {
        ExitCode code = nextFrame(session, options, receiver, frame, due);
        if (code != ExitCode::Success)
            return code;
        due = Clock::now() + milliseconds(options.intervalMs);
        const std::string path = numberedPath(options.destination, number, options.count);
        code = session.check(session.library().SaveVideoData(frame.jpeg.data(), frame.width,
                                                             frame.height, 0, path.c_str()),
                             "save " + path);
        if (code != ExitCode::Success)
            return code;
        session.print(path);
    }
    return ExitCode::Success;
}

} // namespace

ExitCode snap(Session &session, const Options &options)
{
    const std::optional<Device> device = session.findDevice();
    if (!device)
        return ExitCode::NoDevice;
    FrameReceiver receiver(session.wakeup());
    const OpenDevice camera(session.library(), device->index);
    if (camera.result() < 0)
        return session.checkCamera(camera.result(), "open " + device->name);
    ExitCode code = selectResolution(session, options, camera, device->index);
    if (code == ExitCode::Success)
        code = setPhotographOptions(session, options);
    if (code == ExitCode::Success)
        code = session.checkCamera(
            session.library().StartCapture(device->index, &FrameReceiver::onFrame),
            "start " + device->name);
    if (code == ExitCode::Success)
        code = savePhotographs(session, options, receiver);
    return code;
}

} // namespace cli
