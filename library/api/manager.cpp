#include "library/api/manager.h"

#include "library/api/callback_scope.h"
#include "library/api/environment_values.h"
#include "library/api/wanted_recogniser.h"
#include "library/base/exception_error.h"
#include "library/base/log.h"
#include "library/base/step_times.h"
#include "library/export/convert.h"
#include "library/files/atomic_file.h"
#include "library/files/file_names.h"
#include "library/jpeg/jpeg.h"
#include "library/values/utf8.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <utility>

namespace korv {
namespace {

Error outOfRange(const char *what, int value)
{
    return Error{-EINVAL, std::string(what) + " " + std::to_string(value) + " is out of range"};
}

Error processEnds()
{
    return Error{-ENODEV, "the process is ending"};
}

Error notInitialised()
{
    return Error{-ENODEV, "the library is not initialised"};
}

Error insideCallback()
{
    return Error{-EDEADLK, "called from inside a callback that it would wait for"};
}

bool isInsideAnyCallback()
{
    return CallbackScope::ofThisThread() != CallbackScope::Kind::None;
}

} // namespace

Manager::Manager(MonitorFactory monitors, SettingsReader readSettings)
    : m_monitors(std::move(monitors))
    , m_readSettings(std::move(readSettings))
{
}

Manager::~Manager()
{
    static_cast<void>(uninitialise());
}

// ---- life cycle ----

void Manager::beginChange(MutexLock &lock)
{
    while (m_state == State::Changing)
        m_stateChanged.wait(lock);
}

void Manager::endChange(std::shared_ptr<Session> session)
{
    const MutexLock lock(m_stateMutex);
    m_state = session ? State::Ready : State::Down;
    m_session = std::move(session);
    m_stateChanged.notifyAll();
}

Result<void> Manager::initialise()
{
    {
        MutexLock lock(m_stateMutex);
        if (m_processEnds)
            return processEnds();
        if (isInsideAnyCallback())
            return insideCallback();
        beginChange(lock);
        if (m_state == State::Ready)
            return {};
        m_state = State::Changing;
    }
    try {
        setSettings(m_readSettings ? m_readSettings() : Settings());
        const std::shared_ptr<const Settings> wanted = settings();
        std::shared_ptr<TextRecogniser> recogniser = wantedRecogniser(*wanted);
        auto session = std::make_shared<Session>(m_monitors(*wanted),
                                                 wanted->settle ? StreamReceiver::From::Settled
                                                                : StreamReceiver::From::First);
        Result<void> started = session->start();
        if (started)
            setRecogniser(std::move(recogniser));
        else
            session.reset();
        endChange(std::move(session));
        return started;
    } catch (...) {
        endChange(nullptr);
        throw;
    }
}

Result<void> Manager::uninitialise()
{
    std::shared_ptr<Session> session;
    {
        MutexLock lock(m_stateMutex);
        if (isInsideAnyCallback())
            return m_state == State::Down ? notInitialised() : insideCallback();
        beginChange(lock);
        if (m_state == State::Down)
            return notInitialised();
        m_state = State::Changing;
        session = std::move(m_session);
    }
    session->shutDown();
    {
        const MutexLock lock(m_optionsMutex);
        m_options = {};
    }
    setSettings({});
    setRecogniser(nullptr);
    {
        const MutexLock lock(m_documentMutex);
        m_document.clear();
    }
    endChange(nullptr);
    return {};
}

void Manager::endWithProcess() noexcept
{
    try {
        MutexLock lock(m_stateMutex);
        m_processEnds = true;
        if (!isInsideAnyCallback()) {
            lock.unlock();
            static_cast<void>(uninitialise());
            return;
        }
        // what waits for this callback waits for ever, so nothing of the session can be destroyed
        m_abandoned = std::move(m_session);
        const std::shared_ptr<Session> abandoned = m_abandoned;
        if (m_state == State::Ready)
            m_state = State::Down;
        lock.unlock();
        if (abandoned)
            abandoned->silence();
    } catch (...) { // the process ends anyway
        logLine(LogLevel::Error, "could not end the session", errorInFlight().text);
    }
}

Result<std::shared_ptr<Session>> Manager::session() const
{
    const MutexLock lock(m_stateMutex);
    if (!m_session)
        return notInitialised();
    return m_session;
}

Result<std::shared_ptr<Session>> Manager::sessionForChange() const
{
    auto found = session();
    if (found && CallbackScope::ofThisThread() == CallbackScope::Kind::Frame)
        return insideCallback();
    return found;
}

// ---- options ----

Result<void> Manager::setColour(int colour)
{
    if (colour < 0 || colour > 2)
        return outOfRange("colour", colour);
    const MutexLock lock(m_optionsMutex);
    m_options.colour = static_cast<ColourStyle>(colour);
    return {};
}

Result<void> Manager::setQuality(int quality)
{
    if (quality < 1 || quality > 100)
        return outOfRange("quality", quality);
    const MutexLock lock(m_optionsMutex);
    m_options.quality = quality;
    return {};
}

Result<void> Manager::setCrop(int mode)
{
    if (mode != static_cast<int>(CropMode::Off) && mode != static_cast<int>(CropMode::Auto))
        return outOfRange("crop mode", mode);
    const MutexLock lock(m_optionsMutex);
    m_options.crop = static_cast<CropMode>(mode);
    return {};
}

Result<void> Manager::setRotation(int mode)
{
    if (mode < 0 || mode > 3)
        return outOfRange("rotation", mode);
    const MutexLock lock(m_optionsMutex);
    m_options.rotation = static_cast<Rotation>(mode);
    return {};
}

PhotographOptions Manager::options() const
{
    const MutexLock lock(m_optionsMutex);
    return m_options;
}

void Manager::setSettings(Settings settings)
{
    auto kept = std::make_shared<const Settings>(std::move(settings));
    const MutexLock lock(m_optionsMutex);
    m_settings = std::move(kept);
}

/// Ends the work of the one before.
void Manager::setRecogniser(std::shared_ptr<TextRecogniser> recogniser)
{
    {
        const MutexLock lock(m_optionsMutex);
        m_recogniser.swap(recogniser);
    }
    if (recogniser)
        recogniser->stop();
}

/// None when the process ends, because OpenCV's own globals may be destroyed by then.
std::shared_ptr<TextRecogniser> Manager::recogniser() const
{
    const MutexLock lock(m_optionsMutex);
    return m_processEnds ? nullptr : m_recogniser;
}

std::shared_ptr<const Settings> Manager::settings() const
{
    const MutexLock lock(m_optionsMutex);
    return m_settings;
}

// ---- pictures and files ----

/// A frame does not say where it comes from. While one device streams it can only be that one's.
void Manager::describeOrigin(PhotographOptions &options, int width, int height) const
{
    options.details.taken = std::time(nullptr);
    const auto present = session();
    if (!present)
        return;
    if (const auto device = present.value()->streamingDevice()) {
        options.details.camera = device->name;
        options.scale = settings()->scale(device->vid, device->pid, width, height);
    }
}

Result<void> Manager::savePhotograph(const void *frame, int width, int height,
                                     const std::string &path)
{
    if (!frame || width <= 0 || height <= 0)
        return Error{-EINVAL, "no frame, or a frame without a size"};
    if (path.empty())
        return Error{-EINVAL, "no path"};
    if (!isSupportedSize(width, height))
        return Error{-EFBIG, "the frame is too large"};
    const std::size_t room = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3;
    PhotographOptions wanted = options();
    wanted.clean = fromEnvironment("KORV_CAMERA_CLEAN", settings()->clean)
        && wanted.colour != ColourStyle::Lineart;
    wanted.reportFocus =
        !m_processEnds && fromEnvironment("KORV_CAMERA_CHECK_FOCUS", settings()->checkFocus);
    // OpenCV's own globals may be destroyed by now
    if (m_processEnds
        && (wanted.crop == CropMode::Auto || wanted.colour == ColourStyle::Lineart || wanted.clean))
        return processEnds();
    Bytes storage;
    describeOrigin(wanted, width, height);
    const Result<ByteView> photograph = makePhotograph(ByteView(frame, room), wanted, storage);
    if (!photograph)
        return photograph.error();
    m_leftOvers.clearOnce(folderOf(path));
    StepTimes times("photograph");
    // a file under a working name is a photograph that its program has lost track of
    Result<void> written = writeFileAtomically(
        path, photograph.value(), isWorkingFile(path) ? Existing::Recover : Existing::Replace);
    times.ended("write the file");
    if (const auto recogniser = this->recogniser(); written && recogniser) {
        recogniser->begin(photograph.value());
        times.ended("begin to recognise the text");
    }
    return written;
}

/// The settings, before which the environment goes, for a document that is made now.
DocumentSettings Manager::documentSettings(const std::string &destination) const
{
    const std::shared_ptr<const Settings> inForce = settings();
    DocumentSettings wanted;
    wanted.title = cleanUtf8(inForce->title);
    wanted.sheet = inForce->pageSize;
    if (const auto reader = recogniser()) {
        wanted.text = reader->options().isForText ? reader : nullptr;
        wanted.upright = reader->options().turned == TurnedPages::All ? reader : nullptr;
    }
    if (const char *const progress = ::secure_getenv("KORV_CAMERA_PROGRESS"))
        wanted.progressFile = progress;
    wanted.compact = fromEnvironment("KORV_CAMERA_COMPACT", inForce->compact);
    if (wanted.compact && m_processEnds) {
        wanted.compact = false; // OpenCV's own globals may be destroyed by now
        logLine(LogLevel::Warning, destination, "not made compact: the process is ending");
    }
    return wanted;
}

Result<void> Manager::saveRgb(const void *pixels, int width, int height, const std::string &path)
{
    if (!pixels || width <= 0 || height <= 0)
        return Error{-EINVAL, "no pixels, or a picture without a size"};
    if (!isSupportedSize(width, height))
        return Error{-EFBIG, "the picture is too large"};
    Image image(width, height, PixelFormat::Rgb24);
    std::memcpy(image.pixels(), pixels, image.stride() * static_cast<std::size_t>(height));
    m_leftOvers.clearOnce(folderOf(path));
    return writeImage(image, path, options().quality, documentSettings(path));
}

Result<void> Manager::convert(const std::string &source, const std::string &destination)
{
    m_leftOvers.clearOnce(folderOf(destination));
    DocumentSettings wanted = documentSettings(destination);
    wanted.clean = fromEnvironment("KORV_CAMERA_CLEAN_FILES", false);
    if (wanted.clean && m_processEnds) {
        wanted.clean = false; // OpenCV's own globals may be destroyed by now
        logLine(LogLevel::Warning, source,
                "converted without evening out its light: the process is ending");
    }
    return convertImage(source, destination, options().quality, wanted);
}

Result<void> Manager::addPage(const std::string &source)
{
    const MutexLock lock(m_documentMutex);
    return m_document.add(source);
}

Result<void> Manager::combine(const std::string &destination)
{
    const int quality = options().quality;
    const DocumentSettings wanted = documentSettings(destination);
    m_leftOvers.clearOnce(folderOf(destination));
    const MutexLock lock(m_documentMutex);
    return m_document.combine(destination, quality, wanted);
}

} // namespace korv
