#pragma once

#include "library/controls/control.h"

namespace korv {

/// Whether the control decides if others have an effect: automatic exposure, white balance, focus
/// and the like. Such are set before what they rule.
bool isMaster(const Control &control);

/// The automatic that keeps `control` inactive, as far as the V4L2 documentation pairs them; null
/// when it is not among `all`.
const Control *masterOf(const Control &control, const std::vector<Control> &all);

} // namespace korv
