#pragma once

#include <cerrno>

namespace korv {

/// Whether an error, a negative errno, says that descriptors or memory are short: it passes, and
/// what failed is to be tried again.
inline bool isShortage(int error)
{
    return error == -EMFILE || error == -ENFILE || error == -ENOMEM || error == -ENOBUFS
        || error == -ENOSPC;
}

} // namespace korv
