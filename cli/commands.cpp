#include "cli/commands.h"

#include "cli/base/errors.h"
#include "cli/base/translation.h"
#include "cli/calibrate.h"
#include "cli/config.h"
#include "cli/controls.h"
#include "cli/doctor.h"
#include "cli/documents/files.h"
#include "cli/focus.h"
#include "cli/scan/scan.h"
#include "cli/session/opendevice.h"
#include "cli/session/session.h"
#include "cli/snap.h"
#include "cli/watch.h"

#include <algorithm>
#include <unistd.h>

namespace cli {
namespace {

ExitCode list(LibrarySession &session)
{
    const std::vector<Device> devices = session.devices();
    for (const Device &device : devices)
        session.print(describeInFull(device), objectOf(device));
    if (devices.empty())
        return session.wakeup().stopSignal() != 0 ? session.interrupted()
                                                  : session.reportNoCamera();
    session.reportInaccessibleCameras();
    return ExitCode::Success;
}

ExitCode modes(LibrarySession &session)
{
    ExitCode code = ExitCode::Success;
    const std::optional<Device> device = session.findDevice(code);
    if (!device)
        return code;
    const OpenDevice camera(session.library(), device->index);
    if (camera.result() < 0)
        return session.checkCamera(camera.result(), tr("open %1", device->name));
    const int current = session.library().GetCurResolutionNo(device->index);
    for (const _tag_unit_cam_res_unit &mode : camera.modes()) {
        JsonLine object;
        object.add("number", mode.res_no).add("width", mode.res_w).add("height", mode.res_h);
        object.add("current", mode.res_no == current);
        session.print(std::to_string(mode.res_no) + "  " + sizeText(mode.res_w, mode.res_h)
                          + (mode.res_no == current ? " *" : ""),
                      object);
    }
    return ExitCode::Success;
}

ExitCode carryOut(LibrarySession &session, const Options &options)
{
    // these load the library in a process of their own
    if (options.command == Command::Convert)
        return convert(session, options);
    if (options.command == Command::Combine)
        return combine(session, options);
    if (options.command == Command::Text)
        return addText(session, options);
    if (options.command == Command::Scan)
        return scan(session, options);
    // about files only
    if (options.command == Command::Config)
        return config(session);
    const bool reportsFocus =
        options.command == Command::Snap || options.command == Command::Doctor;
    const ExitCode opened = session.open(reportsFocus ? FocusCheck::Library : FocusCheck::Off);
    if (options.command == Command::Doctor)
        return doctor(session, options, opened);
    if (opened != ExitCode::Success)
        return opened;
    switch (options.command) {
    case Command::List:
        return list(session);
    case Command::Modes:
        return modes(session);
    case Command::Snap:
        return snap(session, options);
    case Command::Watch:
        return watch(session, options);
    case Command::Calibrate:
        return calibrate(session, options);
    case Command::Controls:
        return controls(session, options);
    case Command::Focus:
        return focus(session, options);
    default:
        return ExitCode::Failure;
    }
}

/// Whether a picture comes through standard input.
bool readsInput(const Options &options)
{
    return std::find(options.sources.begin(), options.sources.end(), "-") != options.sources.end();
}

} // namespace

ExitCode run(const Options &options)
{
    if (options.writesToOutput() && isatty(STDOUT_FILENO) == 1) {
        printError(tr("standard output is a terminal; send the file on with > or |"));
        return ExitCode::Usage;
    }
    if (readsInput(options) && isatty(STDIN_FILENO) == 1) {
        printError(tr("standard input is a terminal; send a picture into it with < or |"));
        return ExitCode::Usage;
    }
    LibrarySession session(options);
    const ExitCode code = carryOut(session, options);
    // what nobody could read is not done
    return code == ExitCode::Success && !session.outputWorks() ? ExitCode::Failure : code;
}

} // namespace cli
