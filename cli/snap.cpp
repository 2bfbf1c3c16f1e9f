#include "cli/snap.h"

#include "cli/base/errors.h"
#include "cli/base/filenames.h"
#include "cli/base/librarycall.h"
#include "cli/base/translation.h"
#include "cli/documents/workspace.h"
#include "cli/session/camerasetup.h"
#include "cli/session/framereceiver.h"
#include "cli/session/jpegsize.h"
#include "cli/session/opendevice.h"
#include "cli/session/settledframe.h"

namespace cli {
namespace {

using Clock = Wakeup::Clock;
using std::chrono::milliseconds;

/// Waits for a frame newer than the one in `frame`, not taken before `notBefore`.
ExitCode nextFrame(LibrarySession &session, const Options &options, FrameReceiver &receiver,
                   ReceivedFrame &frame, Clock::time_point notBefore)
{
    if (notBefore > Clock::now()) {
        Wake wake = Wake::Notified;
        while (wake == Wake::Notified)
            wake = session.wakeup().wait(notBefore);
        if (wake == Wake::Interrupted)
            return session.interrupted();
        // what came during the wait is older than asked for
        receiver.take(frame);
    }
    const Clock::time_point deadline = Clock::now() + milliseconds(options.timeoutMs);
    while (!receiver.take(frame)) {
        switch (session.wakeup().wait(deadline)) {
        case Wake::Notified:
            break;
        case Wake::TimedOut:
            printError(
                tr("the camera sent no picture in %1 s; run `korvcam doctor` to find out why",
                   options.timeoutMs / 1000));
            return ExitCode::NoFrame;
        case Wake::Interrupted:
            return session.interrupted();
        }
    }
    return ExitCode::Success;
}

/// Waits on until the camera has adapted to its scene: `frame` is then the one to photograph.
ExitCode settledFrame(LibrarySession &session, FrameReceiver &receiver, SettledFrame &settled,
                      ReceivedFrame &frame)
{
    settled.startOver();
    while (!settled.isGood(frame)) {
        while (!receiver.take(frame)) {
            const Wake wake = session.wakeup().wait(settled.deadline());
            if (wake == Wake::Interrupted)
                return session.interrupted();
            if (wake == Wake::TimedOut)
                return ExitCode::Success; // the last one has to do
        }
    }
    return ExitCode::Success;
}

/// Saves one photograph and hands it on.
ExitCode savePhotograph(LibrarySession &session, const Options &options, const Workspace &workspace,
                        ReceivedFrame &frame, const std::string &wanted,
                        const PhotographReceiver &taken)
{
    const std::string path = workspace.pathOf(fileNameOf(wanted));
    // the library's own words would name a folder that nobody knows
    const Answer answer = askLibrary(options.verbose, [&] {
        return session.library().SaveVideoData(frame.jpeg.data(), frame.width, frame.height, 0,
                                               path.c_str());
    });
    if (answer.result < 0)
        return session.check(answer.result, tr("save %1", wanted));
    const bool foundNoSheet =
        options.crop >= 0 && isWhole(jpegSize(path), frame.width, frame.height);
    const Published published = workspace.publish(wanted, options.force);
    if (published.error != 0)
        return session.check(-published.error, tr("save %1", wanted));
    taken({published.path, frame.width, frame.height, foundNoSheet, answer.isOutOfFocus});
    return ExitCode::Success;
}

ExitCode savePhotographs(LibrarySession &session, const Options &options,
                         const Workspace &workspace, FrameReceiver &receiver,
                         const PhotographReceiver &taken)
{
    ReceivedFrame frame;
    SettledFrame settled;
    Clock::time_point due = Clock::now();
    for (int number = 1; number <= options.count; ++number) {
        ExitCode code = nextFrame(session, options, receiver, frame, due);
        if (code == ExitCode::Success && options.settle)
            code = settledFrame(session, receiver, settled, frame);
        if (code != ExitCode::Success)
            return code;
        due = Clock::now() + milliseconds(options.intervalMs);
        code = savePhotograph(session, options, workspace, frame,
                              numberedPath(options.destination, number, options.count), taken);
        if (code != ExitCode::Success)
            return code;
    }
    return ExitCode::Success;
}

} // namespace

ExitCode snap(LibrarySession &session, const Options &options)
{
    return snap(session, options, [&](const TakenPhotograph &photograph) {
        session.print(photograph.path);
        if (photograph.isWhole)
            printError(tr("%1: no sheet was found; this is the whole picture", photograph.path));
        if (photograph.isOutOfFocus)
            printError(tr("%1: out of focus; its writing is hard to read", photograph.path));
    });
}

ExitCode snap(LibrarySession &session, const Options &options, const PhotographReceiver &taken)
{
    ExitCode code = ExitCode::Success;
    const std::optional<Device> device = session.findDevice(code);
    if (!device)
        return code;
    const Workspace workspace(options.destination);
    if (workspace.error() != 0) {
        printError(tr("cannot save %1: %2", options.destination,
                      placeProblem(options.destination, workspace.error())));
        return ExitCode::Failure;
    }
    FrameReceiver receiver(session.wakeup());
    const OpenDevice camera(session.library(), device->index);
    if (camera.result() < 0)
        return session.checkCamera(camera.result(), tr("open %1", device->name));
    code = startPhotographing(session, options, camera, *device);
    if (code == ExitCode::Success)
        code = savePhotographs(session, options, workspace, receiver, taken);
    return code;
}

} // namespace cli
