#pragma once

#include <cerrno>

namespace korv {

/// For work of C libraries that say that something failed, but not that memory was short: the
/// allocator leaves ENOMEM in errno then. Make one before the work; the work itself must leave errno
/// alone, as reading from memory does.
class MemoryVerdict
{
public:
    MemoryVerdict() { errno = 0; }
    /// -ENOMEM when memory was short meanwhile, else `otherwise`.
    int codeOr(int otherwise) const { return errno == ENOMEM ? -ENOMEM : otherwise; }
};

} // namespace korv
