#pragma once

#include "library/base/result.h"

#include <cerrno>
#include <exception>
#include <new>

namespace korv {

/// Runs `work`, a function that returns Result<void>, and turns exceptions of the standard library
/// and of the libraries behind us into errors.
template <typename Work> Result<void> withoutExceptions(Work &&work)
{
    try {
        return work();
    } catch (const std::bad_alloc &) {
        return Error{-ENOMEM, "out of memory"};
    } catch (const std::exception &failure) {
        return Error{-EIO, failure.what()};
    }
}

} // namespace korv
