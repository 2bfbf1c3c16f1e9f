#include "library/api/process_manager.h"

#include "library/api/monitors.h"
#include "library/base/log.h"
#include "library/settings/settings_reader.h"

#include <cstddef>
#include <new>
#include <pthread.h>

namespace korv {
namespace {

alignas(Manager) std::byte storage[sizeof(Manager)];

Manager &manager()
{
    return *std::launder(reinterpret_cast<Manager *>(storage));
}

Settings settingsOfThisProcess()
{
    SettingsReading reading = readSettings(settingsPaths());
    for (const std::string &problem : reading.problems)
        logLine(problem);
    return std::move(reading.settings);
}

/// Also over an earlier one, which is left as it is.
void makeManager()
{
    ::new (storage) Manager(availableMonitors, settingsOfThisProcess);
}

/// Its destructor runs as the process ends, before those of what the program made earlier.
struct EndOfProcess
{
    EndOfProcess()
    {
        makeManager();
        if (::pthread_atfork(nullptr, nullptr, makeManager) != 0)
            throw std::bad_alloc();
    }
    ~EndOfProcess() { manager().endWithProcess(); }
    EndOfProcess(const EndOfProcess &) = delete;
    EndOfProcess &operator=(const EndOfProcess &) = delete;
};

} // namespace

Manager &processManager()
{
    static const EndOfProcess end;
    return manager();
}

} // namespace korv
