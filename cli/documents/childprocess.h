#pragma once

#include "cli/base/wakeup.h"

#include <functional>
#include <string>
#include <sys/types.h>

namespace cli {

/// How work in a child process ended.
enum class ChildEnd { Done, Crashed, Interrupted, NotStarted };

struct ChildResult
{
    ChildEnd end = ChildEnd::NotStarted;
    int code = 0; ///< Done: what the work returned; Crashed: the signal; NotStarted: errno
};

/// Runs `work`, whose result is an exit status, in a child process and waits for it. That
/// process can be ended at any moment, which a call into the camera library cannot: a stop signal
/// kills it, and it goes when we are killed. Each line that it writes to standard error is handed
/// to `onLine`; an empty function lets them through. `onTick`, when it is given, is called a few times a
/// second meanwhile. Call it from a process with one thread.
ChildResult runInChild(Wakeup &wakeup, const std::function<int()> &work,
                       const std::function<void(const std::string &)> &onLine,
                       const std::function<void(pid_t child)> &onTick = {});

} // namespace cli
