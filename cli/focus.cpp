#include "cli/focus.h"

#include "cli/base/errors.h"
#include "cli/base/translation.h"
#include "cli/controls.h"
#include "cli/session/camerastream.h"
#include "cli/session/settledframe.h"
#include "cli/session/shownwait.h"
#include "library/controls/control_values.h"

#include <cerrno>
#include <linux/videodev2.h>

namespace cli {
namespace {

using korv::Control;
using korv::ControlCall;

/// What a camera offers for its focus.
struct FocusControls
{
    explicit FocusControls(const ControlCall &call)
        : continuous(known(call, V4L2_CID_FOCUS_AUTO))
        , start(known(call, V4L2_CID_AUTO_FOCUS_START))
        , position(known(call, V4L2_CID_FOCUS_ABSOLUTE))
    {
    }

    static std::optional<Control> known(const ControlCall &call, std::uint32_t id)
    {
        korv::Result<Control> control = korv::queryControl(call, id);
        return control ? std::optional(std::move(control).value()) : std::nullopt;
    }

    std::optional<Control> continuous; ///< focus_automatic_continuous
    std::optional<Control> start; ///< auto_focus_start
    std::optional<Control> position; ///< focus_absolute
};

ExitCode writeValue(const ControlCall &call, const Control &control, std::int32_t value)
{
    const korv::Result<void> written = korv::writeControl(call, control, value);
    if (!written)
        printError(tr("cannot set %1", written.error().text));
    return written ? ExitCode::Success : ExitCode::Failure;
}

/// Makes the camera focus anew, whether or not it does so all the time.
ExitCode trigger(const ControlCall &call, const FocusControls &controls)
{
    if (controls.start && !controls.start->isInactive())
        return writeValue(call, *controls.start, 1);
    const ExitCode off = writeValue(call, *controls.continuous, 0);
    return off == ExitCode::Success ? writeValue(call, *controls.continuous, 1) : off;
}

/// Watches the live picture until its sharpness rests.
ExitCode awaitSharpness(LibrarySession &session, const Options &options, FrameReceiver &receiver)
{
    ReceivedFrame frame;
    SettledFrame settled;
    receiver.take(frame); // it may be older than the start of the focus
    auto deadline = Wakeup::Clock::now() + std::chrono::milliseconds(options.timeoutMs);
    bool any = false;
    ShownWait wait(options, session.wakeup(), [](std::chrono::milliseconds elapsed) {
        return tr("focusing, %1", clockText(elapsed));
    });
    for (;;) {
        const Wake wake = wait.await(receiver, frame, deadline);
        if (wake == Wake::Interrupted) {
            wait.clear();
            return session.interrupted();
        }
        if (wake == Wake::TimedOut && any)
            return ExitCode::Success;
        if (wake == Wake::TimedOut) {
            wait.clear();
            printError(tr("the camera sent no picture in %1 s", options.timeoutMs / 1000));
            return ExitCode::NoFrame;
        }
        any = true;
        if (settled.isGood(frame))
            return ExitCode::Success;
        deadline = settled.deadline();
    }
}

/// A lens moves only while its camera streams.
ExitCode focusWhileStreaming(LibrarySession &session, const Options &options, const Device &device,
                             const ControlCall &call, const FocusControls &controls)
{
    CameraStream camera(session, device);
    ExitCode code = camera.start();
    if (code == ExitCode::Success)
        code = trigger(call, controls);
    if (code == ExitCode::Success)
        code = awaitSharpness(session, options, camera.frames());
    if (code == ExitCode::Success && options.lock && controls.continuous)
        code = writeValue(call, *controls.continuous, 0);
    return code;
}

} // namespace

ExitCode focusOf(LibrarySession &session, const Options &options, const Device &device,
                 const ControlCall &call)
{
    const FocusControls controls(call);
    if (!controls.continuous && !controls.start) {
        printError(tr("%1 has no automatic focus that can be controlled: neither "
                      "focus_automatic_continuous nor auto_focus_start",
                      device.name));
        return ExitCode::Failure;
    }
    const ExitCode code = focusWhileStreaming(session, options, device, call, controls);
    if (code != ExitCode::Success)
        return code;
    const std::optional<std::int32_t> position =
        controls.position ? korv::readControl(call, *controls.position) : std::nullopt;
    session.print((options.lock ? tr("locked") : tr("focused"))
                  + (position ? "  focus_absolute=" + std::to_string(*position) : ""));
    return ExitCode::Success;
}

ExitCode focus(LibrarySession &session, const Options &options)
{
    ExitCode code = ExitCode::Success;
    const std::optional<Device> device = session.findDevice(code);
    if (!device)
        return code;
    return openControls(
        *device, [&](const ControlCall &call) { return focusOf(session, options, *device, call); });
}

} // namespace cli
