#pragma once

#include "library/base/handle.h"
#include "library/device/udev_nodes.h"

#include <optional>
#include <string>
#include <vector>

#include <libudev.h>

namespace korv {

/// What happened to a video node.
struct VideoEvent
{
    bool added = false; ///< or changed; otherwise removed
    VideoNode node;
};

/// libudev's view of the video nodes. One thread at a time.
class UdevSource
{
public:
    /// Begins to listen, so that nothing that happens before list() is missed. What does not work
    /// is logged.
    UdevSource();

    /// To poll for input; -1: there is nothing to listen to.
    int descriptor() const;

    /// The nodes that are there and ready, in the order of their numbers.
    std::vector<VideoNode> list() const;

    /// The next event that waits. Nothing: none does.
    std::optional<VideoEvent> next();

    /// Whether events were lost since it was asked last: list() tells what is true.
    bool lostEvents() { return std::exchange(m_lostEvents, false); }

private:
    const bool m_daemonRuns;
    Handle<udev, udev_unref> m_context;
    Handle<udev_monitor, udev_monitor_unref> m_monitor;
    bool m_lostEvents = false;
};

} // namespace korv
