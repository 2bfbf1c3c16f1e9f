#pragma once

#include "library/base/result.h"

#include <cerrno>

namespace korv {

/// The error that the exception in flight stands for; call it inside a catch (...). -ENOMEM when
/// memory was short, whoever says so, the standard library or OpenCV; the system's own code of a
/// std::system_error; else `otherwise`. Takes no memory that it cannot do without.
Error errorInFlight(int otherwise = -EIO) noexcept;

} // namespace korv
