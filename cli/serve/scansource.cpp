#include "cli/serve/scansource.h"

#include "cli/base/filecontent.h"
#include "cli/base/temporaryfolder.h"
#include "cli/base/translation.h"
#include "cli/calls/librarycall.h"
#include "cli/scan/turnwatch.h"
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

namespace cli {
namespace {

constexpr int kStandardQuality = 90;
constexpr int kBestQuality = 100; // of the photograph that the scan is made from
constexpr std::chrono::minutes kMaxUnrest{10}; // without a page, for a desk that never rests
constexpr const char *kNoCamera = trLater("there is no camera");

ScanOutcome failure(std::string reason)
{
    return {nullptr, false, std::move(reason)};
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

bool ScanSource::hasCamera() const
{
    const std::vector<Device> present = m_session.presentDevices();
    return m_options.device ? !matching(present, *m_options.device).empty() : !present.empty();
}

ScanOutcome ScanSource::scan(const ScanSettings &settings)
{
    try {
        const std::optional<Device> device = findDevice();
        return device ? photograph(*device, settings) : failure(tr(kNoCamera));
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
    ReceivedFrame frame;
    {
        ScanStream stream(m_session, device);
        if (!stream.problem().reason.empty())
            return stream.problem();
        const auto deadline = Wakeup::Clock::now() + std::chrono::milliseconds(m_options.timeoutMs);
        while (!stream.frames().take(frame)) {
            const std::string problem = stream.await(0, deadline);
            if (!problem.empty())
                return failure(problem);
        }
    }
    return makePage(settings, frame);
}

ScanOutcome ScanSource::feed(const ScanSettings &settings, const FeederClient &client)
{
    try {
        const std::optional<Device> device = findDevice();
        if (!device)
            return failure(tr(kNoCamera));
        ScanStream stream(m_session, *device);
        return stream.problem().reason.empty() ? watchTurns(stream, settings, client)
                                               : stream.problem();
    } catch (const std::exception &error) {
        return failure(tr("cannot make the scan: %1", error.what()));
    }
}

ScanOutcome ScanSource::watchTurns(ScanStream &stream, const ScanSettings &settings,
                                   const FeederClient &client)
{
    using Feeding = ScanJobs::Feeding;
    using std::chrono::milliseconds;
    TurnWatch turns;
    ReceivedFrame frame;
    unsigned long seen = 0;
    auto frameAt = Wakeup::Clock::now();
    auto pageAt = frameAt;
    auto stillSince = frameAt;
    for (Feeding feeding = client.feeding(); feeding != Feeding::Over; feeding = client.feeding()) {
        const std::string problem = stream.await(seen, frameAt + milliseconds(m_options.timeoutMs));
        if (!problem.empty())
            return failure(problem);
        client.rest();
        const auto now = Wakeup::Clock::now();
        if (stream.frames().count() == seen)
            continue;
        seen = stream.frames().count();
        frameAt = now;
        if (feeding == Feeding::Later)
            pageAt = stillSince = now; // what was turned meanwhile is still to be taken
        if (feeding == Feeding::Later || !turns.wantsFrame() || !stream.frames().takeBare(frame))
            continue;
        const Sight sight = turns.look(frame);
        if (sight == Sight::Turned) {
            FrameReceiver::makeRoom(frame);
            ScanOutcome outcome = makePage(settings, frame);
            if (!outcome.page)
                return outcome;
            turns.taken(frame);
            client.deliver(std::move(outcome.page));
            pageAt = Wakeup::Clock::now();
        }
        if (sight != Sight::Waiting)
            stillSince = Wakeup::Clock::now();
        if (now >= stillSince + milliseconds(m_options.stillMs) || now >= pageAt + kMaxUnrest)
            return {};
    }
    return {};
}

ScanOutcome ScanSource::makePage(const ScanSettings &settings, ReceivedFrame &frame)
{
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
    ScanOutcome outcome = renderPage(contentOf(photograph), isSheet, settings,
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
        ScannedPage{contentOf(document), outcome.page->width, outcome.page->height});
    return outcome;
}

} // namespace cli
