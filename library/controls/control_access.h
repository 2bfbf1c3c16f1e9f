#pragma once

#include "library/base/result.h"
#include "library/controls/control.h"

#include <functional>

namespace korv {

/// ioctl(2) on an open node, except that a failure is a negative errno.
using ControlCall = std::function<int(unsigned long request, void *argument)>;

/// The controls of a node, in the driver's order, with their values. A value that the camera does
/// not give stays empty. Empty for a node without controls. -ENODEV: the camera is gone.
/// The first question for a control makes the driver ask the camera four things, the first one for its
/// value another one, which takes a few milliseconds, or seconds when the camera does not answer.
Result<std::vector<Control>> listControls(const ControlCall &call);

/// Hands `visit` one control after the other, in the driver's order and without their values, until it
/// returns false. -ENODEV: the camera is gone.
Result<void> visitControls(const ControlCall &call,
                           const std::function<bool(Control control)> &visit);

/// One control, without its value. -EINVAL: the node has none of that id.
Result<Control> queryControl(const ControlCall &call, std::uint32_t id);

/// Its value now; nothing when it cannot be read.
std::optional<std::int32_t> readControl(const ControlCall &call, const Control &control);

/// Sets it; presses a button. What the driver answers is the error: -EACCES read-only or inactive,
/// -ERANGE, -EBUSY, -EIO the camera refuses.
Result<void> writeControl(const ControlCall &call, const Control &control, std::int32_t value);

} // namespace korv
