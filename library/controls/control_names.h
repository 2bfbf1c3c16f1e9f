#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace korv {

/// What v4l2-ctl makes of a driver's name for a control: letters and digits in lower case, whatever
/// is between them as one underscore. "White Balance, Automatic" gives "white_balance_automatic".
std::string controlName(const std::string &title);

/// The id that V4L2 gives to the control of that name, for those that USB cameras have. A driver may
/// still call the control of that id something else.
std::optional<std::uint32_t> standardControlId(const std::string &name);

} // namespace korv
