#pragma once

#include "cli/base/jsonline.h"
#include "library/controls/control.h"

#include <string>

namespace cli {

/// One line about a control; `saved` is the value that is kept for the camera's model, null without
/// one.
std::string describe(const korv::Control &control, const std::string *saved);

/// The same as JSON: name, type, value, minimum, maximum, step, default, choices, read_only, inactive,
/// saved, as far as the control has them.
JsonLine objectOf(const korv::Control &control, const std::string *saved);

} // namespace cli
