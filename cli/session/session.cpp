#include "cli/session/session.h"

#include "cli/advice/advice.h"
#include "cli/advice/deskadvice.h"
#include "cli/advice/libraryadvice.h"
#include "cli/base/errors.h"
#include "cli/base/malloc_text.h"
#include "cli/base/translation.h"
#include "cli/session/deviceselection.h"
#include "library/settings/settings_values.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace cli {
namespace {

constexpr std::chrono::milliseconds kArrivalTime{500};
constexpr std::chrono::milliseconds kLookEvery{20};

std::string environment(const char *name)
{
    const char *const value = std::getenv(name);
    return value ? value : "";
}

constexpr char kCheckFocus[] = "KORV_CAMERA_CHECK_FOCUS";

/// Whether the user wants to hear of photographs that are out of focus; yes when nobody has said.
bool wantsFocusChecked()
{
    return korv::valueOf<bool>(environment(kCheckFocus)).value_or(true);
}

} // namespace

bool usesRealCameras()
{
    const std::string wanted = environment("KORV_CAMERA_REAL");
    return wanted == "1" || (wanted != "0" && simulatedDesk().empty());
}

std::string simulatedDesk()
{
    return environment("KORV_CAMERA_DESK");
}

LibrarySession::LibrarySession(const Options &options)
    : m_options(options)
    , m_trace(options.verbose ? Trace::Shown : Trace::Kept)
    , m_library(options.library.c_str())
{
}

void LibrarySession::close()
{
    if (std::exchange(m_initialised, false))
        m_library.UnInit();
    if (std::exchange(m_loaded, false))
        m_library.FreeLib();
}

ExitCode LibrarySession::open(FocusCheck focus)
{
    // read by the library when it is initialised
    if (!m_options.desk.empty())
        setenv("KORV_CAMERA_DESK", m_options.desk.c_str(), 1);
    if (m_options.verbose)
        setenv("KORV_LOG", "debug", 0); // unless the user has chosen a level
    if (m_options.clean)
        setenv("KORV_CAMERA_CLEAN", "yes", 1);
    if (focus == FocusCheck::Library)
        setenv(kCheckFocus, "yes", 0);
    m_examinesFocus = focus == FocusCheck::Caller && wantsFocusChecked();
    if (focus == FocusCheck::Caller)
        setenv(kCheckFocus, "no", 1);
    if (m_library.LoadLib() != 0) {
        const std::string words = adviceOnLibrary(m_options.library);
        printError(words.empty()
                       ? tr("cannot load the camera library %1", m_options.library)
                       : tr("cannot load the camera library %1: %2", m_options.library, words));
        return ExitCode::NoLibrary;
    }
    m_loaded = true;
    const ExitCode code = check(m_library.Init(), tr("initialise the camera library"));
    m_initialised = code == ExitCode::Success;
    return code;
}

std::vector<Device> LibrarySession::devices(const std::optional<std::string> &wanted)
{
    const auto deadline = Wakeup::Clock::now() + kArrivalTime;
    for (;;) {
        std::vector<Device> present = presentDevices();
        const bool found = wanted ? !matching(present, *wanted).empty() : !present.empty();
        if (found || Wakeup::Clock::now() >= deadline)
            return present;
        if (m_wakeup.wait(Wakeup::Clock::now() + kLookEvery) == Wake::Interrupted)
            return present;
    }
}

std::vector<Device> LibrarySession::presentDevices()
{
    const LibraryText json(m_library.GetOnLineDevList());
    return parseDevices(json.get());
}

bool LibrarySession::reportInaccessibleCameras(const SystemFolders &folders) const
{
    if (!usesRealCameras())
        return false;
    const std::vector<std::string> nodes = forbiddenNodes(folders);
    if (!nodes.empty())
        printError(adviceOnRights(nodes, rightsOf(nodes.front())));
    return !nodes.empty();
}

ExitCode LibrarySession::reportNoCamera() const
{
    if (reportInaccessibleCameras())
        return ExitCode::NoDevice;
    const std::string words = adviceOnDesk(simulatedDesk());
    printError(words.empty() ? tr("there is no camera; run `korvcam doctor` to find out why")
                             : tr("there is no camera; %1", words));
    return ExitCode::NoDevice;
}

std::optional<Device> LibrarySession::findDevice(ExitCode &code)
{
    const std::optional<std::string> &wanted = m_options.device;
    const std::vector<Device> present = devices(wanted);
    const std::vector<Device> meant = wanted ? matching(present, *wanted) : present;
    if (meant.size() == 1 || (!wanted && !meant.empty()))
        return meant.front();
    if (m_wakeup.stopSignal() != 0) {
        code = interrupted();
        return std::nullopt;
    }
    code = ExitCode::NoDevice;
    if (!wanted) {
        reportNoCamera();
    } else if (meant.empty()) {
        reportInaccessibleCameras();
        printError(tr("there is no camera %1; `korvcam list` shows those that are there", *wanted));
    } else {
        printError(tr("%1 means several cameras; name one by its index or its node:", *wanted));
        for (const Device &device : meant)
            printError(describeInFull(device));
    }
    return std::nullopt;
}

void LibrarySession::print(const std::string &line)
{
    std::FILE *const output = m_trace.output();
    errno = EBADF;
    const bool written =
        output && std::fprintf(output, "%s\n", line.c_str()) >= 0 && std::fflush(output) == 0;
    if (!written && m_outputWorks) {
        m_outputWorks = false;
        printError(tr("cannot write to standard output: %1", std::strerror(errno)));
    }
}

void LibrarySession::print(const std::string &text, const JsonLine &object)
{
    print(m_options.json ? object.text() : text);
}

void LibrarySession::printHeading(const std::string &text)
{
    if (!m_options.json)
        print(text);
}

int LibrarySession::outputDescriptor() const
{
    return m_trace.output() ? fileno(m_trace.output()) : -1;
}

ExitCode LibrarySession::check(int result, const std::string &doing) const
{
    if (result >= 0)
        return ExitCode::Success;
    printError(tr("cannot %1: %2", doing, std::strerror(-result)));
    return ExitCode::Failure;
}

ExitCode LibrarySession::checkCamera(int result, const std::string &doing) const
{
    const ExitCode code = check(result, doing);
    if (const std::string words = advice(result); result < 0 && !words.empty())
        printError(words);
    return code;
}

ExitCode LibrarySession::reportNoFrame() const
{
    printError(tr("the camera sent no picture in %1 s; run `korvcam doctor` to find out why",
                  m_options.timeoutMs / 1000));
    return ExitCode::NoFrame;
}

ExitCode LibrarySession::interrupted(const std::string &consequence) const
{
    switch (m_wakeup.stopSignal()) {
    case SIGTERM:
        printError(tr("terminated") + consequence);
        return ExitCode::Terminated;
    case SIGHUP:
        printError(tr("terminal closed") + consequence);
        return ExitCode::HungUp;
    default:
        printError(tr("interrupted") + consequence);
        return ExitCode::Interrupted;
    }
}

} // namespace cli
