#include "cli/session.h"

#include "cli/advice.h"
#include "cli/freetext.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace cli {
namespace {

constexpr std::chrono::milliseconds kArrivalTime{500};
constexpr std::chrono::milliseconds kLookEvery{20};

std::string environment(const char *name)
{
    const char *const value = std::getenv(name);
    return value ? value : "";
}

/// The library's rule: a desk takes the place of the cameras, unless told otherwise.
bool usesRealCameras()
{
    const std::string wanted = environment("KORV_CAMERA_REAL");
    return wanted == "1" || (wanted != "0" && environment("KORV_CAMERA_DESK").empty());
}

} // namespace

Session::Session(const Options &options)
    : m_options(options)
    , m_trace(options.verbose ? Trace::Shown : Trace::Kept)
    , m_library(options.library.c_str())
{
}

Session::~Session()
{
    if (m_initialised)
        m_library.UnInit();
    if (m_loaded)
        m_library.FreeLib();
}

ExitCode Session::open()
{
    // read by the library when it is initialised
    if (!m_options.desk.empty())
        setenv("KORV_CAMERA_DESK", m_options.desk.c_str(), 1);
    if (m_library.LoadLib() != 0) {
        complain("cannot load the camera library " + m_options.library);
        std::fputs(m_trace.kept().c_str(), stderr);
        return ExitCode::NoLibrary;
    }
    m_loaded = true;
    const ExitCode code = check(m_library.Init(), "initialise the camera library");
    m_initialised = code == ExitCode::Success;
    return code;
}

std::vector<Device> Session::devices(std::optional<int> wanted)
{
    const auto deadline = Wakeup::Clock::now() + kArrivalTime;
    for (;;) {
        const LibraryText json(m_library.GetOnLineDevList());
        std::vector<Device> present = parseDevices(json.get());
        const bool found = wanted
            ? std::any_of(present.begin(), present.end(),
                          [&](const Device &device) { return device.index == *wanted; })
            : !present.empty();
        if (found || Wakeup::Clock::now() >= deadline)
            return present;
        if (m_wakeup.wait(Wakeup::Clock::now() + kLookEvery) == Wake::Interrupted)
            return present;
    }
}

bool Session::tellForbiddenCameras(const SystemFolders &folders) const
{
    if (!usesRealCameras())
        return false;
    const std::vector<std::string> nodes = forbiddenNodes(folders);
    if (!nodes.empty())
        complain(adviceOnRights(nodes, rightsOf(nodes.front())));
    return !nodes.empty();
}

std::optional<Device> Session::findDevice()
{
    for (Device &device : devices(m_options.device)) {
        if (!m_options.device || device.index == *m_options.device)
            return std::move(device);
    }
    const bool told = tellForbiddenCameras();
    if (m_options.device)
        complain("there is no camera " + std::to_string(*m_options.device));
    else if (!told)
        complain("there is no camera; `korvcam doctor` looks for the reason");
    return std::nullopt;
}

void Session::print(const std::string &line)
{
    std::fprintf(m_trace.output(), "%s\n", line.c_str());
    std::fflush(m_trace.output());
}

void Session::complain(const std::string &line) const
{
    std::fprintf(stderr, "korvcam: %s\n", line.c_str());
}

ExitCode Session::check(int result, const std::string &doing) const
{
    if (result >= 0)
        return ExitCode::Success;
    complain("cannot " + doing + ": " + std::strerror(-result));
    return ExitCode::Failure;
}

ExitCode Session::checkCamera(int result, const std::string &doing) const
{
    const ExitCode code = check(result, doing);
    if (const std::string words = advice(result); result < 0 && !words.empty())
        complain(words);
    return code;
}

} // namespace cli
