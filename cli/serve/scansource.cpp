#include "cli/serve/scansource.h"

#include "cli/base/librarycall.h"
#include "cli/base/temporaryfolder.h"
#include "cli/base/translation.h"
#include "cli/serve/pagerenderer.h"
#include "cli/session/deviceselection.h"
#include "cli/session/framereceiver.h"
#include "cli/session/jpegsize.h"
#include "cli/session/opendevice.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>
#include <sstream>

namespace cli {
namespace {

constexpr int kStandardQuality = 90;
constexpr int kBestQuality = 100; // of the photograph that the scan is made from

ScanOutcome failure(std::string reason)
{
    return {nullptr, false, std::move(reason)};
}

/// What a refusal of the library means for a job.
ScanOutcome refusal(int result, const std::string &doing)
{
    return {nullptr, result == -EBUSY, tr("cannot %1: %2", doing, std::strerror(-result))};
}

std::string contentsOf(const std::string &path)
{
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

CameraFacts factsOf(const Device &device, const OpenDevice &camera)
{
    CameraFacts facts;
    facts.name = device.name;
    for (const _tag_unit_cam_res_unit &mode : camera.modes()) {
        if (mode.res_w > facts.width) {
            facts.width = mode.res_w;
            facts.height = mode.res_h;
        }
    }
    return facts;
}

/// The number of the largest mode; nothing when the camera names none.
std::optional<int> largestMode(const OpenDevice &camera)
{
    const std::vector<_tag_unit_cam_res_unit> modes = camera.modes();
    const auto largest = std::max_element(
        modes.begin(), modes.end(), [](auto &one, auto &other) { return one.res_w < other.res_w; });
    return largest == modes.end() ? std::nullopt : std::optional(largest->res_no);
}

} // namespace

ScanSource::ScanSource(LibrarySession &session, const Options &options)
    : m_session(session)
    , m_options(options)
{
}

std::optional<Device> ScanSource::findDevice()
{
    std::vector<Device> devices = m_session.devices(m_options.device);
    if (m_options.device)
        devices = matching(devices, *m_options.device);
    return devices.empty() ? std::nullopt : std::optional(devices.front());
}

std::optional<CameraFacts> ScanSource::lookAtCamera()
{
    const std::optional<Device> device = findDevice();
    if (!device)
        return std::nullopt;
    const OpenDevice camera(m_session.library(), device->index);
    if (camera.result() >= 0)
        return factsOf(*device, camera);
    CameraFacts nameOnly;
    nameOnly.name = device->name;
    return nameOnly;
}

ScanOutcome ScanSource::scan(const ScanSettings &settings)
{
    try {
        const std::optional<Device> device = findDevice();
        return device ? photograph(*device, settings) : failure(tr("there is no camera"));
    } catch (const std::exception &error) {
        return failure(tr("cannot make the scan: %1", error.what()));
    }
}

std::string ScanSource::setOptions(const ScanSettings &settings)
{
    CCameraSDK &library = m_session.library();
    const bool accepted = library.SetImageColorStyle(static_cast<int>(settings.color)) >= 0
        && library.SetImageJPGQuality(kBestQuality) >= 0 && library.SetAutoCrop(m_options.crop) >= 0
        && library.SetImageRotateMode(m_options.rotation) >= 0;
    return accepted ? std::string() : tr("the camera library refused an option");
}

ScanOutcome ScanSource::photograph(const Device &device, const ScanSettings &settings)
{
    CCameraSDK &library = m_session.library();
    FrameReceiver receiver(m_session.wakeup());
    ReceivedFrame frame;
    {
        const OpenDevice camera(library, device.index);
        if (camera.result() < 0)
            return refusal(camera.result(), tr("open %1", device.name));
        if (const std::optional<int> mode = largestMode(camera)) {
            const int result = library.SetCurResolutionNo(device.index, *mode);
            if (result < 0)
                return refusal(result, tr("select the largest picture"));
        }
        const int result = library.StartCapture(device.index, &FrameReceiver::onFrame);
        if (result < 0)
            return refusal(result, tr("start %1", device.name));
        const auto deadline = Wakeup::Clock::now() + std::chrono::milliseconds(m_options.timeoutMs);
        if (receiver.await(frame, deadline) != Wake::Notified)
            return failure(tr("the camera sent no picture"));
    }
    if (const std::string problem = setOptions(settings); !problem.empty())
        return failure(problem);
    return save(settings, frame);
}

ScanOutcome ScanSource::save(const ScanSettings &settings, ReceivedFrame &frame)
{
    const TemporaryFolder folder;
    if (folder.error() != 0)
        return failure(tr("cannot make a temporary folder: %1", std::strerror(folder.error())));
    const std::string photograph = folder.pathOf("photograph.jpg");
    Answer answer = askLibrary(m_options.verbose, [&] {
        return m_session.library().SaveVideoData(frame.jpeg.data(), frame.width, frame.height, 0,
                                                 photograph.c_str());
    });
    if (answer.result < 0)
        return refusal(answer.result, tr("save the photograph"));
    const bool isSheet =
        m_options.crop >= 0 && !isWhole(jpegSize(photograph), frame.width, frame.height);
    ScanOutcome outcome = renderPage(contentsOf(photograph), isSheet, settings,
                                     m_options.quality.value_or(kStandardQuality));
    if (!outcome.page || settings.format == ScanFormat::Jpeg)
        return outcome;
    const std::string page = folder.pathOf("page.jpg");
    const std::string document = folder.pathOf("scan.pdf");
    std::ofstream(page, std::ios::binary) << outcome.page->bytes;
    answer = askLibrary(m_options.verbose, [&] {
        return m_session.library().ConvertImagetoImage(page.c_str(), document.c_str());
    });
    if (answer.result < 0)
        return refusal(answer.result, tr("make the document"));
    outcome.page = std::make_shared<ScannedPage>(
        ScannedPage{contentsOf(document), outcome.page->width, outcome.page->height});
    return outcome;
}

} // namespace cli
