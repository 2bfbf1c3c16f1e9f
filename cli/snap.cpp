#include "cli/snap.h"

#include "cli/base/errors.h"
#include "cli/base/filenames.h"
#include "cli/base/translation.h"
#include "cli/calls/librarycall.h"
#include "cli/documents/outputplace.h"
#include "cli/documents/standardstreams.h"
#include "cli/session/camerastream.h"
#include "cli/session/jpegsize.h"
#include "cli/session/settledframe.h"
#include "cli/session/shownwait.h"

namespace cli {
namespace {

using Clock = Wakeup::Clock;
using std::chrono::milliseconds;

/// Waits for the frames of one or several photographs, and shows how far they are.
class SeriesWait
{
public:
    SeriesWait(const Options &options, Wakeup &wakeup)
        : m_all(static_cast<std::size_t>(options.count))
        , m_wait(options, wakeup, [this](milliseconds elapsed) { return text(elapsed); })
    {
    }

    Wake await(FrameReceiver &receiver, ReceivedFrame &frame, Clock::time_point deadline)
    {
        return m_wait.await(receiver, frame, deadline);
    }
    Wake awaitTime(Clock::time_point deadline) { return m_wait.awaitTime(deadline); }
    /// Call it before anything is printed.
    void clear() { m_wait.clear(); }
    void count() { ++m_taken; }

private:
    std::string text(milliseconds elapsed) const
    {
        return m_all == 1 ? tr("taking a photograph, %1", clockText(elapsed))
                          : describe({trLater("%1 of %2 photographs"), m_taken, m_all}, elapsed);
    }

    std::size_t m_taken = 0;
    std::size_t m_all;
    ShownWait m_wait;
};

/// Waits for a frame newer than the one in `frame`, not taken before `notBefore`.
ExitCode nextFrame(LibrarySession &session, const Options &options, FrameReceiver &receiver,
                   ReceivedFrame &frame, Clock::time_point notBefore, SeriesWait &wait)
{
    Wake wake = Wake::Notified;
    if (notBefore > Clock::now()) {
        wake = wait.awaitTime(notBefore);
        // what came during the wait is older than asked for
        receiver.take(frame);
    }
    if (wake != Wake::Interrupted)
        wake = wait.await(receiver, frame, Clock::now() + milliseconds(options.timeoutMs));
    if (wake == Wake::Notified)
        return ExitCode::Success;
    wait.clear();
    return wake == Wake::TimedOut ? session.reportNoFrame() : session.interrupted();
}

/// Waits on until the camera has adapted to its scene: `frame` is then the one to photograph.
ExitCode settledFrame(LibrarySession &session, FrameReceiver &receiver, SettledFrame &settled,
                      ReceivedFrame &frame, SeriesWait &wait)
{
    settled.startOver();
    while (!settled.isGood(frame)) {
        const Wake wake = wait.await(receiver, frame, settled.deadline());
        if (wake == Wake::Interrupted) {
            wait.clear();
            return session.interrupted();
        }
        if (wake == Wake::TimedOut)
            return ExitCode::Success; // the last one has to do
    }
    return ExitCode::Success;
}

/// Saves one photograph and hands it on.
ExitCode savePhotograph(LibrarySession &session, const Options &options, const OutputPlace &place,
                        ReceivedFrame &frame, const std::string &wanted,
                        const PhotographReceiver &taken)
{
    const std::string path = place.photographPath(wanted);
    const std::string doing = tr("save %1", outputNameOf(wanted));
    // the library's own words would name a folder that nobody knows
    const Answer answer = askLibrary(options.verbose, [&] {
        return session.library().SaveVideoData(frame.jpeg.data(), frame.width, frame.height, 0,
                                               path.c_str());
    });
    if (answer.result < 0)
        return session.check(answer.result, doing);
    TakenPhotograph photograph{wanted, frame.width, frame.height, {}};
    photograph.size = jpegSize(path);
    photograph.isWhole = options.crop >= 0 && isWhole(photograph.size, frame.width, frame.height);
    photograph.isOutOfFocus = answer.isOutOfFocus;
    ExitCode code = place.finishPhotograph(session, wanted, doing);
    if (code == ExitCode::Success)
        code = place.publish(session, wanted, doing, photograph.path);
    if (code == ExitCode::Success)
        taken(photograph);
    return code;
}

ExitCode savePhotographs(LibrarySession &session, const Options &options, const OutputPlace &place,
                         FrameReceiver &receiver, const PhotographReceiver &taken)
{
    ReceivedFrame frame;
    SettledFrame settled;
    SeriesWait wait(options, session.wakeup());
    Clock::time_point due = Clock::now();
    for (int number = 1; number <= options.count; ++number) {
        ExitCode code = nextFrame(session, options, receiver, frame, due, wait);
        if (code == ExitCode::Success && options.settle)
            code = settledFrame(session, receiver, settled, frame, wait);
        if (code != ExitCode::Success)
            return code;
        wait.clear();
        due = Clock::now() + milliseconds(options.intervalMs);
        code = savePhotograph(session, options, place, frame,
                              numberedPath(options.destination, number, options.count), taken);
        if (code != ExitCode::Success)
            return code;
        wait.count();
    }
    return ExitCode::Success;
}

JsonLine objectOf(const TakenPhotograph &photograph, const Options &options)
{
    JsonLine object;
    object.addTime().add("file", photograph.path).add("size", fileSize(photograph.path));
    object.add("width", photograph.size.width).add("height", photograph.size.height);
    object.add("out_of_focus", photograph.isOutOfFocus);
    if (options.crop >= 0)
        object.add("sheet_found", !photograph.isWhole);
    return object;
}

} // namespace

ExitCode snap(LibrarySession &session, const Options &options)
{
    return snap(session, options, [&](const TakenPhotograph &photograph) {
        const std::string name = outputNameOf(photograph.path);
        if (!options.writesToOutput())
            session.print(photograph.path, objectOf(photograph, options));
        if (photograph.isWhole)
            printError(tr("%1: no sheet was found; this is the whole picture", name));
        if (photograph.isOutOfFocus)
            printError(tr("%1: out of focus; its writing is hard to read", name));
    });
}

ExitCode snap(LibrarySession &session, const Options &options, const PhotographReceiver &taken)
{
    ExitCode code = ExitCode::Success;
    const std::optional<Device> device = session.findDevice(code);
    if (!device)
        return code;
    const OutputPlace place(options);
    if (!place.isUsable(trLater("cannot save %1: %2")))
        return ExitCode::Failure;
    CameraStream camera(session, *device);
    code = camera.startPhotographing(options);
    if (code == ExitCode::Success)
        code = savePhotographs(session, options, place, camera.frames(), taken);
    return code;
}

} // namespace cli
