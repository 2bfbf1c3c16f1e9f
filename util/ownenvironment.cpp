#include "util/ownenvironment.h"

#include "util/mutex.h"

#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace ownenvironment {

namespace {

/// There is one environment in a process, hence one of these.
struct State
{
    Mutex mutex;
    /// None: was not set.
    std::map<std::string, std::optional<std::string>> before GUARDED_BY(mutex);
    int hidden GUARDED_BY(mutex) = 0;
    /// The environment while another one stands in its place.
    char **own GUARDED_BY(mutex) = nullptr;
    std::vector<std::string> texts GUARDED_BY(mutex);
    std::vector<char *> entries GUARDED_BY(mutex);
    std::vector<char *> copyOfOwn GUARDED_BY(mutex);
    /// Copies that have become the environment.
    std::vector<std::vector<char *>> inUse GUARDED_BY(mutex);
};

State &state()
{
    // never destroyed: at the end of the process somebody may still read the environment
    static State *const only = new State;
    return *only;
}

std::optional<std::string> valueOf(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

std::string nameIn(const std::string &entry)
{
    return entry.substr(0, entry.find('='));
}

/// The present entries but for those that were set here, and these as they were before.
void makeEntries(State &here) REQUIRES(here.mutex)
{
    here.texts.clear();
    here.entries.clear();
    here.copyOfOwn.clear();
    for (char **entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        here.copyOfOwn.push_back(*entry);
        if (here.before.count(nameIn(*entry)) == 0)
            here.entries.push_back(*entry);
    }
    for (const auto &[name, value] : here.before) {
        if (value)
            here.texts.push_back(name + '=' + *value);
    }
    for (std::string &text : here.texts)
        here.entries.push_back(text.data());
    here.entries.push_back(nullptr);
    here.copyOfOwn.push_back(nullptr);
}

} // namespace

void set(const char *name, const char *value)
{
    State &here = state();
    const MutexLock lock(here.mutex);
    here.before.emplace(name, valueOf(name)); // the first one stays
    if (value != nullptr)
        ::setenv(name, value, 1);
    else
        ::unsetenv(name);
}

void setDefault(const char *name, const char *value)
{
    if (std::getenv(name) == nullptr)
        set(name, value);
}

Hidden::Hidden()
{
    State &here = state();
    const MutexLock lock(here.mutex);
    if (here.hidden++ > 0 || here.before.empty())
        return;
    makeEntries(here);
    here.own = environ;
    environ = here.entries.data();
}

Hidden::~Hidden()
{
    State &here = state();
    const MutexLock lock(here.mutex);
    if (--here.hidden > 0 || here.own == nullptr)
        return;
    if (environ == here.entries.data()) {
        environ = here.own;
    } else {
        // setenv() has put a longer one in its place, and may have done so by moving the own one
        here.inUse.push_back(std::move(here.copyOfOwn));
        environ = here.inUse.back().data();
    }
    here.own = nullptr;
}

} // namespace ownenvironment
