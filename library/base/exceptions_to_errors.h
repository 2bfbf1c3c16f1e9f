#pragma once

#include "library/base/exception_error.h"

namespace korv {

/// Runs `work`, a function that returns a Result, and turns exceptions of the standard library and
/// of the libraries behind us into errors.
template <typename Work> auto exceptionsToErrors(Work &&work) -> decltype(work())
{
    try {
        return work();
    } catch (...) {
        return errorInFlight();
    }
}

} // namespace korv
