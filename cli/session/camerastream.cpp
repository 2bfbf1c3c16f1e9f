#include "cli/session/camerastream.h"

#include "cli/base/errors.h"
#include "cli/base/translation.h"

namespace cli {
namespace {

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

CameraStream::CameraStream(LibrarySession &session, const Device &device)
    : m_session(session)
    , m_device(device)
    , m_frames(session.wakeup())
    , m_camera(session.library(), device.index)
{
}

ExitCode CameraStream::checkOpened() const
{
    return m_session.checkCamera(m_camera.result(), tr("open %1", m_device.name));
}

ExitCode CameraStream::startOpened()
{
    return m_session.checkCamera(
        m_session.library().StartCapture(m_device.index, &FrameReceiver::onFrame),
        tr("start %1", m_device.name));
}

ExitCode CameraStream::selectResolution(const Options &options) const
{
    if (!options.resolution)
        return ExitCode::Success;
    const auto [width, height] = *options.resolution;
    for (const _tag_unit_cam_res_unit &mode : m_camera.modes()) {
        if (mode.res_w == width && mode.res_h == height)
            return m_session.check(
                m_session.library().SetCurResolutionNo(m_device.index, mode.res_no),
                tr("select %1", sizeText(width, height)));
    }
    printError(tr("the camera does not offer %1; see `korvcam modes`", sizeText(width, height)));
    return ExitCode::Failure;
}

ExitCode CameraStream::start()
{
    const ExitCode code = checkOpened();
    return code == ExitCode::Success ? startOpened() : code;
}

ExitCode CameraStream::startPhotographing(const Options &options)
{
    ExitCode code = checkOpened();
    if (code == ExitCode::Success)
        code = selectResolution(options);
    if (code == ExitCode::Success)
        code = setPhotographOptions(m_session, options);
    return code == ExitCode::Success ? startOpened() : code;
}

} // namespace cli
