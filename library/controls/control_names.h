#pragma once

#include <string>

namespace korv {

/// What v4l2-ctl makes of a driver's name for a control: letters and digits in lower case, whatever
/// is between them as one underscore. "White Balance, Automatic" gives "white_balance_automatic".
std::string controlName(const std::string &title);

} // namespace korv
