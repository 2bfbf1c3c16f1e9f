#pragma once

#include "library/base/handle.h"
#include "library/device/udev/node_source.h"

#include <libudev.h>

namespace korv {

/// libudev's view of the video nodes.
class UdevSource : public NodeSource
{
public:
    /// What does not work, and never will, is logged. -EMFILE, -ENFILE, -ENOMEM: try again.
    static Result<std::unique_ptr<NodeSource>> create();

    int descriptor() const override;
    Result<std::vector<VideoNode>> list() override;
    std::optional<VideoEvent> next() override;
    bool lostEvents() override { return std::exchange(m_lostEvents, false); }

private:
    using Context = Handle<udev, udev_unref>;
    using Monitor = Handle<udev_monitor, udev_monitor_unref>;

    UdevSource(bool daemonRuns, Context context, Monitor monitor)
        : m_daemonRuns(daemonRuns)
        , m_context(std::move(context))
        , m_monitor(std::move(monitor))
    {
    }
    static Monitor listen(udev *context, bool daemonRuns);

    const bool m_daemonRuns;
    const Context m_context;
    const Monitor m_monitor; ///< null: the system does not say what comes and goes
    bool m_lostEvents = false;
};

} // namespace korv
