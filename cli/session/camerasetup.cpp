#include "cli/session/camerasetup.h"

#include "cli/base/errors.h"
#include "cli/base/translation.h"
#include "cli/session/framereceiver.h"

namespace cli {
namespace {

ExitCode selectResolution(LibrarySession &session, const Options &options, const OpenDevice &camera,
                          int index)
{
    if (!options.resolution)
        return ExitCode::Success;
    const auto [width, height] = *options.resolution;
    for (const _tag_unit_cam_res_unit &mode : camera.modes()) {
        if (mode.res_w == width && mode.res_h == height)
            return session.check(session.library().SetCurResolutionNo(index, mode.res_no),
                                 tr("select %1", sizeText(width, height)));
    }
    printError(tr("the camera does not offer %1; see `korvcam modes`", sizeText(width, height)));
    return ExitCode::Failure;
}

ExitCode setPhotographOptions(LibrarySession &session, const Options &options)
{
    CCameraSDK &library = session.library();
    ExitCode code = ExitCode::Success;
    if (options.quality)
        code = session.check(library.SetImageJPGQuality(*options.quality), tr("set the quality"));
    if (code == ExitCode::Success)
        code = session.check(library.SetAutoCrop(options.crop), tr("set the crop mode"));
    if (code == ExitCode::Success)
        code = session.check(library.SetImageRotateMode(options.rotation), tr("set the rotation"));
    if (code == ExitCode::Success)
        code = session.check(library.SetImageColorStyle(options.color), tr("set the colour mode"));
    return code;
}

} // namespace

ExitCode startPhotographing(LibrarySession &session, const Options &options,
                            const OpenDevice &camera, const Device &device)
{
    ExitCode code = selectResolution(session, options, camera, device.index);
    if (code == ExitCode::Success)
        code = setPhotographOptions(session, options);
    if (code == ExitCode::Success)
        code = session.checkCamera(
            session.library().StartCapture(device.index, &FrameReceiver::onFrame),
            tr("start %1", device.name));
    return code;
}

} // namespace cli
