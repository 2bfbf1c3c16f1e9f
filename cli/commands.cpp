#include "cli/commands.h"

#include "cli/doctor.h"
#include "cli/opendevice.h"
#include "cli/session.h"
#include "cli/snap.h"
#include "cli/watch.h"

#include <filesystem>
#include <system_error>

namespace cli {
namespace {

ExitCode list(Session &session)
{
    const std::vector<Device> devices = session.devices();
    for (const Device &device : devices)
        session.print(describe(device));
    const bool told = session.tellForbiddenCameras();
    if (devices.empty()) {
        if (!told)
            session.complain("there is no camera; `korvcam doctor` looks for the reason");
        return ExitCode::NoDevice;
    }
    return ExitCode::Success;
}

ExitCode modes(Session &session)
{
    const std::optional<Device> device = session.findDevice();
    if (!device)
        return ExitCode::NoDevice;
    const OpenDevice camera(session.library(), device->index);
    if (camera.result() < 0)
        return session.checkCamera(camera.result(), "open " + device->name);
    const int current = session.library().GetCurResolutionNo(device->index);
    for (const _tag_unit_cam_res_unit &mode : camera.modes()) {
        session.print(std::to_string(mode.res_no) + "  " + sizeText(mode.res_w, mode.res_h)
                      + (mode.res_no == current ? " *" : ""));
    }
    return ExitCode::Success;
}

ExitCode setQuality(Session &session, const Options &options)
{
    return options.quality
        ? session.check(session.library().SetImageJPGQuality(*options.quality), "set the quality")
        : ExitCode::Success;
}

/// Prints the name of the new file. Where it was taken the library chose another one, which only
/// the library can tell, and does, on standard error.
void printNewFile(Session &session, const std::string &name, bool wasTaken,
                  const std::string &remark = {})
{
    if (!wasTaken)
        session.print(name + remark);
}

bool isTaken(const std::string &name)
{
    std::error_code unknown;
    return std::filesystem::exists(name, unknown);
}

ExitCode convert(Session &session, const Options &options)
{
    const std::string &source = options.sources.front();
    const bool wasTaken = isTaken(options.destination);
    ExitCode code = setQuality(session, options);
    if (code == ExitCode::Success)
        code = session.check(
            session.library().ConvertImagetoImage(source.c_str(), options.destination.c_str()),
            "convert " + source + " to " + options.destination);
    if (code == ExitCode::Success)
        printNewFile(session, options.destination, wasTaken);
    return code;
}

ExitCode combine(Session &session, const Options &options)
{
    const bool wasTaken = isTaken(options.destination);
    ExitCode code = setQuality(session, options);
    for (const std::string &source : options.sources) {
        if (code == ExitCode::Success)
            code = session.check(session.library().AddImageFiletoMultiFile(source.c_str()),
                                 "add " + source);
    }
    if (code == ExitCode::Success)
        code = session.check(session.library().CombineMultiFile(options.destination.c_str()),
                             "write " + options.destination);
    const std::size_t pages = options.sources.size();
    if (code == ExitCode::Success)
        printNewFile(session, options.destination, wasTaken,
                     ": " + std::to_string(pages) + (pages == 1 ? " page" : " pages"));
    return code;
}

} // namespace

ExitCode run(const Options &options)
{
    Session session(options);
    const ExitCode code = session.open();
    if (code != ExitCode::Success)
        return code;
    switch (options.command) {
    case Command::List:
        return list(session);
    case Command::Modes:
        return modes(session);
    case Command::Snap:
        return snap(session, options);
    case Command::Doctor:
        return doctor(session, options);
    case Command::Convert:
        return convert(session, options);
    case Command::Combine:
        return combine(session, options);
    case Command::Watch:
        return watch(session, options);
    }
    return ExitCode::Failure;
}

} // namespace cli
