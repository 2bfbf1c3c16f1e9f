#pragma once

#include <string>

namespace korv {

/// A number with '.' whatever the locale, no exponent, at most `places` decimals, no zeros behind.
std::string decimal(double value, int places);

} // namespace korv
