#pragma once

#include "library/base/result.h"
#include "library/controls/control.h"

namespace korv {

/// The value that `text` names: a number, a menu's entry by number or by name (in any case, or
/// written like the name of a control), on or off for a switch. -EINVAL no such value, -ERANGE out
/// of range; the error's text is a sentence that names the control and what it takes.
Result<std::int32_t> parseControlValue(const Control &control, const std::string &text);

/// "60", or "1 (50 Hz)" for a menu.
std::string controlValueText(const Control &control, std::int32_t value);

/// What it takes: "0 to 255", "0 to 250 in steps of 5", "0 (Disabled), 1 (50 Hz)", "0 or 1".
std::string controlRangeText(const Control &control);

} // namespace korv
