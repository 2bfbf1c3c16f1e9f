#pragma once

#include "library/device/udev/udev_nodes.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace korv {

/// What happened to a video node.
struct VideoEvent
{
    bool added = false; ///< or changed; otherwise removed
    VideoNode node;
};

/// Where the monitor learns of video nodes, so that a test can stand in for the system. It listens
/// from its making on: nothing that happens before list() is missed. One thread at a time.
class NodeSource
{
public:
    virtual ~NodeSource() = default;

    /// To poll for input; -1: there is nothing to listen to.
    virtual int descriptor() const = 0;

    /// The nodes that are there and ready, in the order of their numbers. An error for which
    /// isShortage() holds: to be asked again.
    virtual Result<std::vector<VideoNode>> list() = 0;

    /// The next event that waits. Nothing: none does.
    virtual std::optional<VideoEvent> next() = 0;

    /// Whether events were lost since it was asked last: list() tells what is true.
    virtual bool lostEvents() = 0;
};

/// Makes a source. An error for which isShortage() holds: to be tried again.
using NodeSourceMaker = std::function<Result<std::unique_ptr<NodeSource>>()>;

} // namespace korv
